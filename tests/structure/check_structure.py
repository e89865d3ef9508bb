"""Checks that the sources keep to the plan of the repository.

    check_structure.py ROOT [RULE...]

Prints one line per violation, as file:line: text, and ends with 1 when there are any.
"""

import pathlib
import re
import subprocess
import sys

import structure_table

# From the ground up: a folder includes itself and those before it.
HOST_FOLDERS = ["core", "math", "object", "config", "monitor", "jobs", "io", "process", "crypt", "image", "arrays", "render", "drawport",
              "shadercompiler", "drawport_vulkan"]
MODULE_FOLDERS = ["base", "textures", "program", "kernellanguage", "kernelfront", "shaderparser", "shaderassembly", "device", "kernelruntime", "gpu",
                "shaderloader", "module"]
FOLDERS = {"ostra": HOST_FOLDERS, "parallelprogram": MODULE_FOLDERS}

# Further restrictions: what a folder must not include although it stands later.
FORBIDDEN = [
    ("ostra/", r"(parallelprogram|plans|clients|conformance|apps|kernels|tests|bench|fuzz)/"),
    ("parallelprogram/", r"(plans|clients|conformance|apps|kernels|tests|bench|fuzz)/"),
    ("plans/", r"(clients|conformance|apps|tests|bench|fuzz)/"),
    ("clients/", r"(apps|tests|bench|fuzz)/"),
    ("clients/cpp/", r"(conformance|plans)/"),
    ("conformance/", r"(plans|clients|apps|tests|bench|fuzz)/"),
    ("tests/gpu/", r"(plans|clients|apps|bench|fuzz)/"),
    ("parallelprogram/", r"ostra/drawport_vulkan/"),
    ("parallelprogram/program/", r"ostra/drawport/(?!handles\.h)"),
    ("parallelprogram/textures/", r"ostra/drawport/(?!handles\.h)"),
    ("parallelprogram/kernellanguage/", r"(ostra/(?!core/)|parallelprogram/(?!kernellanguage/))"),
    ("parallelprogram/kernelfront/", r"(ostra/(?!core/)|parallelprogram/(?!kernelfront/|kernellanguage/))"),
    ("parallelprogram/shaderparser/", r"ostra/drawport"),
]

# Each outside library is reached through one folder.
LIBRARIES = [
    (r"(oneapi/tbb|tbb)/", "ostra/jobs/"),
    (r"glm/", "ostra/math/"),
    (r"(png\.h|jpeglib\.h|jerror\.h|tiff|OpenEXR/|Imf|Imath|Iex|half\.h)", "ostra/image/"),
    (r"openssl/", "ostra/crypt/"),
    (r"(glslang/|spirv)", "ostra/shadercompiler/"),
    (r"(vulkan/|volk)", "ostra/drawport_vulkan/"),
]

# The standard library's headers; the module uses nothing else from outside.
STANDARD = set("""algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes
climits clocale cmath compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint cstdio
cstdlib cstring ctime deque exception execution filesystem forward_list fstream functional future initializer_list iomanip
ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource mutex new numbers numeric optional
ostream queue random ranges ratio regex scoped_allocator semaphore set shared_mutex span sstream stack stdexcept stop_token
streambuf string string_view system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility
valarray variant vector version""".split())

# Headers of the compiler for the instructions of a processor.
PROCESSOR = {"emmintrin.h", "immintrin.h", "arm_neon.h"}

# Kernel files are written in this vocabulary, so including it is asking for it.
OPENS_A_NAMESPACE = {"parallelprogram/program/kernel_language.h"}

MAXIMAL_LINES = 700
SOURCE_FOLDERS = ["ostra", "parallelprogram", "plans", "clients", "examples", "conformance", "apps", "tests", "bench", "fuzz"]
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def find_sources(root, folders, suffixes=(".h", ".cpp")):
    for folder in folders:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in suffixes and path.is_file():
                yield path


def find_includes(path):
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if match:
            yield number, match.group(1) == "<", match.group(2)


