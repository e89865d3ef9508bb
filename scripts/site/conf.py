"""How Sphinx makes the site; build_site.py starts it, with the staged pages as its sources."""

import importlib.util
import json
import os
import pathlib

project = "ostra and parallelprogram"
copyright = ""
root_doc = "index"
extensions = ["myst_parser"]
myst_heading_anchors = 6
nitpicky = True
smartquotes = False
# A README may begin below the first level. Examples for the reader of a page may leave parts out ("...").
suppress_warnings = ["myst.header", "misc.highlighting_failure"]

here = pathlib.Path(__file__).parent
html_theme = "basic"
templates_path = [str(here / "templates")]
html_static_path = [str(here / "static")]
html_css_files = ["site.css"]
html_title = project
html_copy_source = html_show_copyright = html_show_sphinx = html_use_index = False
html_domain_indices = False
# Summaries are fetched, which browsers refuse for files.
html_show_search_summary = False
# Sphinx's own list of pages takes most of the time of a build.
html_context = {"navigation": json.loads((pathlib.Path(os.environ["OSTRA_SITE_PAGES"]) / "navigation.json").read_text())}
pygments_style = "friendly"
highlight_language = "none"


def setup(app):
    """Kernel files are highlighted by the lexer that editors use."""
    file = pathlib.Path(os.environ["OSTRA_SITE_ROOT"]) / "editors/pygments/ostra_lexer.py"
    spec = importlib.util.spec_from_file_location("ostra_lexer", file)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    app.add_lexer("krn", module.OstraKernelLexer)
