"""Builds the documentation site.

    build_site.py ROOT BUILD OUT

ROOT: the repository; BUILD: a build folder with the tool and the Python package; OUT: the folder of the site, which is replaced.
Ends with 1, and leaves OUT as it was, when a link leads nowhere or a public name of the Python package has no documentation.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent

from check_links import check_site
from command_pages import write_command_pages
from gallery_page import make_gallery
from header_pages import write_header_pages
from stage_pages import BrokenLink, Stage, find_title
from text_pages import fence

ENTRY = "docs/README.md"
TITLES = {"README": "Introduction"}
TITLE = "# ostra and parallelprogram"


def make_toctree(pages):
    return fence(":hidden:\n\n" + "\n".join(pages), "{toctree}")


def unmark(title):
    """A title without the marks of Markdown."""
    return re.sub(r"\\(.)", r"\1", title.replace("`", ""))


def find_children(text):
    """The pages that the hidden list of a page names."""
    listed = re.search(r"```{toctree}\n:hidden:\n\n(.*?)```", text, re.S)
    return [name.lstrip("/") for name in listed.group(1).split()] if listed else []


def make_navigation(folder, groups):
    """The list of pages beside each page: its groups, and the pages below those that list others."""
    def name_pages(pages):
        return [(page, TITLES.get(page) or unmark(find_title(folder / f"{page}.md"))) for page in pages]

    below = {page: name_pages(find_children((folder / f"{page}.md").read_text(encoding="utf-8")))
             for _, pages in groups for page in pages}
    return {"groups": [(caption, name_pages(pages)) for caption, pages in groups],
            "below": {page: pages for page, pages in below.items() if pages}}


def find_first_paragraph(text):
    """The first paragraph of a page that is text."""
    paragraphs = re.split(r"\n\s*\n", text)
    return next((each for each in paragraphs if not re.match(r"[#!|-]|```", each.strip())), "")


def find_linked(text, known):
    """The pages that a part of the entry page links to, in its order."""
    names = [name for name in re.findall(r"\]\(([^)#\s]+\.md)", text)]
    return [name.removesuffix(".md") for name in dict.fromkeys(names) if name not in known]


def make_folders_page(stage, names):
    """The READMEs of folders; a row says what the folder is."""
    rows = []
    for name in names:
        text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", find_first_paragraph(stage.read(name)))
        sentence = re.split(r"(?<=\.)\s", " ".join(text.split()))[0].replace("|", r"\|")
        rows.append(f"| [{name.removesuffix('/README.md')}]({name}) | {sentence} |")
    pages = "\n".join(name.removesuffix(".md") for name in names)
    head = "# Folders\n\nEvery folder of sources has a README. [The map](docs/map.md) says which folder may use which.\n\n"
    return head + "| folder | what it is |\n| --- | --- |\n" + "\n".join(rows) + "\n\n" + fence(f":hidden:\n\n{pages}", "{toctree}")


def make_index(stage, headers, commands, pythons):
    """The first page and the groups of pages: the entry page of docs, below a few words and a picture."""
    parts = re.split(r"^(?=## )", stage.read(ENTRY), flags=re.M)
    intro = find_first_paragraph(stage.read("README.md"))
    picture = re.search(r"!\[.*", stage.read("README.md")).group()
    links = f"[Start here](README.md) · [Gallery](gallery.md) · [Commands]({commands}.md) · [C++]({headers[0]}.md) · " \
        f"[Python]({pythons[0]}.md)"
    known, groups = {"README.md"}, [("Start", ["README", "gallery"])]
    for part in parts[1:]:
        pages = find_linked(part, known)
        known.update(f"{page}.md" for page in pages)
        groups.append((part.splitlines()[0].strip("# "), pages))
    stage.write("folders.md", make_folders_page(stage, [name for name in stage.names if name not in known | {ENTRY}]))
    groups.append(("Reference", [commands, *pythons, *headers, "folders"]))
    tree = make_toctree([page for _, pages in groups for page in pages])
    stage.write("index.md", f"{TITLE}\n\n{intro}\n\n{links}\n\n{picture}\n\n{''.join(parts[1:])}\n{tree}")
    return groups


def write_python_pages(root, build, stage):
    """By the interpreter that the package was built for, which may be another one."""
    python = os.environ.get("OSTRA_SITE_PYTHON", sys.executable)
    command = [python, "-B", "-c", "import pathlib, sys, python_pages\n"
               "print(*python_pages.write_python_pages(pathlib.Path(sys.argv[1])), sep='\\n')", str(stage)]
    path = os.pathsep.join([str(HERE), str(build / "python")])
    result = subprocess.run(command, env={**os.environ, "PYTHONPATH": path}, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        reason = (result.stderr.strip().splitlines() or ["no message"])[-1]
        raise RuntimeError(f"the pages of the Python package failed: {reason}")
    return result.stdout.split()


def run_sphinx(root, stage, out):
    command = [sys.executable, "-B", "-m", "sphinx", "-q", "-W", "--keep-going", "-n", "-E", "-j", "2", "-b", "html",
               "-c", str(HERE), str(stage), str(out)]
    environment = {**os.environ, "OSTRA_SITE_ROOT": str(root), "OSTRA_SITE_PAGES": str(stage)}
    result = subprocess.run(command, env=environment, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise RuntimeError(result.stderr.replace(f"{stage}/", "").strip())


def build(root, build_folder, out):
    with tempfile.TemporaryDirectory(prefix="ostra_site_") as temporary:
        folder, site = pathlib.Path(temporary) / "pages", pathlib.Path(temporary) / "site"
        stage = Stage(root, folder, ENTRY)
        stage.copy_all()
        headers = write_header_pages(root, folder)
        commands = write_command_pages(build_folder / "bin/ostra", folder)
        pythons = write_python_pages(root, build_folder, folder)
        groups = make_index(stage, headers, commands, pythons)
        stage.write("gallery.md", make_gallery(stage.pictures, ENTRY))
        stage.write("navigation.json", json.dumps(make_navigation(folder, groups)))
        run_sphinx(root, folder, site)
        shutil.rmtree(site / ".doctrees", ignore_errors=True)
        broken = list(check_site(site))
        if broken:
            raise BrokenLink("\n".join(broken))
        if out.exists():
            shutil.rmtree(out)
        shutil.copytree(site, out)


def main(arguments):
    root, build_folder, out = (pathlib.Path(each).resolve() for each in arguments)
    if out.exists() and any(out.iterdir()) and not (out / "searchindex.js").exists():
        print(f"{out} is not empty, and no site: name another folder", file=sys.stderr)
        return 1
    try:
        build(root, build_folder, out)
    except (BrokenLink, RuntimeError) as error:
        print(error, file=sys.stderr)
        return 1
    print(f"{sum(1 for _ in out.rglob('*.html'))} pages: {out / 'index.html'}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