def check_arrows(root):
    """Folders include only themselves and folders before them, and nothing that is forbidden to them."""
    for path in find_sources(root, SOURCE_FOLDERS):
        name = path.relative_to(root).as_posix()
        parts = name.split("/")
        top, folder = parts[0], parts[1] if len(parts) > 2 else None
        if top in FOLDERS and folder and folder not in FOLDERS[top]:
            yield f"{name}:1: the folder {top}/{folder} is not in the list of folders"
            continue
        for line, _, included in find_includes(path):
            for beginning, pattern in FORBIDDEN:
                if name.startswith(beginning) and re.match(pattern, included):
                    yield f"{name}:{line}: {beginning} must not include {included}"
            target = re.match(top + r"/(?:([^/]+)/)?", included)
            if not folder or not target or top not in FOLDERS:
                continue
            folders = FOLDERS[top]
            if target.group(1) is None:
                yield f"{name}:{line}: a folder must not include {included}, which stands above all folders"
            elif target.group(1) not in folders or folders.index(target.group(1)) > folders.index(folder):
                yield f"{name}:{line}: {top}/{folder} must not include {included}, a later folder"


def check_libraries(root):
    """Outside libraries are reached through their folder; the module uses none, and drawport names no Vulkan type."""
    for path in find_sources(root, ["ostra", "parallelprogram"]):
        name = path.relative_to(root).as_posix()
        for line, _, included in find_includes(path):
            for pattern, folder in LIBRARIES:
                if re.match(pattern, included) and not name.startswith(folder):
                    yield f"{name}:{line}: {included} belongs to {folder}"
            own = included.startswith(("ostra/", "parallelprogram/")) or (path.parent / included).exists()
            if name.startswith("parallelprogram/") and not own and included not in STANDARD | PROCESSOR:
                yield f"{name}:{line}: the module uses the standard library and ostra only, not {included}"
        if name.startswith("ostra/drawport/"):
            for line, text in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                if re.search(r"\b(Vk[A-Z]\w*|VK_\w+|vk[A-Z]\w*)\b", text.split("//")[0]):
                    yield f"{name}:{line}: drawport names a Vulkan type or function"


def check_sizes(root):
    """A file is read in one sitting."""
    for path in find_sources(root, SOURCE_FOLDERS, (".h", ".cpp", ".py", ".cmake")):
        lines = len(path.read_text(encoding="utf-8").splitlines())
        if lines > MAXIMAL_LINES:
            yield f"{path.relative_to(root).as_posix()}:1: {lines} lines; at most {MAXIMAL_LINES} are allowed"


# Near what the sources have today; structure_table.py prints that.
MAXIMAL_FUNCTION = 40
MAXIMAL_TEST_FUNCTION = 83  # of tests and benchmarks
# Tables of the methods of an interface.
LONGER_FUNCTIONS = {"parallelprogram/program/parallel_program_reflection.h": 74,
                    "parallelprogram/shaderloader/general_shader_loader_reflection.h": 70}
MAXIMAL_METHODS = 42
MAXIMAL_MEMBERS = 30
# What programs can do is given by their interfaces; these have no part in it that could be a class of its own.
INTERFACE_METHODS = {"ParallelProgramInterface": 57, "GeneralShaderLoaderInterface": 57, "ParallelProgramCPUImpl": 71,
                     "ParallelProgramGPUImpl": 78, "GeneralShaderLoaderImpl": 72}
MAXIMAL_INCLUDES = 110


def check_functions(root):
    """A function is read without turning the page, or nearly."""
    for path in find_sources(root, SOURCE_FOLDERS):
        place = path.relative_to(root).as_posix()
        isTest = place.startswith(("tests/", "bench/", "fuzz/"))
        limit = MAXIMAL_TEST_FUNCTION if isTest else LONGER_FUNCTIONS.get(place, MAXIMAL_FUNCTION)
        for line, count in structure_table.find_functions(path):
            if count > limit:
                yield f"{place}:{line}: a function of {count} lines; at most {limit} are allowed"


