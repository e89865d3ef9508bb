"""Kernels on sequences of files, one file a task."""

import contextlib
import dataclasses
import glob
import os
import uuid

import dask.array
import numpy
from dask.base import tokenize
from dask.delayed import Delayed
from dask.highlevelgraph import HighLevelGraph

from .. import _ostra
from ._call import Call, Callee
from ._task import Block, Task


def apply(kernel, files, target=None, *, read=None, write=None, size=None, backend=None, **arguments):
    """Runs a kernel on each file of a sequence: pictures, or arrays.

    kernel, size, backend: as in `map_blocks`, where the array of a file is one block.
    files: paths, or a pattern as "frames/*.png", whose files are taken in the order of their names.
    target: a folder for files of the same names, or a function from the path of a file to that of its result; without
        it the results are the arrays themselves.
    read, write: functions (path) and (path, array); without them `read_file` and `write_file`.
    arguments: a value for each parameter but the one buffer of a file, which the kernel reads. No Dask arrays.

    Returns a list of delayed values: the paths that were written, or the arrays. dask.compute(*list) computes them. A
    file is written whole or not at all by `write_file`, so that a task may run again when a worker is lost.
    """
    if isinstance(files, (str, os.PathLike)):
        pattern = os.fspath(files)
        files = sorted(glob.glob(pattern))
        if not files:
            raise ValueError(f'there is no file "{pattern}"')
    files = [os.path.abspath(os.fspath(each)) for each in files]
    targets = _choose_targets(files, target)
    callee = Callee(kernel, backend)
    callee.check_names(arguments)
    free = [name for name, buffer in callee.buffers.items() if not buffer.is_written and name not in arguments]
    if len(free) != 1:
        raise TypeError(f"a file is for the one buffer that the kernel reads and that is not given; {callee.name} has "
                        f"{', '.join(free) or 'none'}")
    call = _bind(callee, free[0], arguments, size)
    if list(call.arrays) != free:
        raise TypeError("arrays beside those of the files are arrays of numpy")
    task = call.make_task(call.list_blocks())
    if target is not None and len(task.outputs) > 1:
        raise TypeError(f"{callee.name} writes {len(task.outputs)} buffers, and a target takes one")
    work = FileTask(task, tuple(call.wholes.values()), callee.buffers[free[0]].components, read or read_file, write or write_file)
    name = f"apply-{tokenize(task, files, targets)}"
    layer = {f"{name}-{i}": (work, file, made) for i, (file, made) in enumerate(zip(files, targets))}
    graph = HighLevelGraph.from_collections(name, layer, dependencies=[])
    return [Delayed(key, graph, layer=name) for key in layer]


@dataclasses.dataclass(frozen=True, eq=False)
class FileTask:
    """What is done with one file."""

    task: Task
    wholes: tuple
    components: int
    read: object
    write: object

    def __call__(self, file, target):
        array = self.read(file)
        if not isinstance(array, numpy.ndarray) or array.ndim == 0:
            raise TypeError(f'"{file}" was read as {type(array).__name__}, not as an array of numpy with axes')
        shape = array.shape[:-1] if self.components > 1 else array.shape
        block = Block((0,) * len(shape), shape, (0,) * len(shape), ((0, 0),) * len(shape))
        made = self.task(block, array, *self.wholes)
        if target is None:
            return made
        self.write(target, made)
        return target


def read_file(path):
    """The array in a file: ".npy", or a picture as `ostra.read_picture` reads it: float32 of the shape (height, width, 4)."""
    if path.endswith(".npy"):
        return numpy.load(path, allow_pickle=False)
    return _ostra.read_picture(path)


def write_file(path, array):
    """Writes an array as `read_file` reads it, whole or not at all."""
    if not path.endswith(".npy"):
        _ostra.write_picture(path, array, 0, 0, 0)
        return
    written = f"{path}.{uuid.uuid4().hex}.part"
    try:
        with open(written, "xb") as file:
            numpy.save(file, array)
        os.replace(written, path)
    finally:
        with contextlib.suppress(FileNotFoundError):
            os.unlink(written)


def _choose_targets(files, target):
    if target is None:
        return [None] * len(files)
    if not callable(target):
        folder = os.path.abspath(os.fspath(target))
        os.makedirs(folder, exist_ok=True)
        targets = [os.path.join(folder, os.path.basename(file)) for file in files]
    else:
        targets = [os.path.abspath(os.fspath(target(file))) for file in files]
    read, written = set(files), set()
    for path in targets:
        if path in written:
            raise ValueError(f'two files would be written to "{path}"')
        if path in read:
            raise ValueError(f'"{path}" would be overwritten while it is read: name another target')
        written.add(path)
    return targets


def _bind(callee, name, arguments, size):
    """A call on an array that stands for that of any file."""
    buffer = callee.buffers[name]
    ending = (buffer.components,) if buffer.components > 1 else ()
    standing = dask.array.zeros((*(1,) * (callee.axis_count or 2), *ending), dtype=buffer.dtype)
    return Call(callee, {name: standing, **arguments}, size)
