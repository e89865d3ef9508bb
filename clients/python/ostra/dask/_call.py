"""The client's side of a call: a kernel, its arguments, and everything that can be wrong with them."""

import dataclasses
import os
import re

import dask.array
import numpy

import ostra

from .._kernel import choose_checks
from .._source import KernelSource
from ._task import Output, Task, list_blocks

_BUFFER = re.compile(r"(const )?buffer of (\w+)(?:\[(\d+)\])?")


@dataclasses.dataclass(frozen=True)
class Buffer:
    """A parameter that takes an array."""

    is_written: bool
    dtype: numpy.dtype
    components: int


class Callee:
    """A kernel as the client knows it. It is compiled here too, for the CPU, and not run.

    kernel: an ostra.Kernel, the path of a kernel file, or a text.
    """

    def __init__(self, kernel, backend):
        if backend not in (None, "cpu", "gpu", "auto"):
            raise ValueError(f'backend is "cpu", "gpu" or "auto", not {backend!r}')
        if not isinstance(kernel, ostra.Kernel):
            kernel = _find_source(kernel).load("cpu")
        if kernel._source is None:
            raise TypeError(f"{kernel.name} cannot be sent to workers: its file could not be read")
        self.source = kernel._source
        self.name = kernel.name
        self.backend = backend or kernel.backend
        self.axis_count = kernel._native.axis_count
        self.check = kernel._native.check
        self.parameters = kernel.parameters
        self.buffers = {name: found for name, kind in kernel.parameters.items() if (found := _find_buffer(kind))}

    def add_positional(self, arrays, arguments):
        """The arguments, with arrays that were given without a name: those that the kernel reads, in its order."""
        free = [name for name, buffer in self.buffers.items() if not buffer.is_written and name not in arguments]
        if len(arrays) > len(free):
            raise TypeError(f"{self.name} reads {len(free)} arrays that have no name in this call, not {len(arrays)}")
        return {**dict(zip(free, arrays)), **arguments}

    def check_names(self, names):
        for name in names:
            if name not in self.parameters and not name.startswith(("noiseMode_", "noiseSeed_")):
                self.check(1, {name: None})  # raises, with the nearest name


def _find_source(kernel):
    if isinstance(kernel, str) and "\n" in kernel:
        return ostra.kernel(kernel)._source
    try:
        return KernelSource.read(os.fspath(kernel)).with_checks(choose_checks(None))
    except OSError:
        return ostra.kernel(kernel)._source  # raises, with a message that says more


def _find_buffer(kind):
    found = _BUFFER.fullmatch(kind)
    try:
        return Buffer(not found[1], numpy.dtype(found[2]), int(found[3] or 1)) if found else None
    except TypeError:  # no elements that numpy knows
        return None


class Call:
    """A kernel with the arguments of one call, checked as far as it goes without running.

    arrays: those of Dask, by the names of their parameters; wholes: those that every task gets whole.
    """

    def __init__(self, callee, arguments, size=None, shape=None):
        self.callee = callee
        self.size = size
        self.shape = shape
        callee.check_names(arguments)
        self.arrays = {name: each for name, each in arguments.items() if isinstance(each, dask.array.Array)}
        self.wholes = {name: each for name, each in arguments.items()
                       if name not in self.arrays and (name in callee.buffers or isinstance(each, numpy.ndarray))}
        self.values = {name: each for name, each in arguments.items()
                       if name not in self.arrays and name not in self.wholes}
        for name in self.wholes:
            if name in callee.buffers and callee.buffers[name].is_written:
                raise TypeError(f'{callee.name} writes "{name}", and workers cannot write into an array of the client: '
                                "leave it out, or give a Dask array with its first values")

    def find_chunks(self):
        """The sizes of the blocks along the axes that all arrays share."""
        if not self.arrays:
            raise TypeError(f"{self.callee.name} is called without a Dask array")
        chunks, first = None, None
        for name, array in self.arrays.items():
            own = self._find_own_chunks(name, array)
            if chunks is not None and own != chunks:
                raise ValueError(f'"{name}" has the chunks {own}, and "{first}" has {chunks}: '
                                 f"array.rechunk() makes them equal; arrays of numpy are given to every task whole")
            chunks, first = chunks or own, first or name
        return chunks

    def _find_own_chunks(self, name, array):
        if numpy.isnan(array.shape).any():
            raise ValueError(f'the chunks of "{name}" have unknown sizes: array.compute_chunk_sizes() finds them')
        buffer = self.callee.buffers.get(name)
        if buffer is None or buffer.components == 1:
            return array.chunks
        if array.ndim > 1 and len(array.chunks[-1]) > 1:
            raise ValueError(f'"{name}" is a buffer of vectors, and their components lie in different chunks: '
                             "array.rechunk({-1: -1}) puts them into one")
        return array.chunks[:-1]

    def list_blocks(self, halos=None):
        """The blocks that all arrays share, each with its halo."""
        chunks = self.find_chunks()
        return list_blocks(chunks, halos or [((0, 0),) * len(sizes) for sizes in chunks])

    def make_task(self, blocks):
        """What is done with each block. Raises what is wrong with types, values and sizes."""
        axes = len(blocks[0].shape)
        outputs = [Output(name, str(buffer.dtype), buffer.components)
                   for name, buffer in self.callee.buffers.items() if buffer.is_written]
        task = Task(
            source=self.callee.source, backend=self.callee.backend, axis_count=self.callee.axis_count,
            names=(*self.arrays, *self.wholes), values=self.add_sides(axes), outputs=tuple(outputs),
            shape=self.shape, size=self.size)
        if not outputs:
            raise TypeError(f"{self.callee.name} writes no buffer of numbers: there is no result")
        for name, kind in self.callee.parameters.items():
            if kind == "counter" or kind.startswith("buffer of struct"):
                raise TypeError(f'"{name}" is a {kind}, which tasks do not bring back')
        self._check_axes(axes)
        self._check_types(task, blocks[0])
        return task

    def add_sides(self, ndim):
        # As `ostra run` does it.
        sides = {"width": get_width, "height": get_height} if ndim > 1 else {"width": get_width}
        wanted = {name: side for name, side in sides.items()
                  if name in self.callee.parameters and name not in self.callee.buffers}
        return {**wanted, **self.values}

    def _check_axes(self, axes):
        own = self.callee.axis_count
        if self.size is not None or own in (1, axes):
            return
        known = "does not show how many axes" if own is None else f"looks at {own} axes"
        raise ValueError(f"{self.callee.name} {known} of its position, and the array has {axes}: "
                         "say how many invocations run for a block, size=...")

    def _check_types(self, task, first):
        samples = {output.name: numpy.zeros(output.add_components((1,)), output.dtype) for output in task.outputs}
        for name, array in self.arrays.items():
            samples[name] = make_sample(array, self.callee.buffers.get(name))
        size = 1 if self.size is None else task.choose_size(first)
        self.callee.check(size, {**task.choose_values(first), **self.wholes, **samples})


def make_sample(array, buffer):
    """An array of one element as `array` has them."""
    if array.ndim == 0:
        raise ValueError("the array has no axes")
    components = min(array.shape[-1], 17) if buffer and buffer.components > 1 else 1
    return numpy.zeros((*(1,) * (array.ndim - 1), components), array.dtype)


def get_width(block):
    return block.shape[-1]


def get_height(block):
    return block.shape[-2]