def check_classes(root):
    """A class has one idea: it does not grow without an end."""
    for path in find_sources(root, SOURCE_FOLDERS, (".h",)):
        for name, line, methods, members in structure_table.find_classes(path):
            most_methods = INTERFACE_METHODS.get(name, MAXIMAL_METHODS)
            for count, limit, kind in ((methods, most_methods, "functions"), (members, MAXIMAL_MEMBERS, "members")):
                if count > limit:
                    yield f"{path.relative_to(root).as_posix()}:{line}: {name} has {count} {kind}; at most {limit} are allowed"


def check_includes(root):
    """What a source reads of this repository, by way of other headers too, stays bounded."""
    includes = structure_table.Includes(root)
    for path in find_sources(root, SOURCE_FOLDERS, (".cpp",)):
        count = includes.count(path)
        if count > MAXIMAL_INCLUDES:
            yield f"{path.relative_to(root).as_posix()}:1: reads {count} headers of this repository; at most {MAXIMAL_INCLUDES} are allowed"


def check_readmes(root):
    """Every folder says what it is for."""
    folders = [path for parent in ("ostra", "parallelprogram", "clients", "apps") for path in sorted((root / parent).glob("*"))]
    folders += [root / name for name in ("conformance", "plans", "examples", "kernels", "editors", "tests", "bench", "fuzz", "scripts", "cmake")]
    for folder in folders:
        if folder.is_dir() and any(path.is_file() for path in folder.rglob("*")):
            readme = folder / "README.md"
            if not readme.is_file() or not readme.read_text(encoding="utf-8").strip():
                yield f"{folder.relative_to(root).as_posix()}:1: README.md is missing or empty"


def check_headers(root):
    """Headers are included once, and never open a namespace for their includers."""
    for path in find_sources(root, ["ostra", "parallelprogram", "plans", "clients", "conformance", "apps"], (".h",)):
        name = path.relative_to(root).as_posix()
        text = path.read_text(encoding="utf-8")
        if "/noise/" not in name and "#pragma once" not in text:
            yield f"{name}:1: #pragma once is missing"
        for number, line in enumerate(text.splitlines(), 1):
            if re.match(r"using namespace ", line) and name not in OPENS_A_NAMESPACE:
                yield f"{name}:{number}: a header opens a namespace for all files that include it"


DROPPED_RESULT = re.compile(r"^(?!\s).*\bg_\w+ = [\w:]+\(.*\)\.IsOk\(\);")


def check_registrations(root):
    """Nothing is registered while a library is loaded, where a failure is lost."""
    for path in find_sources(root, ["ostra", "parallelprogram"], (".cpp",)):
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if DROPPED_RESULT.match(line):
                yield f"{path.relative_to(root).as_posix()}:{number}: a result that is dropped while the library is loaded"


LINK = re.compile(r"\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ +(.*)$", re.M)
CODE_BLOCK = re.compile(r"^```.*?^```", re.M | re.S)


def find_pages(root):
    folders = [name for name in ("docs", "examples", "kernels", "editors", "scripts", "cmake", *SOURCE_FOLDERS) if (root / name).is_dir()]
    pages = list(root.glob("*.md")) + [path for name in folders for path in (root / name).rglob("*.md")]
    return sorted(path for path in pages if "node_modules" not in path.parts)


def make_anchor(heading):
    """The name that a heading has in links."""
    text = re.sub(r"[^\w\- ]", "", re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)).strip().lower()
    return text.replace(" ", "-")


def check_links(root):
    """Links lead to files and headings that are there, and every page of docs can be reached from docs/README.md."""
    reached = set()
    for page in find_pages(root):
        name = page.relative_to(root).as_posix()
        for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
            for link in LINK.findall(line):
                if re.match(r"[a-z]+:", link):
                    continue
                file, _, anchor = link.partition("#")
                target = (page.parent / file).resolve() if file else page.resolve()
                if not target.exists():
                    yield f"{name}:{number}: there is no {link}"
                    continue
                if name == "docs/README.md":
                    reached.add(target)
                text = CODE_BLOCK.sub("", target.read_text(encoding="utf-8")) if anchor else ""
                if anchor and anchor not in map(make_anchor, HEADING.findall(text)):
                    yield f"{name}:{number}: {file or name} has no heading #{anchor}"
    if (root / "docs").is_dir():
        for page in sorted((root / "docs").glob("*.md")):
            if page.name != "README.md" and page.resolve() not in reached:
                yield f"docs/README.md:1: nothing leads to {page.name}"


