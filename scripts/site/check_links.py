"""Checks the links of a finished site: files, anchors, and that nothing is fetched from elsewhere.

    check_links.py FOLDER
"""

import html.parser
import pathlib
import sys
import urllib.parse

FETCHED = {("script", "src"), ("img", "src"), ("link", "href"), ("iframe", "src"), ("source", "src"), ("video", "src")}


class Page(html.parser.HTMLParser):
    """The anchors of a page and what it links to."""

    def __init__(self, path):
        super().__init__()
        self.anchors, self.links = set(), []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or name == "name" and tag == "a":
                self.anchors.add(value)
            elif name in ("href", "src") and value is not None:
                self.links.append((tag, name, value))


def check_site(folder):
    """Yields a line for each link that leads nowhere, and for each file that another server would have to send."""
    pages = {path.resolve(): Page(path) for path in sorted(folder.rglob("*.html"))}
    if not pages:
        yield f"{folder} has no pages"
    for path, page in pages.items():
        name = path.relative_to(folder.resolve())
        for tag, attribute, link in page.links:
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc:
                if (tag, attribute) in FETCHED and parts.scheme != "data":
                    yield f"{name}: {link} would be fetched from elsewhere"
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            anchor = urllib.parse.unquote(parts.fragment)
            if not target.is_file():
                yield f"{name}: {link} is not in the site"
            elif anchor and target in pages and anchor not in pages[target].anchors:
                yield f"{name}: {link} has no such heading"


def main(arguments):
    broken = list(check_site(pathlib.Path(arguments[0])))
    print("\n".join(broken) if broken else "all links lead somewhere")
    return 1 if broken else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
