"""What the pages about the package show runs as it is printed."""

import pathlib
import re

import pytest


def run_blocks(page, count):
    text = (pathlib.Path(__file__).parents[2] / "docs" / page).read_text(encoding="utf-8")
    blocks = re.findall(r"```python\n(.*?)```", text, flags=re.S)
    assert len(blocks) == count
    exec("\n".join(blocks), {})


def test_the_blocks_of_the_page_run():
    run_blocks("python-client.md", 6)


def test_the_blocks_of_the_page_about_clusters_run():
    pytest.importorskip("dask.array", reason="There is no Dask (Debian: python3-dask).")
    run_blocks("python-cluster.md", 2)
