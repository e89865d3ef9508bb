"""The pages of the public C++ headers."""

import re

from header_parser import Type, parse_header
from text_pages import comment_to_markdown, escape, fence

GROUPS = [
    ("clients/cpp", "C++: sessions, buffers, typed kernels"),
    ("plans", "C++: scenes to pictures"),
    ("parallelprogram", "C++: programs, kernels, shaders"),
    ("ostra", "C++: the host framework"),
]


def find_public_headers(root):
    """The headers that cmake/OstraInstall.cmake installs."""
    rules = (root / "cmake/OstraInstall.cmake").read_text(encoding="utf-8")
    excluded = [re.compile(pattern.replace("\\\\", "\\")) for pattern in re.findall(r'REGEX "([^"]+)" EXCLUDE', rules)]
    listed = re.search(r"foreach\(header\s+(.*?)\)", rules, re.S)
    if not excluded or not listed:
        raise ValueError("cmake/OstraInstall.cmake has another form: header_pages.py must learn it")
    headers = [path for folder in ("ostra", "clients/cpp") for path in sorted((root / folder).rglob("*.h"))]
    headers = [path for path in headers if not any(rule.search("/" + path.relative_to(root).as_posix()) for rule in excluded)]
    headers += [root / name for name in re.findall(r"PROJECT_SOURCE_DIR\}/(plans/\w+\.h)", rules)]
    return headers + [root / "parallelprogram" / name for name in sorted(listed.group(1).split()) if name.endswith(".h")]


def make_member(member, level):
    if isinstance(member, Type):
        return make_type(member, level)
    code = fence("\n".join(member.declarations), "cpp") + "\n" if member.declarations else ""
    return code + comment_to_markdown(member.comment)


def make_type(member, level):
    kind = re.search(r"(?<![<,] )\b(class|struct|union|enum)\b", member.head).group(1)
    is_plain = re.fullmatch(rf"{kind} [\w:]+", member.head)
    pieces = [f"{'#' * min(level, 5)} {kind} {escape(member.name)}\n",
              member.text and fence(member.text, "cpp") or not is_plain and fence(f"{member.head};", "cpp"),
              comment_to_markdown(member.comment), *(make_member(each, level + 1) for each in member.members)]
    return "\n".join(filter(None, pieces))


def make_page(name, header):
    pieces = [f"# {escape(name.rpartition('/')[2])}\n", fence(f'#include "{name}"', "cpp"), comment_to_markdown(header.comment)]
    was_type = True
    for member in header.members:
        is_type = isinstance(member, Type)
        if not is_type and was_type:
            pieces.append("## Functions, constants and names\n" if member.declarations else "")
        pieces.append(make_member(member, 2))
        was_type = is_type
    return "\n".join(pieces) + "\n"


def make_summary(comment):
    """The first sentence of a comment."""
    paragraph = re.split(r"\n\s*\n|\n {2,}", comment)[0].replace("\n", " ")
    return escape(re.split(r"(?<=[.:]) (?=[A-Z])|:$", paragraph.strip())[0].rstrip(":"))


def make_index(title, headers):
    """A list of headers by folder, each with its first sentence. `headers`: (name, page, comment)."""
    pieces, folder = [f"# {title}\n"], None
    for name, page, comment in headers:
        if name.rpartition("/")[0] != folder:
            folder = name.rpartition("/")[0]
            pieces.append(f"\n## {escape(folder)}\n\n| header | what it is |\n| --- | --- |")
        pieces.append(f"| [{name.rpartition('/')[2]}]({page.rpartition('/')[2]}.md) | {make_summary(comment)} |")
    pages = "\n".join(f"/{page}" for _, page, _ in headers)
    return "\n".join(pieces) + "\n\n" + fence(f":hidden:\n\n{pages}", "{toctree}")


def write_header_pages(root, stage):
    """Writes a page for each header and returns the pages of the groups, which list them."""
    groups = {folder: [] for folder, _ in GROUPS}
    for path in find_public_headers(root):
        name = path.relative_to(root).as_posix()
        header = parse_header(path.read_text(encoding="utf-8"))
        page = "api/cpp/" + name.removesuffix(".h").replace("/", "-")
        write(stage / f"{page}.md", make_page(name, header))
        groups[next(folder for folder in groups if name.startswith(folder + "/"))].append((name, page, header.comment))
    pages = []
    for folder, title in GROUPS:
        pages.append("api/cpp/" + folder.replace("/", "-") + "-headers")
        write(stage / f"{pages[-1]}.md", make_index(title, groups[folder]))
    return pages


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
