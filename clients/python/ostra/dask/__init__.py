"""Kernels on Dask's arrays: the blocks of an array are worked on by the threads, processes or machines that Dask has.

    import dask.array, ostra.dask
    heat = dask.array.from_zarr("plate.zarr")
    for _ in range(10):
        heat = ostra.dask.map_overlap("net.example.diffusion.krn", source=heat, speed=0.5, depth=1)
    heat.to_zarr("later.zarr")

All functions check the arguments, then say what there is to do; it is done when Dask computes the result.
"""

try:
    import dask.array as _array  # noqa: F401
except ImportError as error:
    raise ImportError("ostra.dask needs Dask with arrays (Debian: python3-dask, python3-distributed)") from error

from .._source import list_kept as list_kernels
from ._arrays import map_blocks, map_overlap, reduce
from ._files import apply, read_file, write_file
from ._task import Block

__all__ = ["Block", "apply", "list_kernels", "map_blocks", "map_overlap", "read_file", "reduce", "write_file"]
