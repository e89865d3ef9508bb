"""Kernels on the blocks of Dask's arrays."""

import operator
import os

import dask.array
import numpy
from dask.array.overlap import overlap
from dask.base import tokenize
from dask.highlevelgraph import HighLevelGraph

from ._call import Call, Callee


def map_blocks(kernel, /, *arrays, size=None, backend=None, **arguments):
    """Runs a kernel on each block of Dask's arrays.

    kernel: an ostra.Kernel, the path of a kernel file, or the text of a kernel.
    arrays: Dask's arrays for the buffers that the kernel reads, in its order; or they are given by name.
    arguments: a value for each parameter, by name. Dask's arrays have the parameter's type, equal chunks, and the
        components of vectors in the last axis, in one chunk. Arrays of numpy are given to every task whole. Numbers may
        be functions of the `Block`. `width` and `height` that are left out are the sides of the block.
    size: how many invocations run for a block, a number, a tuple (x, y, z) or a function of the `Block`; without it as
        many as the block has elements.
    backend: "cpu", "gpu", or "auto" for what each worker has; without it that of the kernel, for a file the CPU.

    Returns the Dask array that the kernel writes, with the chunks of the arrays, or a dict of several by name. An array
    given for a buffer that the kernel writes is copied, with the changes in the result.

    Raises TypeError, ValueError, OverflowError and ostra.Error as calls of kernels do, before anything runs; what
    fails on a worker is raised by compute().
    """
    callee = Callee(kernel, backend)
    call = Call(callee, callee.add_positional(arrays, arguments), size)
    return _build(call, call.list_blocks(), call.arrays)


def map_overlap(kernel, /, *arrays, depth=None, boundary="none", size=None, backend=None, **arguments):
    """Runs a kernel on each block with a halo: elements of the blocks beside it. The rest is as in `map_blocks`.

    depth: how many elements a kernel reads around its own: a number, or one for each axis. Without it the number in
        the line "#define HALO number" of the kernel file.
    boundary: what lies beyond the array: "none", nothing, so that blocks at its sides end where it does; "reflect",
        "periodic", "nearest", or a number; one of them, or one for each axis.

    The kernel runs on the block with its halo, and what it writes into the halo is dropped. With boundary "none" the
    result has the bits of one call on the whole array.
    """
    callee = Callee(kernel, backend)
    call = Call(callee, callee.add_positional(arrays, arguments), size)
    chunks = call.find_chunks()
    depths = _choose_depths(callee, depth, len(chunks))
    kinds = list(boundary) if isinstance(boundary, (tuple, list)) else [boundary] * len(chunks)
    _check_halo(chunks, depths, kinds)
    blocks = call.list_blocks(list(map(_make_halo, chunks, depths, kinds)))
    task = call.make_task(blocks)
    grown = {name: overlap(array, dict(enumerate(depths)), dict(enumerate(kinds)), allow_rechunk=False)
             for name, array in call.arrays.items()}
    return _build(call, blocks, grown, task)


def reduce(kernel, /, *arrays, shape=1, size=None, combine=None, combine_size=None, combine_arguments=None, backend=None,
           **arguments):
    """Runs a kernel on each block, and another one on what they have written.

    shape: of what the kernel writes for a block, and of the result: a number of elements or a tuple.
    size: as in `map_blocks`, of the dispatch for a block.
    combine: the second kernel, which reads one buffer: the results of the blocks, one behind the other in the order of
        the blocks. Without it the first one, with the same arguments.
    combine_arguments: a dict of its arguments; without it those of the first that it has a parameter for.
    combine_size: of its dispatch; without it as many invocations as there are elements to combine.

    Returns a Dask array of one chunk. Its bits do not depend on which worker did what.
    """
    first = Callee(kernel, backend)
    second = first if combine is None else Callee(combine, backend)
    if combine_arguments is None:
        combine_arguments = {name: each for name, each in arguments.items()
                             if name in second.parameters and not isinstance(each, dask.array.Array)}
    if combine is None and combine_size is None:
        combine_size = size
    call = Call(first, first.add_positional(arrays, arguments), size, shape)
    parts = _stack_parts(call, call.list_blocks())
    call = Call(second, second.add_positional([parts], combine_arguments), combine_size, shape)
    return _build(call, call.list_blocks(), call.arrays)


