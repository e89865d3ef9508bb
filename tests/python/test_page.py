"""What docs/python-client.md shows runs as it is printed."""

import pathlib
import re


def test_the_blocks_of_the_page_run():
    page = pathlib.Path(__file__).parents[2] / "docs" / "python-client.md"
    blocks = re.findall(r"```python\n(.*?)```", page.read_text(encoding="utf-8"), flags=re.S)
    assert len(blocks) == 5
    exec("\n".join(blocks), {})
