"""Writes the words of the language into the grammar of editors and into the Pygments lexer.

    write_words.py [--check] [ROOT]

Run it after a change of the word table. With --check it changes nothing, prints which file misses which words, and ends
with 1 when there are any.
"""

import json
import pathlib
import re
import sys

import word_table

GRAMMAR = "editors/vscode/syntaxes/ostra-kernel.tmLanguage.json"
LEXER = "editors/pygments/ostra_lexer.py"
LEXER_BEGIN = "# Written by editors/write_words.py.\n"
LEXER_END = "# End of what is written.\n"

# The rules of the grammar for words of C++. A keyword that is in none of them is an error.
KEYWORDS = {
    "Control": ["if", "else", "for", "while", "do", "switch", "case", "default", "break", "continue", "return"],
    "Storage": ["inline", "struct", "const", "static", "constexpr", "unsigned", "namespace"],
    "Constant": ["true", "false"],
    "Cast": ["static_cast"],
}

# What a rule matches; that of parameters and textures takes their first argument, too.
PLAIN = r"\b(?:{})\b"
NAMED = r"\b({})\b(?:\s*(\()\s*([A-Za-z_]\w*))?"


def sort_keywords(root):
    """The keywords of the language, by rule."""
    known = sum(KEYWORDS.values(), [])
    keywords = word_table.read_keywords(root)
    if sorted(known) != sorted(keywords):
        raise word_table.TableError(f"KEYWORDS of write_words.py and those of {word_table.WORDS} differ: "
                                    + " ".join(sorted(set(known) ^ set(keywords))))
    return KEYWORDS


def write_grammar(text, words, keywords):
    """The grammar `text` with the words in its rules."""
    grammar = json.loads(text)
    for prefix, lists in (("words", words), ("keywords", keywords)):
        for kind, names in lists.items():
            form = NAMED if kind in ("Parameter", "Texture") else PLAIN
            grammar["repository"][f"{prefix}-{kind.lower()}"]["match"] = form.format("|".join(names))
    return json.dumps(grammar, indent=2) + "\n"


def write_lexer(text, words, keywords):
    """The lexer `text` with the words in its tables."""
    begin = text.index(LEXER_BEGIN) + len(LEXER_BEGIN)
    end = text.index(LEXER_END)
    lines = []
    for name, lists in (("WORDS", words), ("KEYWORDS", keywords)):
        lines.append(f"{name} = {{\n")
        for kind, names in lists.items():
            lines.append(f'    "{kind}": """\n')
            lines += _wrap(names, 8, 120)
            lines.append('        """.split(),\n')
        lines.append("}\n")
    return text[:begin] + "".join(lines) + text[end:]


def _wrap(names, indent, width):
    """Lines of names, none longer than `width`."""
    line = " " * indent
    for name in names:
        if len(line) + len(name) > width:
            yield line.rstrip() + "\n"
            line = " " * indent
        line += name + " "
    yield line.rstrip() + "\n"


def write_texts(root):
    """Yields each file with the text that it has and the one that it should have."""
    words = word_table.read_words(root)
    keywords = sort_keywords(root)
    for name, write in ((GRAMMAR, write_grammar), (LEXER, write_lexer)):
        file = pathlib.Path(root) / name
        text = file.read_text(encoding="utf-8")
        yield name, text, write(text, words, keywords)


def find_differences(root):
    """One line for each file that is not up to date."""
    for name, text, wanted in write_texts(root):
        if text == wanted:
            continue
        has, needs = set(re.findall(r"\w+", text)), set(re.findall(r"\w+", wanted))
        differences = [f"{label}: {' '.join(sorted(found))}"
                       for label, found in (("missing", needs - has), ("no longer a word", has - needs)) if found]
        yield f"{name}: {'; '.join(differences) or 'kinds, order or form differ'}; run editors/write_words.py"


def main(arguments):
    is_check = "--check" in arguments
    rest = [argument for argument in arguments if argument != "--check"]
    root = rest[0] if rest else pathlib.Path(__file__).resolve().parent.parent
    if is_check:
        differences = list(find_differences(root))
        print("\n".join(differences) if differences else "all words are there")
        return 1 if differences else 0
    for name, text, wanted in write_texts(root):
        if text != wanted:
            (pathlib.Path(root) / name).write_text(wanted, encoding="utf-8")
            print(f"written: {name}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