def _build(call, blocks, arrays, task=None):
    """The array that the tasks write, or a dict of several."""
    task = task or call.make_task(blocks)
    chunks = call.find_chunks() if task.shape is None else tuple((side,) for side in task.choose_shape(None))
    depth = 1 if len(task.outputs) == 1 and task.outputs[0].components > 1 else 0
    name, graph = _add_tasks(call, task, blocks, arrays, depth)
    if len(task.outputs) == 1:
        return _make_array(graph, name, chunks, task.outputs[0])
    made = {}
    for output in task.outputs:
        chosen = f"{_get_stem(call)}-{output.name}-{tokenize(name, output.name)}"
        ending = (0,) if output.components > 1 else ()
        layer = {(chosen, *block.index, *ending): (operator.getitem, (name, *block.index), output.name)
                 for block in blocks}
        made[output.name] = _make_array(_add_layer(graph, chosen, layer, name), chosen, chunks, output)
    return made


def _add_tasks(call, task, blocks, arrays, ending=0):
    """A graph with a task for each block, and the name of its layer. `ending`: axes of its keys beyond the blocks'."""
    name = f"{_get_stem(call)}-{tokenize(task, blocks[0].halo, [array.name for array in arrays.values()], list(call.wholes.values()))}"
    layer = {}
    wholes = []
    for whole in call.wholes.values():
        wholes.append(f"ostra-whole-{tokenize(whole)}")
        layer[wholes[-1]] = whole
    for block in blocks:
        keys = [(array.name, *block.index, *(0,) * (array.ndim - len(block.index))) for array in arrays.values()]
        layer[(name, *block.index, *(0,) * ending)] = (task, block, *keys, *wholes)
    return name, HighLevelGraph.from_collections(name, layer, dependencies=list(arrays.values()))


def _stack_parts(call, blocks):
    """What the tasks write, one behind the other, as an array of one chunk."""
    task = call.make_task(blocks)
    if len(task.outputs) != 1:
        raise TypeError(f"{call.callee.name} writes {len(task.outputs)} buffers: a reduction has kernels that write one")
    name, graph = _add_tasks(call, task, blocks, call.arrays)
    parts = [(name, *block.index) for block in blocks if block.count > 0]
    if not parts:
        raise ValueError("the array is empty")
    output = task.outputs[0]
    shape = output.add_components(task.choose_shape(None))
    stacked = f"stack-{tokenize(name)}"
    layer = {(stacked, *(0,) * len(shape)): (numpy.concatenate, parts)}
    chunks = ((len(parts) * shape[0],), *((side,) for side in shape[1:]))
    return dask.array.Array(_add_layer(graph, stacked, layer, name), stacked, chunks, output.dtype)


def _make_array(graph, name, chunks, output):
    if output.components > 1:
        chunks = (*chunks, (output.components,))
    return dask.array.Array(graph, name, chunks, meta=numpy.empty((0,) * len(chunks), output.dtype))


def _add_layer(graph, name, layer, dependency):
    return HighLevelGraph({**graph.layers, name: layer}, {**graph.dependencies, name: {dependency}})


def _get_stem(call):
    # Dashboards show tasks by it.
    name = call.callee.name
    return os.path.basename(name[:-4] if name.endswith(".krn") else name).split(".")[-1].lower() or "kernel"


def _choose_depths(callee, depth, axes):
    if depth is None:
        depth = callee.source.find_halo()
    if depth is None:
        raise ValueError(f'{callee.name} has no line "#define HALO number": say how many elements it reads around its '
                         "own, depth=...")
    depths = list(depth) if isinstance(depth, (tuple, list)) else [depth] * axes
    if len(depths) != axes or any(isinstance(each, bool) or not hasattr(each, "__index__") or each < 0 for each in depths):
        raise ValueError(f"depth is a whole number from 0 on, or {axes} of them, one for each axis, not {depth!r}")
    return [operator.index(each) for each in depths]


def _check_halo(chunks, depths, kinds):
    if len(kinds) != len(chunks):
        raise ValueError(f"boundary is one for all axes, or {len(chunks)}, one for each")
    for axis, (sizes, depth, kind) in enumerate(zip(chunks, depths, kinds)):
        if isinstance(kind, str) and kind not in ("none", "reflect", "periodic", "nearest"):
            raise ValueError(f'boundary is "none", "reflect", "periodic", "nearest" or a number, not {kind!r}')
        if min(sizes) < depth and (len(sizes) > 1 or kind != "none"):
            raise ValueError(f"the halo has {depth} elements, and axis {axis} a chunk of {min(sizes)}: "
                             "array.rechunk() makes larger ones")


def _make_halo(sizes, depth, kind):
    """(low, high) for each block along an axis."""
    last = len(sizes) - 1
    if kind != "none":
        return ((depth, depth),) * len(sizes)
    return tuple((depth if i > 0 else 0, depth if i < last else 0) for i in range(len(sizes)))
