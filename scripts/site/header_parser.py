"""What a C++ header declares, with its comments: declarations without bodies, and without what is private.

The headers are formatted by clang-format, and their comments are plain `//` lines: a comment belongs to the declarations that
follow it without an empty line.
"""

import dataclasses
import re


@dataclasses.dataclass
class Group:
    """Declarations that share a comment. Without declarations: a comment that stands alone."""
    comment: str
    declarations: list


@dataclasses.dataclass
class Type:
    """A class, struct, union or enum with what it makes public."""
    comment: str
    head: str  # up to the brace
    name: str
    members: list
    text: str = ""  # of an enum: all of it


@dataclasses.dataclass
class Header:
    comment: str
    members: list


HIDDEN_NAMESPACES = re.compile(r"(^|::)(detail|internal|\w+_detail|\w+_internal)$")
TYPE_HEAD = re.compile(r"\s*(class|struct|union|enum(?: class| struct)?)\b")
ACCESS = re.compile(r"(public|protected|private)\s*:(?!:)")
# Forward declarations, calls of macros, assertions, and members that are defined outside of their class.
UNTOLD = re.compile(r"(template <[^;{}]*> ?\s*)?(class|struct|enum class|enum) \w+( : \w+)?;|friend class|[A-Z][A-Z0-9_]+\(|;|"
                    r"static_assert|extern template|(template <[^;{}]*>\s*)?inline [^(]*::~?\w+\(")
FORMATTER_WORDS = re.compile(r"\s*//\s*(NOLINT.*|clang-format (on|off))$", re.M)


def skip_text(text, at):
    """The end of the comment, text or character that starts at `at`; `at` where none starts."""
    if text.startswith("//", at):
        end = text.find("\n", at)
        return len(text) if end < 0 else end
    if text.startswith("/*", at):
        return text.index("*/", at) + 2
    if text[at] == '"' and text[at - 1:at] == "R":
        delimiter = text[at + 1:text.index("(", at)]
        return text.index(f'){delimiter}"', at) + len(delimiter) + 2
    if text[at] in "\"'" and not (text[at] == "'" and text[at - 1:at].isalnum()):
        end = at + 1
        while text[end] != text[at]:
            end += 2 if text[end] == "\\" else 1
        return end + 1
    return at


def skip_brackets(text, at):
    """The position after the bracket that closes the one at `at`."""
    depth = 0
    while True:
        end = skip_text(text, at)
        if end != at:
            at = end
            continue
        depth += text[at] in "({[" or -(text[at] in ")}]")
        at += 1
        if depth == 0:
            return at


def skip_template_head(text, at):
    """The position after `template <...>`, or `at`."""
    while re.compile(r"\s*template\s*<").match(text, at):
        at = text.index("<", at)
        depth = 0
        while True:
            if text[at] == "(":
                at = skip_brackets(text, at)
                continue
            depth += (text[at] == "<") - (text[at] == ">")
            at += 1
            if depth == 0:
                break
    return at


def is_assignment(text, at):
    """Whether the `=` at `at` gives a value, and is neither a comparison nor part of an operator's name."""
    return text[at] == "=" and text[at - 1] not in "=<>!+-*/%&|^" and text[at + 1:at + 2] != "=" and \
        not re.search(r"operator\s*$", text[max(0, at - 20):at])


def find_type_head(declaration):
    """The match of the word `class` or the like that a declaration begins with, behind its template parameters."""
    at = skip_template_head(declaration, 0)
    constraint = re.compile(r"\s*requires\s*\(").match(declaration, at)
    if constraint:
        at = skip_brackets(declaration, constraint.end() - 1)
    return TYPE_HEAD.match(declaration, at)


def read_declaration(text, at):
    """(declaration without a body, its body or None, position after it) of the declaration that starts at `at`."""
    start, at = at, skip_template_head(text, at)
    has_value, list_start = False, None
    while at < len(text):
        end = skip_text(text, at)
        if end != at:
            at = end
        elif text[at] == ";":
            return text[start:list_start or at] + ";", None, at + 1
        elif text[at] in "([":
            at = skip_brackets(text, at)
            # A macro that stands alone on its lines.
            if re.fullmatch(r"\s*[A-Z][A-Z0-9_]+\(.*\)", text[start:at], re.S) and text[at:at + 1] == "\n":
                return text[start:at], None, at
        elif text[at] == "{":
            end = skip_brackets(text, at)
            is_value = has_value or text[at - 1] not in " \n"
            if not is_value:
                return text[start:list_start or at].rstrip(), text[at + 1:end - 1], end
            at = end
        else:
            has_value = has_value or is_assignment(text, at)
            if text[at] == ":" and list_start is None and text[at - 1] in " \n" and text[at + 1] == " " and \
                    ")" in text[start:at] and not find_type_head(text[start:at]):
                list_start = len(text[:at].rstrip())
            at += 1
    return text[start:], None, len(text)


