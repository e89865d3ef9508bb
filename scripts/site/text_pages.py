"""Comments and documentation strings as Markdown."""

import re


def escape(text):
    """Text that stands for itself; what is between backticks stays code."""
    parts = re.split(r"(`[^`\n]+`)", text)
    return "".join(part if index % 2 else re.sub(r"([\\*_<>\[\]#|~$`{}])", r"\\\1", part) for index, part in enumerate(parts))


def fence(text, language):
    ticks = "`" * (3 + max([0] + [len(run) for run in re.findall(r"^`{3,}", text, re.M)]))
    return f"{ticks}{language}\n{text}\n{ticks}\n"


def split_blocks(text):
    """Blocks of lines of one kind: ("code", lines), which are indented, and ("text", lines)."""
    blocks = []
    for line in text.splitlines():
        if not line.strip():
            if blocks and blocks[-1][0] == "code":
                blocks[-1][1].append("")
            else:
                blocks.append(("gap", []))
            continue
        is_list = re.match(r"\s*(-|\d+\.) ", line)
        kind = "code" if re.match(r" {2,}", line) and not is_list and not (blocks and blocks[-1][0] == "list") else \
            "list" if is_list or blocks and blocks[-1][0] == "list" and line.startswith(" ") else "text"
        if not blocks or blocks[-1][0] != kind:
            blocks.append((kind, []))
        blocks[-1][1].append(line)
    return [(kind, lines) for kind, lines in blocks if lines]


def make_code(lines, language):
    margin = min(len(line) - len(line.lstrip()) for line in lines if line)
    return fence("\n".join(line[margin:] for line in lines).rstrip(), language)


def comment_to_markdown(text, language="cpp"):
    """A comment: paragraphs, lists, and indented examples."""
    pieces = []
    for kind, lines in split_blocks(text):
        pieces.append(make_code(lines, language) if kind == "code" else escape("\n".join(lines)) + "\n")
    return "\n".join(pieces)


ARGUMENT = re.compile(r"(\w+(?:, \w+)*): (.*)")


def docstring_to_markdown(text, language="python"):
    """A documentation string: as a comment, with arguments, `name: text`, as a list."""
    pieces = []
    for paragraph in re.split(r"\n[ \t]*\n", text.strip("\n")):
        lines = paragraph.splitlines()
        if ARGUMENT.match(lines[0]):
            pieces.append("\n".join(make_argument(line) for line in lines) + "\n")
        else:
            pieces.append(comment_to_markdown(paragraph, language))
    return "\n".join(pieces)


def make_argument(line):
    argument = ARGUMENT.match(line)
    if not argument:
        return "  " + escape(line.strip())
    names = ", ".join(f"`{name}`" for name in argument.group(1).split(", "))
    return f"- {names}: {escape(argument.group(2))}"