# What engineers whose first language is another one read twice, and what to write.
WORDS = [
    (r"nobody|somebody|everybody|whoever", "name the caller, the owner, the thread or the reference"),
    (r"lets? go of", "write: releases"),
    (r"by and by|for a while", "say when, or after how much"),
]


def find_prose(path):
    """Comments of sources and lines of pages, with their numbers; texts in quotes are data."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if path.suffix in (".h", ".cpp", ".inl"):
            line = re.sub(r'"(\\.|[^"\\])*"', "", line)
            line = line.partition("//")[2]
        yield number, line


def check_words(root):
    """Comments and pages keep to plain words."""
    sources = list(find_sources(root, SOURCE_FOLDERS, (".h", ".cpp", ".inl")))
    for path in sources + find_pages(root):
        for number, line in find_prose(path):
            for pattern, advice in WORDS:
                match = re.search(rf"\b({pattern})\b", line, re.I)
                if match:
                    yield f'{path.relative_to(root).as_posix()}:{number}: "{match.group(0)}": {advice}'


# Names of C++ that say less than the field's words for the same.
NAMES = [
    (r"k(Most|Largest|Maximal)[A-Z]?\w*", "kMax..."),
    (r"(Enter|Leave)\w+(?=\(ModuleDescriptor)", "Register... and Unregister..."),
    (r"LookAt[A-Z]\w*", "Query... or Check..."),
    (r"(Nameless|Fenced)\w+", "Temporary... and Guarded..."),
]


def check_names(root):
    """Names are the field's words."""
    for path in find_sources(root, SOURCE_FOLDERS, (".h", ".cpp", ".inl")):
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            code = re.sub(r'"(\\.|[^"\\])*"', "", line).partition("//")[0]
            for pattern, advice in NAMES:
                match = re.search(rf"\b({pattern})", code)
                if match:
                    yield f'{path.relative_to(root).as_posix()}:{number}: "{match.group(1)}": name it {advice}'


CONSTANT = re.compile(r"^(\s*)(?:\[\[maybe_unused\]\] )?(?:inline |static )*constexpr (?:inline |static |const )*[\w:]+(?:<[^=;(]*>)?"
                      r"[\s*&]+(?:const )?(\w+)(?:\[[^\]]*\])*\s*(?:=|\{|;)")
ENUMERATION = re.compile(r"^\s*enum (?:class |struct )?(?:\w+ )?.*\{")
# Written before the rule, or words of the kernel language.
CONSTANTS_BY_OTHER_NAMES = {
    "API_VERSION", "BLOCK_SIZE", "CAPACITY", "CONSTANT", "FIRST_SPIN_STEP", "IN", "INOUT", "IS_CONST", "IS_REFERENCE",
    "InWorkGroupSize", "LAST_DOUBLED_SPIN_STEP", "MAGIC", "MAX_PARAMETERS", "MAX_SPIN_COUNT", "NOT_FOUND", "NO_ARRAY", "OK",
    "OPEN_ARRAY", "OUT", "RESULT_SIZE", "TAKEN", "TEXTURE_VALUE_NOT_SET", "THREAD", "WRITES_AT_ONCE"}
# Interfaces name these as they are.
ENUMERATIONS_IN_CAPITALS = {"LEXERSYMBOL", "IODETECT", "TextureFilter", "TextureFormat", "TextureWrapMode"}
CASED_FOLDERS = ["ostra", "parallelprogram", "plans", "clients", "conformance", "apps"]


def find_constants(lines):
    """(line, name) of the constants outside of functions."""
    for number, line in enumerate(lines, 1):
        match = CONSTANT.match(line)
        if match and (not match.group(1) or "static " in line):
            yield number, match.group(2)


