"""ostra.progress."""

import collections.abc as _abc
import sys as _sys
import time as _time

from . import _ostra

_BEGIN = 0.5  # seconds until a line is shown
_PAUSE = 0.1  # seconds between two of them
_WIDTH = 30  # characters of the bar


def progress(steps, text="running"):
    """Goes through `steps` and shows how far it has come: a bar, the share, the rate and the time that is left.

    steps: what a loop goes through; without a length the line counts.
    text: what the line calls the work.

    The line appears after half a second, below the cell of a notebook or on standard error where that is a terminal;
    elsewhere nothing is written. It goes away at the end; when `break` or an
    error ends the loop, as soon as the iterator is released.

    Returns an iterator. Raises TypeError for other arguments.
    """
    if not isinstance(steps, _abc.Iterable):
        raise TypeError(f'"steps" is what a loop goes through, not {_ostra.show_value(steps)}')
    if not isinstance(text, str):
        raise TypeError(f'"text" is a str, not {_ostra.show_value(text)}')
    return _go_through(steps, text, len(steps) if isinstance(steps, _abc.Sized) else None)


def _go_through(steps, text, total):
    line = _find_line()
    start = shown = _time.monotonic()
    try:
        for done, step in enumerate(steps, 1):
            yield step
            now = _time.monotonic()
            if line and now - start >= _BEGIN and now - shown >= _PAUSE and done != total:
                line.write(_describe(text, done, total, now - start))
                shown = now
    finally:
        if line:
            line.erase()


def _describe(text, done, total, seconds):
    rate = f"{done / seconds:.3g}/s"
    if not total:
        return f"{text}: {done}  {rate}"
    full = _WIDTH * done // total
    minutes, rest = divmod(round(seconds * (total - done) / done), 60)
    bar = "#" * full + "-" * (_WIDTH - full)
    return f"{text}: [{bar}]  {100 * done // total} %  {rate}  {minutes}:{rest:02} left"


class _TerminalLine:
    _width = 0

    def write(self, text):
        _sys.stderr.write("\r" + text.ljust(self._width))
        _sys.stderr.flush()
        self._width = len(text)

    def erase(self):
        if self._width:
            _sys.stderr.write("\r" + " " * self._width + "\r")
            _sys.stderr.flush()


class _NotebookLine:
    _handle = None

    def __init__(self, display):
        self._display = display

    def write(self, text):
        shown = {"text/plain": text}
        if self._handle:
            self._handle.update(shown, raw=True)
        else:
            self._handle = self._display(shown, raw=True, display_id=True)

    def erase(self):
        if self._handle:
            self._handle.update({"text/plain": ""}, raw=True)


def _find_line():
    # A notebook has loaded IPython, and its shell has a kernel.
    shell = getattr(_sys.modules.get("IPython"), "get_ipython", lambda: None)()
    if shell is not None and hasattr(shell, "kernel"):
        return _NotebookLine(_sys.modules["IPython.display"].display)
    return _TerminalLine() if _sys.stderr is not None and _sys.stderr.isatty() else None
