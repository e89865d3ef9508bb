"""Tests what the documentation site is made with, as far as that needs no generator and no browser.

    site_parts_test.py ROOT
"""

import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(sys.argv[1])
sys.path.insert(0, str(ROOT / "scripts/site"))

from check_links import check_site  # noqa: E402
from command_pages import find_commands, wrap_help  # noqa: E402
from header_pages import find_public_headers, make_page  # noqa: E402
from header_parser import Type, parse_header  # noqa: E402
from python_pages import Undocumented, make_class  # noqa: E402
from stage_pages import BrokenLink, Stage, guess_language, name_languages  # noqa: E402
from text_pages import docstring_to_markdown, escape  # noqa: E402

HEADER = """// A counter that wraps.
//
//   Counter counter(7);
#pragma once

#include <utility>

namespace ostra {

class Other;

// Counts up to a limit.
template <class T = Int32>
class OSTRA_API Counter final : public Base<T> {
 public:
  Counter() : _count{1}, _limit(2) {}
  // Errors: illegal argument below 0.
  static Result<Counter> Create(T limit, Bool wraps = {}) {
    if (limit < 0) return Error::MakeIllegalArgument("}");  // a brace in a text
    return Counter(limit);
  }
  void operator=(const Counter& other) = delete;
  Bool operator==(const Counter& other) const { return _count == other._count; }

  // Pairs.

  template <class Function>
    requires(sizeof(Function) > 1)
  auto Each(Function&& function) const -> T {
    return function('{');
  }

 private:
  T _count = 0;  // hidden
};

// How it ends.
enum class Ending : Int32 {
  Wrap,  // at zero again
  Stop,
};

namespace detail {
void Hidden();
}  // namespace detail

inline constexpr Int32 kLimits[] = {1, 2};  // of both
// Adds one.
#define OSTRA_COUNT(counter) ((counter).Add(1))

}  // namespace ostra
"""


class HeaderTest(unittest.TestCase):
    def setUp(self):
        self.header = parse_header(HEADER)

    def test_the_leading_comment_is_kept_with_its_example(self):
        self.assertEqual(self.header.comment, "A counter that wraps.\n\n  Counter counter(7);")

    def test_types_have_their_comment_and_public_members(self):
        counter, ending = self.header.members[:2]
        self.assertEqual((counter.name, counter.comment), ("Counter", "Counts up to a limit."))
        self.assertEqual(counter.head, "template <class T = Int32> class Counter final : public Base<T>")
        self.assertEqual((ending.name, ending.text.splitlines()[1]), ("Ending", "  Wrap,  // at zero again"))

    def test_members_lose_bodies_and_initialisers_and_share_comments(self):
        members = [(group.comment, group.declarations) for group in self.header.members[0].members]
        self.assertEqual(members, [
            ("", ["Counter();"]),
            ("Errors: illegal argument below 0.",
             ["static Result<Counter> Create(T limit, Bool wraps = {});", "void operator=(const Counter& other) = delete;",
              "Bool operator==(const Counter& other) const;"]),
            ("Pairs.", []),
            ("", ["template <class Function>\n  requires(sizeof(Function) > 1)\nauto Each(Function&& function) const -> T;"]),
        ])

    def test_hidden_namespaces_and_forward_declarations_are_left_out(self):
        rest = [(group.comment, group.declarations) for group in self.header.members[2:]]
        self.assertEqual(rest, [("", ["inline constexpr Int32 kLimits[] = {1, 2};  // of both"]),
                                ("Adds one.", ["#define OSTRA_COUNT(counter)"])])

    def test_every_public_header_has_a_page_with_what_it_declares(self):
        headers = find_public_headers(ROOT)
        names = [path.relative_to(ROOT).as_posix() for path in headers]
        self.assertIn("clients/cpp/session.h", names)
        self.assertIn("parallelprogram/program/parallel_program.h", names)
        self.assertNotIn("ostra/jobs/worker_pool.h", names)
        for path, name in zip(headers, names):
            header = parse_header(path.read_text(encoding="utf-8"))
            self.assertTrue(make_page(name, header).startswith("# "), name)
            self.assertNotIn("\n\n\n", header.comment, name)

    def test_all_methods_of_a_program_are_on_its_page(self):
        path = ROOT / "parallelprogram/program/parallel_program.h"
        program = next(each for each in parse_header(path.read_text(encoding="utf-8")).members if isinstance(each, Type))
        declared = [text for group in program.members for text in group.declarations if text.startswith("virtual")]
        self.assertEqual(len(declared), path.read_text(encoding="utf-8").count("\n  virtual "))
        self.assertGreater(len(declared), 50)