def find_enumerations(lines):
    """(line, name, enumerators) of each."""
    for start, line in enumerate(lines):
        if not ENUMERATION.match(line):
            continue
        text = ""
        for body in lines[start:]:
            text += body.partition("//")[0] + "\n"
            if "}" in text:
                break
        entries = [entry.partition("=")[0].strip() for entry in text.partition("{")[2].partition("}")[0].split(",")]
        name = re.match(r"\s*enum (?:class |struct )?(\w*)", line).group(1)
        yield start + 1, name, [entry for entry in entries if re.fullmatch(r"\w+", entry)]


def check_cases(root):
    """Constants are kName; the values of an enumeration are all kName or all Name."""
    for path in find_sources(root, CASED_FOLDERS, (".h", ".cpp", ".inl")):
        lines = path.read_text(encoding="utf-8").splitlines()
        place = path.relative_to(root).as_posix()
        for number, name in find_constants(lines):
            if not re.fullmatch(r"k[A-Z0-9]\w*", name) and name not in CONSTANTS_BY_OTHER_NAMES:
                yield f'{place}:{number}: the constant "{name}": name it kName'
        for number, name, entries in find_enumerations(lines):
            if name in ENUMERATIONS_IN_CAPITALS:
                continue
            isPrefixed = [bool(re.fullmatch(r"k[A-Z0-9]\w*", entry)) for entry in entries]
            isPlain = [bool(re.fullmatch(r"(?=.*[a-z0-9])[A-Z]\w*", entry)) for entry in entries]
            if not all(isPrefixed) and not all(isPlain):
                yield f'{place}:{number}: the values of "{name}": name all of them kName, or all Name'


# Errors are values. What is thrown here is caught in the same folder, or is the bad_alloc of containers.
THROWING = {"conformance/client_run.h", "ostra/core/hash_map.h", "ostra/core/memory.h", "ostra/image/exr.cpp",
            "ostra/shadercompiler/glslang_front.cpp", "ostra/shadercompiler/spirv_checks.cpp", "parallelprogram/kernelfront/failure.h",
            "parallelprogram/kernelfront/kernel_source.cpp", "parallelprogram/kernelfront/parameters.cpp"}


def check_throws(root):
    """Exceptions stay where they are needed."""
    for path in find_sources(root, ["ostra", "parallelprogram", "plans", "conformance"], (".h", ".cpp", ".inl")):
        place = path.relative_to(root).as_posix()
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            code = re.sub(r'"(\\.|[^"\\])*"', "", line).partition("//")[0]
            if place not in THROWING and re.search(r"\bthrow\b", code):
                yield f"{place}:{number}: a throw: give back a Result"


MAXIMAL_SUBJECT = 72
CHECKED_COMMITS = 50


def find_subjects(root):
    """The subjects of the last commits, newest first; none outside of a repository."""
    command = ["git", "-C", str(root), "-c", "safe.directory=*", "log", "--no-merges", f"-{CHECKED_COMMITS}", "--format=%h %s"]
    try:
        log = subprocess.run(command, capture_output=True, text=True, check=False)
    except OSError:
        return []
    return [line.partition(" ")[::2] for line in log.stdout.splitlines()] if (root / ".git").exists() else []


def check_commits(root, find=find_subjects):
    """Subjects of commits are short, and no sentences."""
    for commit, subject in find(root):
        if len(subject) > MAXIMAL_SUBJECT:
            yield f"{commit}:1: a subject of {len(subject)} characters; at most {MAXIMAL_SUBJECT} are allowed"
        if subject.endswith("."):
            yield f"{commit}:1: a subject that ends with a full stop"
        if re.match(r"(fixup|squash|wip)\b", subject, re.I):
            yield f'{commit}:1: "{subject}" is a step on the way, not a commit to keep'


RULES = {"arrows": check_arrows, "libraries": check_libraries, "sizes": check_sizes, "functions": check_functions,
         "classes": check_classes, "includes": check_includes, "readmes": check_readmes,
         "headers": check_headers, "registrations": check_registrations, "links": check_links, "words": check_words, "names": check_names,
         "cases": check_cases, "throws": check_throws, "commits": check_commits}


def main(arguments):
    root = pathlib.Path(arguments[0])
    violations = [violation for name in arguments[1:] or RULES for violation in RULES[name](root)]
    print("\n".join(violations) if violations else "no violations")
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
