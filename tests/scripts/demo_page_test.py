"""The page that the demo ends with: its table, its pictures, names with characters that HTML keeps for itself."""

import html.parser
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv.pop()


class Page(html.parser.HTMLParser):
    """Collects the rows of the table and the sources of the pictures."""

    def __init__(self, text):
        super().__init__()
        self.rows, self.pictures, self._cell = [], [], False
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        if tag == "tr":
            self.rows.append([])
        elif tag in ("td", "th"):
            self.rows[-1].append("")
        elif tag == "img":
            self.pictures.append(dict(attributes)["src"])
        self._cell = tag in ("td", "th")

    def handle_endtag(self, tag):
        self._cell = False

    def handle_data(self, data):
        if self._cell:
            self.rows[-1][-1] += data


def make_page(rows, pictures):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "rows").write_text("".join("\t".join(row) + "\n" for row in rows))
        for picture in pictures:
            (folder / picture).write_bytes(b"")
        subprocess.run([SCRIPT, folder / "rows", folder], check=True)
        return Page((folder / "index.html").read_text())


class DemoPage(unittest.TestCase):
    def test_every_row_is_a_row_of_the_table(self):
        rows = [["kernel", "size", "CPU"], ["blur, 25 weights", "1920x1080", "4.8 ms"], ["  its colours", "", "-"]]
        self.assertEqual(make_page(rows, []).rows, rows)

    def test_characters_of_html_are_shown_as_they_are(self):
        rows = [["a < b & c > \"d\""]]
        self.assertEqual(make_page(rows, []).rows, rows)

    def test_every_png_picture_is_shown_and_nothing_else(self):
        page = make_page([["kernel"]], ["blur.png", "scene.exr", "a & b.png"])
        self.assertEqual(page.pictures, ["a & b.png", "blur.png"])

    def test_a_folder_without_pictures_gives_the_table_alone(self):
        self.assertEqual(make_page([["kernel"]], []).pictures, [])


if __name__ == "__main__":
    unittest.main()
