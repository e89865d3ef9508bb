"""Builds the documentation site and looks at every page in a headless browser.

    site_test.py ROOT BUILD OUT
"""

import base64
import pathlib
import subprocess
import sys
import time
import unittest

from browser import Browser, find_browser

ROOT, BUILD, OUT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
SITE = OUT / "site"
SKIPPED = 77
# Broken pictures, links, and how many headings there are.
LOOK = """[[...document.images].filter(i => !i.complete || !i.naturalWidth).map(i => i.src),
          [...document.links].map(a => a.href.split(/[?#]/)[0]), document.querySelectorAll("h1").length]"""
RESULTS = "[...document.querySelectorAll('#search-results li a')].map(a => a.href)"


def find_missing():
    """What the test needs and does not find, or None."""
    generator = subprocess.run(["/usr/bin/python3", "-c", "import sphinx, myst_parser"], capture_output=True, check=False)
    if generator.returncode != 0:
        return "Sphinx with MyST is missing (Debian: python3-sphinx, python3-myst-parser)"
    if not (BUILD / "python/ostra/__init__.py").exists():
        return "the Python package is not built"
    return None if find_browser() else "Chromium is missing (Debian: chromium)"


def find_faults(page, events):
    """What a page has complained about while it was loaded, and what it has asked a network for."""
    for event in events:
        parameters = event.get("params", {})
        if event.get("method") == "Runtime.exceptionThrown":
            yield f"{page}: {parameters['exceptionDetails']['text']}"
        elif event.get("method") == "Runtime.consoleAPICalled" and parameters["type"] in ("error", "assert"):
            yield f"{page}: console: {parameters['args']}"
        elif event.get("method") == "Log.entryAdded" and parameters["entry"]["level"] == "error":
            yield f"{page}: {parameters['entry']['text']} {parameters['entry'].get('url', '')}"
        elif event.get("method") == "Network.requestWillBeSent" and not parameters["request"]["url"].startswith(("file:", "data:")):
            yield f"{page}: asks for {parameters['request']['url']}"


class Crawl:
    """Every page that links lead to from the first one, and what is wrong with them."""

    def __init__(self, browser, first):
        self.faults, self.reached, self._browser = [], set(), browser
        waiting = [first]
        while waiting:
            page = waiting.pop()
            if page not in self.reached:
                self.reached.add(page)
                waiting += self.visit(page)

    def visit(self, page):
        """Looks at a page and returns those that it links to."""
        self.faults += find_faults(page.name, self._browser.open(page.as_uri()))
        pictures, links, headings = self._browser.evaluate(LOOK)
        self.faults += [f"{page.name}: broken picture {source}" for source in pictures]
        if headings == 0:
            self.faults.append(f"{page.name}: no heading")
        files = {pathlib.Path(link.removeprefix("file://")) for link in links if link.startswith("file://")}
        self.faults += [f"{page.name}: {file} is not there" for file in files if not file.is_file()]
        return [file for file in files if file.suffix == ".html" and file.is_file()]


class SiteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        OUT.mkdir(parents=True, exist_ok=True)
        subprocess.run([ROOT / "scripts/site.sh", SITE, BUILD], check=True, timeout=240)
        cls.browser = cls.enterClassContext(Browser())
        cls.crawl = Crawl(cls.browser, SITE / "index.html")

    def test_no_page_has_errors_broken_pictures_or_links_or_asks_a_network(self):
        self.assertEqual(self.crawl.faults, [])

    def test_every_page_is_reached_from_the_first_one(self):
        pages = set(SITE.rglob("*.html"))
        self.assertEqual(sorted(pages - self.crawl.reached - {SITE / "search.html"}), [])
        self.assertGreater(len(pages), 100)

    def test_a_page_with_faults_is_noticed(self):
        page = OUT / "faulty.html"
        page.write_text('<img src="missing.png"><a href="missing.html">x</a><script>missing()</script>', encoding="utf-8")
        faults = "\n".join(Crawl(self.browser, page).faults)
        for fault in ("broken picture", "no heading", "missing.html is not there", "Uncaught"):
            self.assertIn(fault, faults)

    def search(self, word):
        """The pages that a search for a word finds, without a server."""
        self.browser.open((SITE / "search.html").as_uri() + f"?q={word}")
        end = time.monotonic() + 30
        while time.monotonic() < end:
            answer = self.browser.evaluate("document.querySelector('#search-results').innerText")
            if "finished" in answer or "did not match" in answer:
                return [pathlib.Path(link.split("?")[0]).stem for link in self.browser.evaluate(RESULTS)]
            time.sleep(0.05)
        self.fail(f"the search for {word} does not end")

    def test_search_finds_words_of_kernels_functions_and_options(self):
        self.assertIn("kernel-words", self.search("groupReduceAdd"))
        self.assertIn("clients-cpp-session", self.search("TryShareBuffer"))
        self.assertIn("parallelprogram-program-parallel_program", self.search("StoreUniformBufferData"))
        self.assertIn("run", self.search("print-room"))
        self.assertEqual(self.search("wordthatstandsnowhere"), [])

    def test_kernels_are_highlighted_and_the_first_page_makes_a_picture(self):
        self.browser.open((SITE / "docs/kernels.html").as_uri())
        self.assertGreater(self.browser.evaluate("document.querySelectorAll('.highlight-krn span[class]').length"), 50)
        self.browser.call("Emulation.setDeviceMetricsOverride", width=1400, height=1000, deviceScaleFactor=1, mobile=False)
        self.browser.open((SITE / "index.html").as_uri())
        picture = base64.b64decode(self.browser.call("Page.captureScreenshot", format="png")["data"])
        (OUT / "first_page.png").write_bytes(picture)
        self.assertGreater(len(picture), 20000)  # an empty page takes a few thousand bytes


if __name__ == "__main__":
    missing = find_missing()
    if missing:
        print(f"skipped: {missing}")
        sys.exit(SKIPPED)
    unittest.main(argv=sys.argv[:1])
