"""What the pages about the package show runs as it is printed."""

import pathlib
import re

import pytest

from conftest import no_gpu


def run_blocks(page, count, monkeypatch):
    sources = pathlib.Path(__file__).parents[2]
    monkeypatch.chdir(sources)
    text = (sources / "docs" / page).read_text(encoding="utf-8")
    blocks = re.findall(r"```python\n(.*?)```", text, flags=re.S)
    assert len(blocks) == count
    exec("\n".join(blocks), {})


@no_gpu
def test_the_blocks_of_the_page_run(monkeypatch):
    run_blocks("python-client.md", 8, monkeypatch)


def test_the_blocks_of_the_page_about_clusters_run(monkeypatch):
    pytest.importorskip("dask.array", reason="There is no Dask (Debian: python3-dask).")
    run_blocks("python-cluster.md", 2, monkeypatch)
