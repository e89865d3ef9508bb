"""The page of all pictures of the other pages."""

from text_pages import escape

HEAD = """# Gallery

All pictures of these pages, made by kernels and scenes of this repository. A picture leads to the page that explains it.

"""


def make_picture(file, caption, page):
    return f"```{{container}} picture\n[![{escape(caption)}]({file})]({page})\n\n[{escape(caption)}]({page})\n```\n"


def make_container(kind, pictures):
    return f"````{{container}} gallery {kind}\n" + "".join(make_picture(*each) for each in pictures) + "````\n"


def make_gallery(pictures, entry):
    """`pictures`: (file, caption, page). A picture that several pages show is there once, for the last of them."""
    pages = {file: (file, caption, "index.md" if page == entry else page) for file, caption, page in pictures}
    noises = [each for each in pages.values() if each[2] == "docs/noise.md"]
    others = [each for each in pages.values() if each not in noises]
    return f"{HEAD}{make_container('large', others)}\n## Noises\n\n{make_container('small', noises)}"