def strip_comment(lines):
    return "\n".join(re.sub(r"^\s*// ?", "", line) for line in lines)


class Reader:
    """Reads the members of a namespace or class."""

    def __init__(self, text, is_public):
        self.text, self.at, self.is_public = text, 0, is_public
        self.members, self.comment, self.is_adjacent = [], "", False

    def read(self):
        while self.at < len(self.text):
            self.read_next()
        self.keep_comment()
        return self.members

    def keep_comment(self):
        """A comment that an empty line divides from what follows stands alone."""
        if self.comment and self.is_public:
            self.members.append(Group(self.comment, []))
        self.comment = ""

    def read_next(self):
        spaces = re.compile(r"\s*").match(self.text, self.at)
        if spaces.group().count("\n") > 1:
            self.keep_comment()
            self.is_adjacent = False
        self.at = spaces.end()
        if self.at == len(self.text):
            return
        if self.text.startswith("//", self.at):
            self.read_comment()
        elif self.text[self.at] == "#":
            self.read_directive()
        elif access := ACCESS.match(self.text, self.at):
            self.comment, self.is_public, self.at = "", access.group(1) == "public", access.end()
        elif found := re.compile(r"(?:inline )?namespace ?([\w:]*) *\{").match(self.text, self.at):
            self.read_namespace(found)
        else:
            self.read_member()

    def read_comment(self):
        self.is_adjacent = False
        lines = re.compile(r"(?:[ \t]*//.*\n?)+").match(self.text, self.at)
        self.at = lines.end() - lines.group().endswith("\n")
        kept = [line for line in lines.group().splitlines() if not FORMATTER_WORDS.fullmatch(line)]
        if kept and "// clang-format" not in lines.group():
            self.comment = strip_comment(kept)

    def read_directive(self):
        directive = re.compile(r"#(?:.*\\\n)*.*").match(self.text, self.at)
        self.at = directive.end()
        macro = re.match(r"#define (OSTRA_\w+(?:\([^)]*\))?)", directive.group())
        if macro and self.comment and self.is_public:
            self.add(f"#define {macro.group(1)}")
        else:
            self.comment = ""

    def read_namespace(self, found):
        end = skip_brackets(self.text, found.end() - 1)
        self.comment = ""
        if found.group(1) and not HIDDEN_NAMESPACES.search(found.group(1)):
            self.members += Reader(self.text[found.end():end - 1], True).read()
        self.at = self.text.find("\n", end) if "\n" in self.text[end:] else len(self.text)

    def read_member(self):
        start = self.at
        declaration, body, self.at = read_declaration(self.text, start)
        column = start - 1 - self.text.rfind("\n", 0, start)
        head = find_type_head(declaration)
        if body is not None and head:
            self.add_type(declaration, head, body, column)
            return
        trailing = re.compile(r"[ \t]*(//.*)").match(self.text, self.at)
        if trailing:
            self.at = trailing.end()
        note = "  " + trailing.group(1) if trailing and "NOLINT" not in trailing.group(1) else ""
        self.add(declaration + (";" if body is not None else "") + note, column)

    def add(self, declaration, column=0):
        if self.is_public and not UNTOLD.match(declaration):
            text = make_plain(declaration, column)
            if self.is_adjacent and not self.comment and self.members and isinstance(self.members[-1], Group):
                self.members[-1].declarations.append(text)
            else:
                self.members.append(Group(self.comment, [text]))
            self.is_adjacent = True
        self.comment = ""

    def add_type(self, head, found, body, column):
        end = self.text.index(";", self.at) + 1
        kind, rest = found.group(1), head[found.end():]
        name = re.match(r"\s*(?:OSTRA_\w+\s+|\[\[\w+\]\]\s+|alignas\([^)]*\)\s+)*([\w:]+(?:<[^{]*?>)?)", rest)
        if self.is_public and name:
            is_enum = kind.startswith("enum")
            members = [] if is_enum else Reader(body, kind != "class").read()
            text = make_plain(f"{head} {{{body}}};", column) if is_enum else ""
            self.members.append(Type(self.comment, make_plain(" ".join(head.split()), 0), name.group(1), members, text))
        self.comment, self.at, self.is_adjacent = "", end, False


def make_plain(text, column):
    """A declaration that stood at `column`, without what only compilers and formatters read."""
    text = re.sub(r"OSTRA_API ", "", FORMATTER_WORDS.sub("", text.strip()))
    first, *others = text.split("\n")
    return "\n".join([first] + [re.sub(rf"^ {{0,{column}}}", "", line) for line in others])


def parse_header(text):
    """The leading comment of a header, and what it declares."""
    leading = re.match(r"(?://.*\n)*", text)
    return Header(strip_comment(leading.group().splitlines()), Reader(text[leading.end():], True).read())
