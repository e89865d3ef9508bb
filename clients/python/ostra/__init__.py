"""Data-parallel kernels on the CPU or a GPU, called with numpy arrays.

    import numpy, ostra
    scale = ostra.kernel("net.example.scale.krn")
    result = scale(count=1000, factor=2, source=numpy.ones(1000, numpy.float32))
"""

import os as _os
import re as _re
import tempfile as _tempfile

from . import _ostra  # first: it says where it does not work

from ._ostra import Buffer, Counter, Error
from ._inquiries import Profile, configuration, configure, devices, memory, profile
from ._parity import parity
from ._pictures import picture_info, read_picture, write_picture
from ._png import encode_png as _encode_png
from ._progress import progress
from ._render import render
from ._source import KernelSource as _KernelSource
from ._source import load as _load_source
from ._texture import Texture

__all__ = [
    "Buffer",
    "Counter",
    "Error",
    "Kernel",
    "Profile",
    "Texture",
    "configuration",
    "configure",
    "devices",
    "from_dlpack",
    "kernel",
    "memory",
    "parity",
    "picture_info",
    "profile",
    "progress",
    "read_picture",
    "render",
    "write_picture",
]


def _show_buffer(buffer):
    """The picture that notebooks show: (height, width) and 1, 3 or 4 channels; floats are 0 to 1."""
    return _encode_png(buffer.numpy()) if len(buffer.shape) in (2, 3) else None


Buffer._repr_png_ = _show_buffer


class Kernel:
    """A kernel, ready to be called. Made by `ostra.kernel`.

    Calls from several threads run one after the other; the interpreter lock is released while they compile and run.
    """

    def __init__(self, native, folder, source):
        if not isinstance(native, _ostra.Kernel):
            raise TypeError("ostra.kernel makes kernels, ostra.Kernel(...) does not")
        self._native = native
        self._folder = folder
        self._source = source

    def __call__(self, size=None, /, **arguments):
        """Runs the kernel and returns the outputs that it has made.

        size: how many invocations run along x, y and z: a number or a tuple of up to three. Without it the shape of the
            arrays says it, (y, x) for a kernel that looks at two axes of its position.
        arguments: a value for each parameter. Numbers must fit the parameter's type. Vectors are sequences of numbers.
            Buffers are numpy arrays in C order, of exactly the parameter's type, or an ostra.Buffer; elements with
            several components have them in the last axis, structs are structured arrays. A kernel writes into the array
            that it is given. Buffers that a kernel may write and that are left out are made, as arrays of zeros of the
            shape of the dispatch. Textures are an ostra.Texture or an array, counters an int to start at, which is 0
            without one, or an ostra.Counter. noiseMode_0 (a name or number) and noiseSeed_0 choose the first noise.

        Whole work groups run, so the size may be raised: a kernel without a guard, if (i >= UNIFORM(count)) return;,
        writes past its arrays. Only a checked kernel looks at indices, divisors and loops: ostra.kernel(checked=True).

        Returns None, the array, ostra.Buffer or count that was made, or a dict of several by name. Counts come as int,
        unless they are in an ostra.Counter; buffers are made where one is given.

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
    def checked(self):
        """Whether calls look at indices, divisors and loops: a bool."""
        return self._native.is_checked

    @property
    def parameters(self):
        """The parameters and their types, in the order of the kernel file: a dict of texts."""
        return self._native.parameters

    def __getattr__(self, name):
        if name in ("_native", "_folder", "_source"):
            raise TypeError("the constructor of this ostra.Kernel has not run: ostra.kernel makes kernels")
        raise AttributeError(f"an ostra.Kernel has no attribute {name!r}")

    def __reduce__(self):
        # Another process compiles what the kernel was made of, whatever has become of the file.
        if self._source is None:
            raise TypeError(f"{self.name} cannot be pickled: its file could not be read")
        return _load_source, (self._source, self.backend)

    def __repr__(self):
        parameters = ", ".join(f"{name}: {kind}" for name, kind in self.parameters.items())
        return f"<ostra.Kernel {self.name}({parameters}) on the {self.backend.upper()}>"


def kernel(source, *, backend="cpu", name=None, checked=None):
    """Compiles a kernel, or finds it in the cache.

    source: the path of a kernel file, or the text of a kernel: a str with a line end in it.
    backend: "cpu", "gpu", or "auto" for a GPU where there is one.
    name: how messages call a kernel that is a text.
    checked: whether calls look at indices, divisors and loops, and raise ostra.Error with the line, the invocation, the
        index and the size of what it lies outside of. Such calls are slower, and kernels with C++ of their own are
        refused. Without it OSTRA_CHECKED=1 in the environment says it.

    Raises TypeError and ValueError for other arguments, and ostra.Error with the line of the kernel for a mistake in it,
    without a C++ compiler, and without a GPU.
    """
    backend = _ostra.choose_backend(backend)
    checked = _choose_checks(checked)
    if not isinstance(source, str) or "\n" not in source:
        return _load_file(source, backend, checked)
    _ostra.check_text("source", source)
    found = _re.search(r"OSTRA_PARALLEL_KERNEL\s*\(\s*(\w+)", source)
    if name is None:
        name = f"{found.group(1) if found else 'kernel'}.krn"
    _ostra.check_text("name", name)
    if not _os.path.basename(name):
        raise ValueError(f'"name" is the name of a file, not {name!r}')
    content = _KernelSource.of_text(source, name).with_checks(checked)
    if backend == "cpu":
        return Kernel(_ostra.Kernel(name, source, False, checked), None, content)
    # A GPU program reads a file, and reads it again when its settings change.
    folder = _tempfile.TemporaryDirectory(prefix="ostra_")
    path = _os.path.join(folder.name, _os.path.basename(name))
    with open(path, "w", encoding="utf-8") as file:
        file.write(source)
    return Kernel(_ostra.Kernel(path, None, True, checked), folder, content)


def _choose_checks(checked):
    if checked is None:
        value = _os.environ.get("OSTRA_CHECKED", "0")
        if value not in ("", "0", "1"):
            raise ValueError(f"OSTRA_CHECKED in the environment is 0 or 1, not {value!r}")
        return value == "1"
    if not isinstance(checked, bool):
        raise TypeError(f'"checked" is True, False or None, not {_ostra.show_value(checked)}')
    return checked


def _load_file(source, backend, checked):
    if not isinstance(source, (str, bytes, _os.PathLike)):
        raise TypeError(f'"source" is the path of a kernel file or the text of a kernel, not {_ostra.show_value(source)}')
    path = _os.fsdecode(source)
    if not path:
        raise ValueError('"source" is empty: it is the path of a kernel file or the text of a kernel')
    native = _ostra.Kernel(path, None, backend == "gpu", checked)
    try:
        return Kernel(native, None, _KernelSource.read(path).with_checks(checked))
    except OSError:  # an address of the framework, and no path
        return Kernel(native, None, None)


def from_dlpack(array):
    """An ostra.Buffer on the CPU in the memory of an array of another package, without a copy.

    array: an object with DLPack's methods whose numbers lie in the memory of the CPU, in C order. Memory that its owner
        says to be read-only is so here, too: kernels that may write refuse it.

    Raises TypeError for other objects and orders, BufferError for memory of another device.
    """
    if isinstance(array, type):  # its methods are those of its objects
        raise TypeError(f'"array" is an array with DLPack\'s methods, not {_ostra.show_value(array)}')
    return _ostra.share(array)
