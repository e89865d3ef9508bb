"""What a task does with one block. It is sent to workers: all of it is values, and it has no kernel in it."""

import dataclasses
import itertools

import numpy

from . import _worker


@dataclasses.dataclass(frozen=True)
class Block:
    """The part of an array that a kernel runs on. A parameter that differs between blocks is given as a function of it.

    index: which block, along each axis.
    shape: its elements along each axis, with the halo and without the components of vectors.
    origin: where its first element lies in the whole array; below 0 for a halo that lies before the array.
    halo: how many elements were added before and behind it along each axis: pairs.
    """

    index: tuple
    shape: tuple
    origin: tuple
    halo: tuple

    @property
    def count(self):
        """How many elements it has."""
        return int(numpy.prod(self.shape, dtype=numpy.int64))


def list_blocks(chunks, halos):
    """The blocks of an array. chunks, halos: of each axis and block, the size, and the elements added on both sides."""
    axes = []
    for sizes, pairs in zip(chunks, halos):
        begins = itertools.accumulate(sizes[:-1], initial=0)
        axes.append([(i, size + sum(halo), begin - halo[0], halo)
                     for i, (size, begin, halo) in enumerate(zip(sizes, begins, pairs))])
    return [Block(*zip(*parts)) for parts in itertools.product(*axes)]


@dataclasses.dataclass(frozen=True)
class Output:
    """An array that a kernel writes: the elements of a parameter."""

    name: str
    dtype: str
    components: int

    def add_components(self, shape):
        return (*shape, self.components) if self.components > 1 else tuple(shape)


@dataclasses.dataclass(frozen=True, eq=False)  # found by its identity where it is pickled for many tasks at once
class Task:
    """A kernel with all of its arguments but the arrays.

    names: of the parameters that take the arrays of a call, in their order.
    shape: of the outputs, a tuple or a function of the block; None: that of the block.
    size: of the dispatch, likewise; None: the elements of the block as the kernel looks at them.
    """

    source: object
    backend: str
    axis_count: object
    names: tuple
    values: dict
    outputs: tuple
    shape: object
    size: object

    def __dask_tokenize__(self):
        return tuple(getattr(self, field.name) for field in dataclasses.fields(self))

    def __call__(self, block, *arrays):
        """The array that the kernel has made of the block, or a dict of several."""
        made = {output.name: self._prepare(output, block, arrays) for output in self.outputs}
        if block.count > 0:
            _worker.apply_limits()
            kernel = self.source.load(_worker.choose_backend(self.backend))
            given = {name: numpy.require(array, requirements="CA") for name, array in zip(self.names, arrays)}
            kernel(self.choose_size(block), **{**self.choose_values(block), **given, **made})
        trim = tuple(slice(low, -high or None) for low, high in block.halo) if self.shape is None else ()
        made = {name: numpy.ascontiguousarray(array[trim]) for name, array in made.items()}
        return made if len(made) > 1 else next(iter(made.values()))

    def choose_values(self, block):
        return {name: value(block) if callable(value) else value for name, value in self.values.items()}

    def choose_size(self, block):
        if self.size is not None:
            return self.size(block) if callable(self.size) else self.size
        return block.count if self.axis_count == 1 else tuple(reversed(block.shape))

    def choose_shape(self, block):
        shape = self.shape(block) if callable(self.shape) else self.shape
        if shape is None:
            return block.shape
        return tuple(shape) if hasattr(shape, "__len__") else (shape,)

    def _prepare(self, output, block, arrays):
        if output.name in self.names:  # the kernel changes it; tasks must not change what others read
            return numpy.array(arrays[self.names.index(output.name)], order="C")
        return numpy.zeros(output.add_components(self.choose_shape(block)), output.dtype)
