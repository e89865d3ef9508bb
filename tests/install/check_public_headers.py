"""Finds headers that programs cannot use: they declare what no library exports, or include what is not there.

    check_public_headers.py INCLUDE BUILD SOURCES

INCLUDE is the folder with the installed headers, BUILD that of the objects that the libraries were made of, SOURCES the
repository. Prints a line per violation and ends with 1 when there are any. A name that a header of the sources declares
which is not installed is that header's.
"""

import pathlib
import re
import subprocess
import sys


def run(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, check=True).stdout


def list_hidden(build):
    """The names with code or data of their own that no library exports, without arguments."""
    libraries = [str(library) for library in (build / "lib").glob("libostra*.so")]
    exported = {line.split()[-1] for line in run("nm", "-D", "--defined-only", *libraries).splitlines() if " " in line}
    # Objects of files that there are no more may still lie in the folder.
    outputs = re.findall(r"^build ((?:ostra|parallelprogram|plans)/\S+\.o):", (build / "build.ninja").read_text(), flags=re.M)
    objects = [str(build / output) for output in outputs if (build / output).is_file()]
    if not objects:
        sys.exit(f"There are no objects in {build}")
    symbols = {words[2] for words in map(str.split, run("nm", "--defined-only", *objects).splitlines())
               if len(words) == 3 and words[1] in "TBDR"}
    names = run("c++filt", text="\n".join(sorted(symbols - exported))).splitlines()
    return {name for name in map(split_name, names) if name[0] == "ostra" and len(name) > 1}


def split_name(demangled):
    """ostra::A<ostra::B>::f(int) → (ostra, A<ostra::B>, f)."""
    parts, depth = [""], 0
    for character in demangled:
        if character == "(" and depth == 0:
            break
        depth += (character == "<") - (character == ">")
        parts[-1] += character
        if depth == 0 and parts[-1].endswith("::"):
            parts[-1] = parts[-1][:-2]
            parts.append("")
    return tuple(part.split("[")[0] for part in parts)


def declares(text, name):
    """Whether a header declares a name: all around it is there, and it stands where a declaration has it."""
    *scope, last = name[1:]
    last = last.split("<")[0]
    if last.startswith(("vtable", "typeinfo", "VTT")) or " " in last:
        return False
    around = {word for part in scope for word in re.findall(r"[A-Za-z_]\w*", part)} - {"ostra"}
    if not all(re.search(rf"\b{word}\b", text) for word in around):
        return False
    if not scope:
        return re.search(rf"\n[\w<>:,&* ]+[ &*]{re.escape(last)}\s*[(;\[]", text) is not None
    owner = re.escape(scope[-1].split("<")[0])
    is_open = re.search(rf"\b(class|struct|namespace)\b[^;{{]*\b{owner}\b[^;]*\{{", text)
    return bool(is_open) and re.search(rf"(?<![\w:.>]){re.escape(last)}\b", text) is not None


def read_headers(folder):
    headers = {}
    for part in ("ostra", "parallelprogram", "plans", "clients"):
        for path in sorted((folder / part).rglob("*.h")):
            text = re.sub(r"//[^\n]*|/\*.*?\*/", "", path.read_text(encoding="utf-8"), flags=re.S)
            headers[path.relative_to(folder).as_posix()] = text
    return headers


def main(arguments):
    include, build, sources = map(pathlib.Path, arguments)
    public = read_headers(include)
    internal = {name: text for name, text in read_headers(sources).items() if name not in public}
    violations = []
    for name in sorted(list_hidden(build)):
        if any(declares(text, name) for text in internal.values()):
            continue
        violations += [f"{header}: programs cannot link with {'::'.join(name)}" for header, text in public.items()
                       if declares(text, name)]
    for header, text in public.items():
        for included in re.findall(r'#\s*include "((?:ostra|parallelprogram|plans|clients)/[^"]+)"', text):
            if not (include / included).is_file():
                violations.append(f"{header}: {included} is not installed")
    print("\n".join(violations), end="\n" if violations else "")
    return 1 if violations or not public else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