class PageTest(unittest.TestCase):
    def test_blocks_without_a_language_get_one_and_others_keep_theirs(self):
        text = "```cpp\nint a;\n```\nwords\n```\nostra run a.krn\n```\n"
        self.assertEqual(name_languages(text), "```cpp\nint a;\n```\nwords\n```sh\nostra run a.krn\n```\n")
        self.assertEqual(guess_language("uint i = UNIFORM(count);\n"), "krn")
        self.assertEqual(guess_language("a b c\n"), "text")

    def test_text_stands_for_itself_but_for_code(self):
        self.assertEqual(escape("Array<T> of `a_b` * 2"), r"Array\<T\> of `a_b` \* 2")

    def test_arguments_of_documentation_strings_become_lists(self):
        text = docstring_to_markdown("Runs.\n\nsize: how many\n    there are.\nname: a text\n\n    run(3)\n")
        self.assertEqual(text, "Runs.\n\n- `size`: how many\n  there are.\n- `name`: a text\n\n```python\nrun(3)\n```\n")

    def test_commands_are_those_that_the_help_text_lists(self):
        text = "Usage: tool\n\nOptions:\n  -h  Help\n\nSubcommands:\n  run    Run it\n  stop-it  Stop it\n"
        self.assertEqual(find_commands(text), [("run", "Run it"), ("stop-it", "Stop it")])
        self.assertEqual(find_commands("Usage: tool\n"), [])

    def test_long_lines_of_help_texts_go_on_in_their_column(self):
        text = wrap_help("Options:\n  --long NAME        " + 30 * "word " + "\n  -h   Help\n")
        self.assertEqual(text, "Options:\n  --long NAME        " + " ".join(17 * ["word"]) + "\n" + 21 * " " +
                         " ".join(13 * ["word"]) + "\n  -h   Help")

    def test_paragraphs_of_help_texts_are_filled_when_they_are_too_wide(self):
        wide = " ".join(22 * ["word"])
        self.assertEqual(wrap_help(f"{wide}\nword\n\nshort\nlines\n"),
                         " ".join(21 * ["word"]) + "\nword word\n\nshort\nlines")


class ClassTest(unittest.TestCase):
    def test_members_without_a_documentation_string_are_an_error(self):
        class Part:
            """A part."""

            def told(self):
                """Says something."""

            @property
            def bare(self):
                return 1

        with self.assertRaisesRegex(Undocumented, "^module.Part.bare has no documentation string$"):
            make_class("module.Part", Part, None)
        del Part.bare
        self.assertIn("### module.Part.told", make_class("module.Part", Part, None))


class StageTest(unittest.TestCase):
    def read(self, text):
        """A page of a repository with this text, as the site has it."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, content in {"docs/page.md": text, "docs/README.md": "# Entry\n", "part/README.md": "# Part of it\n",
                                  "part/code.cpp": "int a;\n", "build/page.md": "# Built\n"}.items():
                (root / name).parent.mkdir(exist_ok=True)
                (root / name).write_text(content, encoding="utf-8")
            stage = Stage(root, root / "staged", "docs/README.md")
            self.assertEqual(stage.names, ["docs/README.md", "docs/page.md", "part/README.md"])
            return stage.read("docs/page.md"), [path.name for path in (root / "staged").rglob("*.*")]

    def test_links_to_pages_folders_and_files_hold_in_the_site(self):
        self.assertEqual(self.read("[README.md](README.md) [b](../part#x) [c](../part/code.cpp) `[d](none)`"),
                         ("[Entry](../index.md) [b](../part/README.md#x) [c](../part/code.cpp) `[d](none)`", ["code.cpp"]))

    def test_a_link_out_of_the_repository_or_to_nothing_is_an_error(self):
        for link in ("none.md", "../../other.md"):
            with self.assertRaisesRegex(BrokenLink, f"docs/page.md: {link} is not in the repository"):
                self.read(f"[a]({link})")


class LinkTest(unittest.TestCase):
    def check(self, body):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder)
            (path / "index.html").write_text(f'<h1 id="top">x</h1>{body}', encoding="utf-8")
            (path / "other page.html").write_text('<h2 id="here">x</h2>', encoding="utf-8")
            return list(check_site(path))

    def test_links_that_lead_somewhere_are_right(self):
        links = '<a href="#top">x</a><a href="other%20page.html#here">x</a><a href="https://example.net/">x</a>'
        self.assertEqual(self.check(links), [])

    def test_missing_pages_headings_and_pictures_are_reported(self):
        self.assertEqual(self.check('<a href="none.html">x</a>'), ["index.html: none.html is not in the site"])
        self.assertEqual(self.check('<a href="#none">x</a>'), ["index.html: #none has no such heading"])
        self.assertEqual(self.check('<a href="other%20page.html#top">x</a>'),
                         ["index.html: other%20page.html#top has no such heading"])
        self.assertEqual(self.check('<img src="none.png">'), ["index.html: none.png is not in the site"])

    def test_what_another_server_would_send_is_reported(self):
        self.assertEqual(self.check('<script src="//example.net/a.js"></script>'),
                         ["index.html: //example.net/a.js would be fetched from elsewhere"])

    def test_a_folder_without_pages_is_no_site(self):
        with tempfile.TemporaryDirectory() as folder:
            self.assertEqual(len(list(check_site(pathlib.Path(folder)))), 1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
