"""The notebooks of the examples run from the first cell to the last, and show pictures."""

import ast
import json
import pathlib
import sys
import types

import numpy
import pytest

import ostra

from conftest import no_gpu

NOTEBOOKS = pathlib.Path(__file__).parents[2] / "examples" / "notebooks"


def run_cells(name):
    """Runs the code cells in one namespace, as Jupyter does, and returns what the last lines of cells show: objects."""
    notebook = json.loads((NOTEBOOKS / name).read_text(encoding="utf-8"))
    assert notebook["nbformat"] == 4
    names, shown = {"__name__": "__main__"}, []
    for number, cell in enumerate(notebook["cells"]):
        if cell["cell_type"] != "code":
            continue
        assert cell["outputs"] == [] and cell["execution_count"] is None, "notebooks are kept without outputs"
        tree = ast.parse("".join(cell["source"]))
        last = tree.body.pop() if isinstance(tree.body[-1], ast.Expr) else None
        exec(compile(tree, f"{name}, cell {number}", "exec"), names)
        if last:
            value = eval(compile(ast.Expression(last.value), f"{name}, cell {number}", "eval"), names)
            shown += [] if value is None else [value]
    return names, shown


def count_pictures(shown):
    pictures = [value._repr_png_() for value in shown if hasattr(value, "_repr_png_")]
    assert all(picture.startswith(b"\x89PNG") for picture in pictures)
    return len(pictures)


def test_the_notebook_of_a_first_kernel_runs(capsys):
    names, shown = run_cells("first_kernel.ipynb")
    assert count_pictures(shown) == 2
    y, x = (numpy.indices((128, 192), numpy.float32) - numpy.array([64, 96], numpy.float32)[:, None, None]) / 128
    waves = 0.5 + 0.5 * numpy.sin(60 * numpy.hypot(x, y))
    numpy.testing.assert_allclose(names["level"], waves, atol=1e-4)
    assert 'did you mean "time"?' in capsys.readouterr().out


@no_gpu
def test_the_notebook_of_scenes_runs(monkeypatch):
    monkeypatch.chdir(NOTEBOOKS)
    assert count_pictures(run_cells("scenes.ipynb")[1]) == 2


@pytest.mark.parametrize("array, is_picture", [
    (numpy.zeros((2, 3), numpy.float32), True),
    (numpy.full((2, 3, 4), 255, numpy.uint8), True),
    (numpy.zeros((2, 3, 2), numpy.float32), False),
    (numpy.zeros((2, 3), numpy.int32), False),
    (numpy.zeros(6, numpy.float32), False),
])
def test_buffers_that_are_pictures_are_shown_as_such(array, is_picture):
    picture = ostra.Buffer(array)._repr_png_()
    assert (picture is not None) == is_picture


class Clock:
    """A second goes by with each look at it."""
    now = 0.0

    def monotonic(self):
        self.now += 1
        return self.now


@pytest.fixture
def clock(monkeypatch):
    monkeypatch.setattr(sys.modules["ostra._progress"], "_time", Clock())


class Terminal:
    def __init__(self):
        self.text = ""

    def write(self, text):
        self.text += text

    def flush(self):
        pass

    def isatty(self):
        return True


def test_progress_is_a_line_on_a_terminal_and_goes_away(monkeypatch, clock):
    terminal = Terminal()
    monkeypatch.setattr(sys, "stderr", terminal)
    assert list(ostra.progress(range(4), "heat")) == [0, 1, 2, 3]
    lines = terminal.text.split("\r")
    assert lines[1] == "heat: [#######-----------------------]  25 %  1/s  0:03 left"
    assert lines[-2].strip() == "" and lines[-1] == ""


def test_progress_of_steps_without_a_number_counts(monkeypatch, clock):
    terminal = Terminal()
    monkeypatch.setattr(sys, "stderr", terminal)
    assert list(ostra.progress(iter("ab"))) == ["a", "b"]
    assert "running: 1  1/s" in terminal.text


def test_progress_goes_away_with_an_error(monkeypatch, clock):
    terminal = Terminal()
    monkeypatch.setattr(sys, "stderr", terminal)
    with pytest.raises(ZeroDivisionError):
        for step in ostra.progress(range(4)):
            1 / (1 - step)
    assert terminal.text.endswith("\r")


def test_progress_is_a_display_of_a_notebook(monkeypatch, clock):
    shown = []
    handle = types.SimpleNamespace(update=lambda data, raw: shown.append(data["text/plain"]))

    def display(data, raw, display_id):
        assert raw and display_id
        shown.append(data["text/plain"])
        return handle

    shell = types.SimpleNamespace(kernel=object())
    monkeypatch.setitem(sys.modules, "IPython", types.SimpleNamespace(get_ipython=lambda: shell))
    monkeypatch.setitem(sys.modules, "IPython.display", types.SimpleNamespace(display=display))
    assert list(ostra.progress(range(3))) == [0, 1, 2]
    assert shown[0].startswith("running: [") and "33 %" in shown[0] and shown[-1] == ""


def test_progress_writes_nothing_without_a_terminal_or_notebook(capsys, clock):
    assert list(ostra.progress([1, 2])) == [1, 2]
    assert capsys.readouterr() == ("", "")


@pytest.mark.parametrize("arguments, message", [((3,), '"steps" is what a loop goes through, not 3'), (([], 3), '"text" is a str')])
def test_progress_refuses_what_is_no_loop(arguments, message):
    with pytest.raises(TypeError, match=message):
        ostra.progress(*arguments)
