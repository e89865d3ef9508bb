"""The words of kernel files, as the front end of the language has them.

They are read from its sources, so that editors and documentation cannot name others.
"""

import pathlib
import re

WORDS = "parallelprogram/kernellanguage/words.cpp"
KINDS = "parallelprogram/kernellanguage/words.h"

ROW = re.compile(r'\{"(\w+)", k(\w+),')


class TableError(Exception):
    """A source does not have the form that is read here."""


def _read_section(file, begin, end):
    """The text of `file` between two marks."""
    text = file.read_text(encoding="utf-8")
    _, found, rest = text.partition(begin)
    section, is_closed, _ = rest.partition(end)
    if not found or not is_closed:
        raise TableError(f"{file}: there is no text between {begin!r} and {end!r}")
    return section


def read_kinds(root):
    """The names of WordKind, without the k."""
    section = _read_section(pathlib.Path(root) / KINDS, "enum class WordKind : UInt8 {", "};")
    return re.findall(r"^\s*k(\w+),", section, re.MULTILINE)


def _read_table(root):
    """All words by their kind: {"Type": ["void", "bool", ...], "Function": [...], ...}."""
    file = pathlib.Path(root) / WORDS
    words = {kind: [] for kind in read_kinds(root)}
    for line in _read_section(file, "constexpr Word kWords[] = {", "\n};").splitlines():
        if not line.lstrip().startswith("{"):
            continue
        row = ROW.match(line.lstrip())
        if not row or row.group(2) not in words:
            raise TableError(f"{file}: not a word and its kind: {line.strip()}")
        words[row.group(2)].append(row.group(1))
    empty = [kind for kind in words if not words[kind]]
    if empty:
        raise TableError(f"{file}: no words of the kinds {', '.join(empty)}")
    return words


def read_words(root):
    """The same without the words of C++."""
    return {kind: names for kind, names in _read_table(root).items() if kind != "Keyword"}


def read_keywords(root):
    """The words of C++ that the language has, such as `if`."""
    return _read_table(root)["Keyword"]
