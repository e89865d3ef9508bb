"""Devices, configuration, memory and profiles."""

import os as _os
import threading as _threading
import time as _time

from . import _ostra


def devices():
    """The GPU devices, in the order of their numbers: a list of dicts, empty where there is none.

    Each has name, kind ("discrete", "integrated", "virtual", "other" or "software"), backend, api_version, memory and
    available_memory in bytes, features (a list of texts), usable (a bool) and problem: why the device is not usable.
    """
    return _ostra.devices()


def configuration():
    """The configuration variables by name: a dict of dicts with value, configured (whether it was set) and help."""
    return _ostra.configuration()


def configure(**variables):
    """Sets configuration variables: configure(g_name=True).

    Some are read when a backend starts or a kernel is loaded: set these before. OSTRA_CONFIG in the environment, as in
    "a=true,b=false", sets them when ostra starts.

    Raises ValueError for a name that is none and TypeError for a value that is no bool.
    """
    for name, value in variables.items():
        if not isinstance(value, bool):
            raise TypeError(f"{name} is True or False, not {_ostra.show_value(value)}")
    for name, value in variables.items():
        _ostra.configure(name, value)


def memory(backend="cpu"):
    """The available and the total memory of a backend in bytes: a tuple of two int.

    Raises ValueError for an unknown backend and ostra.Error without a GPU.
    """
    if _ostra.choose_backend(backend) == "gpu":
        return _ostra.device_memory()
    page = _os.sysconf("SC_PAGE_SIZE")
    return _os.sysconf("SC_AVPHYS_PAGES") * page, _os.sysconf("SC_PHYS_PAGES") * page


def limit_memory(bytes):
    """Limits the device memory that ostra uses, below what the device has; 0 for no limit.

    Buffers beyond it lie in memory of the host, which is slower, where the device can use that, or are a MemoryError.

    Raises TypeError and ValueError for what is no whole number from 0 on.
    """
    if isinstance(bytes, bool) or not isinstance(bytes, int):
        raise TypeError(f'"bytes" is a whole number, not {_ostra.show_value(bytes)}')
    if not 0 <= bytes < 1 << 63:
        raise ValueError(f'"bytes" is from 0 to 2**63 - 1, not {_ostra.show_value(bytes)}')
    _ostra.set_memory_limit(bytes)


_measuring = _threading.Lock()  # held by the profile whose block runs


class Profile:
    """What the calls of a block took their time for. Made by ostra.profile.

    kernels: after the block, a list of dicts: kernel, backend, calls, invocations, and milliseconds of all dispatches
        together, of the shortest and of the longest. On a GPU they are measured by the device's clock.
    milliseconds: the time of the whole block.
    """

    def __init__(self):
        self.kernels = []
        self.milliseconds = 0.0
        self._begin = None

    def __enter__(self):
        if not _measuring.acquire(blocking=False):
            raise _ostra.Error("another ostra.profile() measures: one does at a time")
        try:
            _ostra.measure(True)
            _ostra.take_times()
        except BaseException:
            _measuring.release()
            raise
        self._begin = _time.perf_counter()
        return self

    def __exit__(self, *_):
        if self._begin is None:
            raise _ostra.Error("the profile has not begun: with ostra.profile() as report")
        begin, self._begin = self._begin, None
        try:
            try:
                times = _ostra.take_times()
            finally:
                _ostra.measure(False)
        finally:
            _measuring.release()
        self.milliseconds = (_time.perf_counter() - begin) * 1000
        rows = {}
        for kernel, backend, invocations, nanoseconds in times:
            row = rows.setdefault((kernel, backend), {"kernel": kernel, "backend": backend, "calls": 0, "invocations": 0,
                                                      "milliseconds": 0.0, "shortest": float("inf"), "longest": 0.0})
            row["calls"] += 1
            row["invocations"] += invocations
            row["milliseconds"] += nanoseconds / 1e6
            row["shortest"] = min(row["shortest"], nanoseconds / 1e6)
            row["longest"] = max(row["longest"], nanoseconds / 1e6)
        self.kernels = list(rows.values())

    def __str__(self):
        width = max([6] + [len(row["kernel"]) for row in self.kernels])
        lines = [f"{'kernel':{width}}  on   {'calls':>7}  {'ms':>10}  {'shortest':>10}  {'longest':>10}"]
        lines += [f"{row['kernel']:{width}}  {row['backend']}  {row['calls']:7}  {row['milliseconds']:10.3f}  "
                  f"{row['shortest']:10.3f}  {row['longest']:10.3f}" for row in self.kernels]
        return "\n".join(lines + [f"the block: {self.milliseconds:.3f} ms"])


def profile():
    """Measures the dispatches of a block: with ostra.profile() as report: ...; print(report).

    One at a time; calls of all threads are in it. Raises ostra.Error while another one measures, and for a GPU without
    a clock.
    """
    return Profile()
