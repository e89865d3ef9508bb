"""Data-parallel kernels on the CPU or a GPU, called with numpy arrays.

    import numpy, ostra
    scale = ostra.kernel("net.example.scale.krn")
    result = scale(count=1000, factor=2, source=numpy.ones(1000, numpy.float32))
"""

import os as _os
import re as _re
import tempfile as _tempfile

from . import _ostra
from ._ostra import Error

__all__ = ["Error", "Kernel", "kernel"]


class Kernel:
    """A kernel, ready to be called. Made by `ostra.kernel`.

    Calls from several threads run one after the other; the interpreter lock is released while they compile and run.
    """

    def __init__(self, native, folder):
        self._native = native
        self._folder = folder

    def __call__(self, size=None, /, **arguments):
        """Runs the kernel and returns the outputs that it has made.

        size: how many invocations run along x, y and z: a number or a tuple of up to three. Without it the shape of the
            arrays says it, (y, x) for a kernel that looks at two axes of its position.
        arguments: a value for each parameter. Numbers must fit the parameter's type. Vectors are sequences of numbers.
            Buffers are numpy arrays in C order, of exactly the parameter's type; elements with several components have
            them in the last axis. A kernel writes into the array that it is given. Buffers that a kernel may write and
            that are left out are made, as arrays of zeros of the shape of the dispatch.

        Returns None, the array that was made, or a dict of several by name.

        Raises TypeError for names and types that do not fit the kernel, ValueError for sizes, OverflowError for numbers
        that the type does not have, and ostra.Error when the kernel fails.
        """
        return self._native.call(size, arguments)

    @property
    def name(self):
        """The name of the kernel file, or of the text."""
        return self._native.name

    @property
    def backend(self):
        """Where the kernel runs: "cpu" or "gpu"."""
        return self._native.backend

    @property
    def parameters(self):
        """The parameters and their types, in the order of the kernel file: a dict of texts."""
        return self._native.parameters

    def __repr__(self):
        parameters = ", ".join(f"{name}: {kind}" for name, kind in self.parameters.items())
        return f"<ostra.Kernel {self.name}({parameters}) on the {self.backend.upper()}>"


def kernel(source, *, backend="cpu", name=None):
    """Compiles a kernel, or finds it in the cache.

    source: the path of a kernel file, or the text of a kernel: a str with a line end in it.
    backend: "cpu", "gpu", or "auto" for a GPU where there is one.
    name: how messages call a kernel that is a text.

    Raises ostra.Error with the line of the kernel for a mistake in it, without a C++ compiler, and without a GPU.
    """
    if backend not in ("cpu", "gpu", "auto"):
        raise ValueError(f'backend is "cpu", "gpu" or "auto", not {backend!r}')
    if backend == "auto":
        backend = "gpu" if _ostra.has_gpu() else "cpu"
    if not isinstance(source, str) or "\n" not in source:
        path = _os.fspath(source)
        return Kernel(_ostra.Kernel(_os.fsdecode(path), "", backend == "gpu"), None)
    found = _re.search(r"OSTRA_PARALLEL_KERNEL\s*\(\s*(\w+)", source)
    name = name or f"{found.group(1) if found else 'kernel'}.krn"
    if backend == "cpu":
        return Kernel(_ostra.Kernel(name, source, False), None)
    # A GPU program reads a file, and reads it again when its settings change.
    folder = _tempfile.TemporaryDirectory(prefix="ostra_")
    path = _os.path.join(folder.name, _os.path.basename(name))
    with open(path, "w", encoding="utf-8") as file:
        file.write(source)
    return Kernel(_ostra.Kernel(path, "", True), folder)
