"""Prints what a task with a kernel costs beside one with a function of numpy: python3 bench/dask_tasks.py

Arrays of many small blocks, so that almost all of the time is that of Dask; on one worker process, and in this one.
"""

import time

import dask.array
import distributed
import numpy

import ostra.dask

COUNT = 2000

SCALE = """#define KERNELINPUTS \\
(Float32) factor, \\
(const Block<Float32>) source, \\
(Block<Float32>) target

OSTRA_PARALLEL_KERNEL(Scale, KERNELINPUTS)
{
	uint i = LinearInvocation();
	UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * UNIFORM(factor);
}
OSTRA_PARALLEL_KERNEL_END
"""


def scale(block):
    return block * numpy.float32(2)


def measure(where, elements):
    source = dask.array.ones(COUNT * elements, chunks=elements, dtype=numpy.float32)
    arrays = {
        "numpy": source.map_blocks(scale, dtype=numpy.float32, meta=numpy.empty(0, numpy.float32)),
        "kernel": ostra.dask.map_blocks(SCALE, source=source, factor=2),
    }
    for name, array in arrays.items():
        times = []
        for _ in range(4):
            begin = time.perf_counter()
            # Results stay where they are: bringing them here would be measured, too.
            compute(array) if where == "threads" else distributed.wait(array.persist())
            times.append(time.perf_counter() - begin)
        print(f"{where}, blocks of {elements} elements, {name}: {1e6 * min(times) / COUNT:.0f} us a task", flush=True)


def compute(array):
    dask.threaded.get(array.__dask_optimize__(array.__dask_graph__(), array.__dask_keys__()), array.__dask_keys__())


if __name__ == "__main__":
    for count in (64, 65536):
        measure("threads", count)
    with distributed.LocalCluster(n_workers=1, threads_per_worker=1, dashboard_address=None) as cluster:
        with distributed.Client(cluster):
            for count in (64, 65536):
                measure("worker", count)
