"""The grammar of editors and the Pygments lexer have every word of the language, of its kind.

    word_lists_test.py ROOT
"""

import json
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv.pop(1)).resolve()
sys.path.insert(0, str(ROOT / "editors"))

import word_table  # noqa: E402
import write_words  # noqa: E402

NEW_ROW = '    {"wavelength", kFunction, Id::kOther, "", "of light"},\n'


def read_grammar():
    return json.loads((ROOT / write_words.GRAMMAR).read_text(encoding="utf-8"))


def find_included(rule, repository, found):
    """Adds the names of all rules of `repository` that `rule` reaches to `found`."""
    for pattern in rule.get("patterns", []) + list(rule.get("captures", {}).values()):
        name = pattern.get("include", "")[1:]
        if name and name not in found:
            found.add(name)
            find_included(repository[name], repository, found)
        find_included(pattern, repository, found)
    return found


class WordListsTest(unittest.TestCase):
    def test_the_table_is_read_whole(self):
        words = word_table.read_words(ROOT)
        ids = re.findall(r", Id::k\w+,", (ROOT / word_table.WORDS).read_text(encoding="utf-8"))
        count = sum(map(len, words.values())) + len(word_table.read_keywords(ROOT))
        self.assertEqual(count, len(ids), "words, IDs")
        self.assertIn("GROUPSHAREDMEM", words["Statement"])
        self.assertIn("FetchTexture", words["Texture"])
        self.assertIn("clamp", words["Function"], "a row of two lines")

    def test_a_rule_of_the_grammar_matches_each_word(self):
        repository = read_grammar()["repository"]
        for prefix, lists in (("words", word_table.read_words(ROOT)), ("keywords", write_words.sort_keywords(ROOT))):
            for kind, names in lists.items():
                rule = re.compile(repository[f"{prefix}-{kind.lower()}"]["match"])
                for name in names:
                    self.assertTrue(rule.fullmatch(name), f"{name} of {kind}")
                    self.assertFalse(rule.match(name + "s"), f"{name}s of {kind}")

    def test_every_rule_of_the_grammar_is_used(self):
        grammar = read_grammar()
        used = find_included(grammar, grammar["repository"], set())
        self.assertEqual(used, set(grammar["repository"]))

    def test_the_files_are_up_to_date(self):
        self.assertEqual(list(write_words.find_differences(ROOT)), [])


class ChangedTableTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name in (word_table.WORDS, word_table.KINDS, write_words.GRAMMAR, write_words.LEXER):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.root / name)

    def change(self, name, old, new):
        file = self.root / name
        text = file.read_text(encoding="utf-8")
        self.assertEqual(text.count(old), 1, old)
        file.write_text(text.replace(old, new), encoding="utf-8")

    def test_a_new_word_is_missing_in_both_files_until_it_is_written(self):
        self.change(word_table.WORDS, "    // Statements and directives.\n", NEW_ROW)
        self.assertEqual([line.split(";")[0] for line in write_words.find_differences(self.root)],
                         [f"{write_words.GRAMMAR}: missing: wavelength", f"{write_words.LEXER}: missing: wavelength"])
        self.assertEqual(write_words.main(["--check", str(self.root)]), 1)
        self.assertEqual(write_words.main([str(self.root)]), 0)
        self.assertEqual(list(write_words.find_differences(self.root)), [])

    def test_a_word_that_the_language_lost_is_found(self):
        self.change(word_table.WORDS, '    {"mutable", kReserved, Id::kOther, "", ""},\n', "")
        self.assertTrue(all("no longer a word: mutable" in line for line in write_words.find_differences(self.root)))

    def test_a_word_of_another_kind_is_found(self):
        self.change(word_table.WORDS, '{"ATOMIC", kQualifier,', '{"ATOMIC", kType,')
        self.assertEqual(len(list(write_words.find_differences(self.root))), 2)

    def test_a_row_that_cannot_be_read_is_an_error(self):
        self.change(word_table.WORDS, '{"ATOMIC", kQualifier,', '{"ATOMIC", kColour,')
        self.assertRaises(word_table.TableError, list, write_words.find_differences(self.root))

    def test_a_new_keyword_without_a_rule_is_an_error(self):
        self.change(word_table.WORDS, '{"namespace", kKeyword,', '{"import", kKeyword,')
        self.assertRaisesRegex(word_table.TableError, "import", list, write_words.find_differences(self.root))


if __name__ == "__main__":
    unittest.main()
