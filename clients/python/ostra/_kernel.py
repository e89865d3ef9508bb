"""ostra.Kernel and ostra.kernel."""

import functools
import inspect
import os
import re
import tempfile

from . import _ostra
from ._function import KernelFunction
from ._place import TextPlace
from ._source import KernelSource, load


class Kernel:
    """A kernel, ready to be called. Made by `ostra.kernel`.

    Calls from several threads run one after the other; the interpreter lock is released while they compile and run.
    """

    def __init__(self, native, folder, source, place=None):
        if not isinstance(native, _ostra.Kernel):
            raise TypeError("ostra.kernel makes kernels, ostra.Kernel(...) does not")
        self._native = native
        self._folder = folder
        self._source = source
        self._place = place

    def __call__(self, size=None, /, **arguments):
        """Runs the kernel and returns the outputs that it has made.

        size: how many invocations run along x, y and z: a number or a tuple of up to three. Without it the shape of the
            arrays says it, (y, x) for a kernel that looks at two axes of its position. Of arrays of different shapes the
            largest says it where it has as many axes, two or three.
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
        try:
            return self._native.call(size, arguments)
        except _ostra.Error as error:
            if self._place is None:
                raise
            raise _ostra.Error(self._place.translate(str(error))) from None

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
        if name in ("_native", "_folder", "_source", "_place"):
            raise TypeError("the constructor of this ostra.Kernel has not run: ostra.kernel makes kernels")
        raise AttributeError(f"an ostra.Kernel has no attribute {name!r}")

    def __reduce__(self):
        # Another process compiles what the kernel was made of, whatever has become of the file.
        if self._source is None:
            raise TypeError(f"{self.name} cannot be pickled: its file could not be read")
        return load, (self._source, self.backend)

    def __repr__(self):
        parameters = ", ".join(f"{name}: {kind}" for name, kind in self.parameters.items())
        return f"<ostra.Kernel {self.name}({parameters}) on the {self.backend.upper()}>"


_WANTED = "the path of a kernel file, the text of a kernel or a function whose docstring is one"


def kernel(source=..., *, backend="cpu", name=None, checked=None, type=None):
    """Compiles a kernel, or finds it in the cache.

    source: the path of a kernel file; the text of a kernel, a str with a line end in it; or a function whose docstring is
        the text of a kernel. Left out, what is returned takes the function: @ostra.kernel(backend="gpu").
    backend: "cpu", "gpu", or "auto" for a GPU where there is one.
    name: how messages call a kernel that is a text.
    checked: whether calls look at indices, divisors and loops, and raise ostra.Error with the line, the invocation, the
        index and the size of what it lies outside of. Such calls are slower, and kernels with C++ of their own are
        refused. Without it OSTRA_CHECKED=1 in the environment says it.
    type: what takes the place of the word TYPE in the kernel, such as "float" or "vec3".

    Of a function the docstring alone is used: it has no other body. The parameters that it names are those of the
    kernel, without defaults, for editors and readers; messages have its file and the line there.

    Raises TypeError and ValueError for other arguments, and ostra.Error with the line of the kernel for a mistake in it,
    without a C++ compiler, and without a GPU.
    """
    chosen = _ostra.choose_backend(backend)
    checked = choose_checks(checked)
    if source is ...:
        return functools.partial(kernel, backend=backend, name=name, checked=checked, type=type)
    _check_type(type)
    if inspect.isfunction(source):
        function = KernelFunction(source, name)
        return function.finish(load_text(function.text, function.name, chosen, checked, function.place, type))
    if not isinstance(source, str) or "\n" not in source:
        return load_file(source, chosen, checked, type=type)
    _ostra.check_text("source", source)
    if name is None:
        found = re.search(r"OSTRA_PARALLEL_KERNEL\s*\(\s*(\w+)", source)
        name = f"{found.group(1) if found else 'kernel'}.krn"
    return load_text(source, name, chosen, checked, type=type)


def _check_type(type):
    if type is None:
        return
    if not isinstance(type, str):
        raise TypeError(f'"type" is the name of a type, such as "vec3", not {_ostra.show_value(type)}')
    if not re.fullmatch(r"[A-Za-z_][A-Za-z_0-9]*", type):
        raise ValueError(f'"type" is the name of a type, such as "vec3", not {_ostra.show_value(type)}')


def choose_checks(checked):
    """Whether a kernel is checked, which the environment says for None. Raises TypeError and ValueError."""
    if checked is None:
        value = os.environ.get("OSTRA_CHECKED", "0")
        if value not in ("", "0", "1"):
            raise ValueError(f"OSTRA_CHECKED in the environment is 0 or 1, not {value!r}")
        return value == "1"
    if not isinstance(checked, bool):
        raise TypeError(f'"checked" is True, False or None, not {_ostra.show_value(checked)}')
    return checked


def load_file(source, backend, checked, place=None, type=None):
    """The kernel in a file. `place`: where messages say that it stands; `type`: what takes the place of TYPE."""
    if not isinstance(source, (str, bytes, os.PathLike)):
        raise TypeError(f'"source" is {_WANTED}, not {_ostra.show_value(source)}')
    path = os.fsdecode(source)
    if not path:
        raise ValueError(f'"source" is empty: it is {_WANTED}')
    _ostra.check_text("source", path)
    try:
        content = KernelSource.read(path).with_checks(checked)
    except OSError:  # an address of the framework, or a file that is missing
        content = None
    if type and content:
        return content.with_type(type, path).make(backend)
    return Kernel(_make_native((path, None, "", backend == "gpu", checked), place), None, content, place)


def load_text(text, name, backend, checked, place=None, type=None):
    """The kernel that is a text; headers lie beside `name`. The rest as for `load_file`."""
    _ostra.check_text("name", name)
    if not os.path.basename(name):
        raise ValueError(f'"name" is the name of a file, not {name!r}')
    content = KernelSource.of_text(text, name, place).with_checks(checked)
    if type:
        return content.with_type(type, name).make(backend)
    if backend == "cpu":
        return Kernel(_make_native((name, text, "", False, checked), place), None, content, place)
    # A program there reads files, and reads them again when its settings change.
    folder = tempfile.TemporaryDirectory(prefix="ostra_")
    path = content.write(folder.name)
    place = (place or TextPlace(name)).with_name(path)
    return Kernel(_make_native((name, text, path, True, checked), place), folder, content, place)


def _make_native(arguments, place):
    try:
        native = _ostra.Kernel(*arguments)
    except _ostra.Error as error:
        if place is None:
            raise
        raise _ostra.Error(place.translate(str(error))) from None
    if place:
        native.set_print_filter(place.translate)
    return native
