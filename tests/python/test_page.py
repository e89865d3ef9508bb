"""What the pages about the package show runs as it is printed."""

import pathlib
import re

import pytest

import ostra
from conftest import no_gpu


def run_blocks(page, count, monkeypatch, needs_gpu=None):
    """Runs the `count` blocks of a page; with `needs_gpu` those alone that draw scenes, or those alone that do not."""
    sources = pathlib.Path(__file__).parents[2]
    monkeypatch.chdir(sources)
    text = (sources / "docs" / page).read_text(encoding="utf-8")
    blocks = re.findall(r"```python\n(.*?)```", text, flags=re.S)
    if needs_gpu is not None:
        blocks = [block for block in blocks if ("ostra.render(" in block) == needs_gpu]
    assert len(blocks) == count
    try:
        exec("\n".join(blocks), {"ostra": ostra} if needs_gpu else {})
    finally:
        ostra.limit_memory(0)


def test_the_blocks_of_the_page_run(monkeypatch):
    run_blocks("python-client.md", 8, monkeypatch, needs_gpu=False)


@no_gpu
def test_the_blocks_of_the_page_about_scenes_run(monkeypatch):
    run_blocks("python-client.md", 1, monkeypatch, needs_gpu=True)


def test_the_blocks_of_the_page_about_clusters_run(monkeypatch):
    pytest.importorskip("dask.array", reason="There is no Dask (Debian: python3-dask).")
    run_blocks("python-cluster.md", 2, monkeypatch)
