"""Measures the sources: the sizes of files, functions and classes, the share of comments, what a source includes.

    structure_table.py ROOT

Prints a table with a column per folder at the top. What is found relies on
the format of the sources, which a test holds: a function or class ends with a brace in the column where it began.
"""

import functools
import pathlib
import re
import statistics
import sys

TOP_FOLDERS = ["ostra", "parallelprogram", "plans", "clients", "conformance", "apps", "tests", "bench", "fuzz"]
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
# What opens a brace at the end of a line and is no function.
NO_FUNCTION = re.compile(r"^\s*(namespace|struct|class|enum|union|extern|using|typedef|return|if|for|while|switch|else|do|case|"
                         r"default|public|private|protected|//|#|\}|\{|\[)|=\s*\{$|=\s*\[|^\s*\w+\{$")
CLASS = re.compile(r"^(\s*)(?:template\s*<.*>\s*)?(?:class|struct)\s+(?:\[\[\w+\]\]\s*)?(?:OSTRA_\w+\s+)?(\w+)(?:<.*>)?"
                   r"(?:\s+final)?(?:\s*:[^:].*)?\s*\{$")
METHOD = re.compile(r"^(?!.*\b(?:using|typedef|friend|static_assert|return)\b).*?\b(~?\w+|operator\S+)\(")
MEMBER = re.compile(r"^(?!\s*(?:using|typedef|friend|static_assert|return|public|private|protected|enum|class|struct)\b)"
                    r"(?:mutable |static |const |constexpr |inline |volatile )*[\w:]+(?:<.*>)?[\s*&]+(\w+)"
                    r"(?:\[[^\]]*\])*(?:\s*=.*|\s*\{.*\})?(?:,.*)?;")


def find_sources(root, folder, suffixes):
    return [path for path in sorted((root / folder).rglob("*")) if path.suffix in suffixes and path.is_file()]


def read_lines(path):
    return path.read_text(encoding="utf-8").splitlines()


def find_end(lines, start, indent):
    """The line that closes what `start` opened, with a brace in its column."""
    for number in range(start + 1, len(lines)):
        if lines[number].startswith(indent + "}"):
            return number
    return start


def find_functions(path):
    """(first line, lines) of each function whose body stands on lines of its own."""
    lines = read_lines(path)
    number = 0
    while number < len(lines):
        line = lines[number]
        indent = line[:len(line) - len(line.lstrip())]
        isBody = line.endswith("{") and ")" in line and not NO_FUNCTION.search(line)
        # A signature may take several lines; its first one says what it is.
        first = number
        while isBody and first > 0 and line.count(")") > line.count("(") and lines[first - 1].strip():
            first -= 1
            line = lines[first] + line
            indent = lines[first][:len(lines[first]) - len(lines[first].lstrip())]
        # So may the members that a constructor begins with.
        if isBody and lines[first].lstrip().startswith(": ") and first > 0:
            first -= 1
            while first > 0 and lines[first].count(")") > lines[first].count("(") and lines[first - 1].strip():
                first -= 1
            indent = lines[first][:len(lines[first]) - len(lines[first].lstrip())]
        if isBody and not NO_FUNCTION.search(lines[first]) and len(indent) <= 4:
            end = find_end(lines, number, indent)
            yield first + 1, end - first + 1
            number = end
        number += 1


def find_classes(path):
    """(name, first line, methods, members) of each class, without those of classes inside of it."""
    lines = read_lines(path)
    for number, line in enumerate(lines):
        # A list of bases may take several lines.
        last = number
        while re.match(r"\s*(?:template\s*<.*>\s*)?(?:class|struct)\s", line) and line[-1] not in "{;}\\>" and last + 1 < len(lines):
            last += 1
            line += " " + lines[last].strip()
        match = CLASS.match(line)
        if not match:
            continue
        indent, name = match.groups()
        end = find_end(lines, number, indent)
        inner = indent + " " * 2
        body = [text[len(inner):].partition("//")[0].rstrip() for text in lines[last + 1:end]
                if text.startswith(inner) and not text.startswith(inner + " ") and not text.startswith(inner + "//")]
        methods = {found.group(1) for found in map(METHOD.match, body) if found} - {name, "~" + name}
        members = [text for text in body if MEMBER.match(text)]
        yield name, number + 1, len(methods), len(members)


class Includes:
    """Which headers of this repository a source reads, by way of others too."""

    def __init__(self, root):
        self._root = root

    @functools.lru_cache(maxsize=None)
    def find(self, path):
        names = [match.group(1) for match in map(INCLUDE.match, read_lines(path)) if match]
        return [found for name in names for found in (self._root / name, path.parent / name) if found.is_file()][:len(names)]

    def count(self, path):
        seen, open_paths = set(), [path]
        while open_paths:
            for included in self.find(open_paths.pop()):
                if included not in seen:
                    seen.add(included)
                    open_paths.append(included)
        return len(seen - {path.with_suffix(".h")})


def get_share(numbers, share):
    return sorted(numbers)[int(len(numbers) * share)] if numbers else 0


def measure(root, folder):
    sources = find_sources(root, folder, (".h", ".cpp", ".inl"))
    headers = [path for path in sources if path.suffix == ".h"]
    files = [len(read_lines(path)) for path in sources] or [0]
    functions = [lines for path in sources for _, lines in find_functions(path)] or [0]
    header_lines = [line.strip() for path in headers for line in read_lines(path) if line.strip()]
    includes = Includes(root)
    fan_out = [includes.count(path) for path in sources if path.suffix == ".cpp"] or [0]
    classes = [(name, methods, members) for path in headers for name, _, methods, members in find_classes(path)]
    methods = max(classes, key=lambda found: found[1], default=("none", 0, 0))
    members = max(classes, key=lambda found: found[2], default=("none", 0, 0))
    comments = sum(line.startswith("//") for line in header_lines)
    return {
        "files": str(len(sources)), "lines": str(sum(files)),
        "file: median / 90th / most": f"{statistics.median_low(files)} / {get_share(files, 0.9)} / {max(files)}",
        "function: median / 90th / most": f"{statistics.median_low(functions)} / {get_share(functions, 0.9)} / {max(functions)}",
        "functions over 40": str(sum(lines > 40 for lines in functions)),
        "comments in headers": f"{100 * comments // max(len(header_lines), 1)} %",
        "own headers of a source: median / most": f"{statistics.median_low(fan_out)} / {max(fan_out)}",
        "most methods": f"{methods[1]} ({methods[0]})", "most members": f"{members[2]} ({members[0]})",
    }


def main(arguments):
    root = pathlib.Path(arguments[0])
    columns = [folder for folder in TOP_FOLDERS if (root / folder).is_dir()]
    table = {folder: measure(root, folder) for folder in columns}
    print("| | " + " | ".join(columns) + " |")
    print("| --- |" + " --- |" * len(columns))
    for row in table[columns[0]]:
        print(f"| {row} | " + " | ".join(table[folder][row] for folder in columns) + " |")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
