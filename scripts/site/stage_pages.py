"""Copies the Markdown pages of the repository to where the site is generated from, with the folders as they are."""

import os
import re
import shutil

# Lines of code blocks, inline code and links of a page.
CODE = re.compile(r"^```.*?^```|`[^`\n]+`", re.M | re.S)
LINK = re.compile(r"(!?)\[((?:[^\[\]]|\[[^\]]*\])*)\]\(([^)\s]+)\)")


class BrokenLink(Exception):
    """A link of a page that leads nowhere."""


# Folders of what is built, and of packages of others.
FOREIGN = {"build", "out", "node_modules"}


def find_pages(root):
    """The Markdown files of the repository, by their paths in it."""
    pages = [path.relative_to(root) for path in root.rglob("*.md")]
    return sorted(path.as_posix() for path in pages
                  if not any(part in FOREIGN or part.startswith(".") for part in path.parts))


def guess_language(code):
    """How a block without a language is highlighted."""
    if re.search(r"^OSTRA_PARALLEL_KERNEL|^#define KERNELINPUTS|\bUNIFORM(_BUFFER)?\(", code, re.M):
        return "krn"
    if re.match(r"(\./|ostra |scripts/|cmake |git |pip |python3 |sudo |[A-Z_]+=\S+ )", code):
        return "sh"
    return "text"


def name_languages(text):
    """Every code block says its language, for the highlighter."""
    return re.sub(r"^```(.*)\n((?:.*\n)*?)```$", lambda block: block.group() if block.group(1) else
                  f"```{guess_language(block.group(2))}\n{block.group(2)}```", text, flags=re.M)


def outside_code(text, change):
    """Applies `change` to what is no code."""
    pieces, at = [], 0
    for code in CODE.finditer(text):
        pieces += [change(text[at:code.start()]), code.group()]
        at = code.end()
    return "".join(pieces + [change(text[at:])])


def find_title(path):
    return re.search(r"^# +(.*)$", path.read_text(encoding="utf-8"), re.M).group(1)


def relate(page, target):
    """The link from a page to a file."""
    return os.path.relpath(target, os.path.dirname(page) or ".")


class Stage:
    """The pages of a repository on their way into the site."""

    def __init__(self, root, folder, entry):
        self.root, self.folder, self.entry = root, folder, entry  # the entry becomes index.md
        self.names = find_pages(root)
        self.pictures = []  # (file, caption, page), in the order of the pages

    def copy_all(self):
        for name in self.names:
            if name != self.entry:
                self.write(name, self.read(name))

    def write(self, name, text):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def read(self, name):
        """The text of a page, with links that hold in the site."""
        text = name_languages((self.root / name).read_text(encoding="utf-8"))
        return outside_code(text, lambda part: LINK.sub(lambda link: self.move_link(name, link), part))

    def move_link(self, page, link):
        """A link of `page` as it is written in the site; the file that it leads to comes along."""
        mark, text, target = link.groups()
        if re.match(r"[a-z]+:|#", target):
            return link.group()
        file, _, anchor = target.partition("#")
        name = os.path.normpath(os.path.join(os.path.dirname(page), file))
        if (self.root / name).is_dir():
            name += "/README.md"
        if name.startswith("..") or not (self.root / name).is_file():
            raise BrokenLink(f"{page}: {target} is not in the repository")
        if mark:
            self.pictures.append((name, text, page))
        # A title says more than the name of a file.
        if text == file.rpartition("/")[2] and name in self.names:
            text = find_title(self.root / name)
        if name == self.entry:
            name = "index.md"
        elif name not in self.names:
            (self.folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(self.root / name, self.folder / name)
        page = "index.md" if page == self.entry else page
        return f"{mark}[{text}]({relate(page, name)}{'#' + anchor if anchor else ''})"
