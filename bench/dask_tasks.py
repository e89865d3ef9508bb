"""Prints what a block costs with a kernel and with a function of numpy: python3 bench/dask_tasks.py

Arrays of many small blocks that are summed up, in this process, and by a worker process. The figures are processor
time, all threads together, which other programs on the machine change little.
"""

import time

import dask.array
import distributed
import numpy

import ostra.dask

COUNT = 1000

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


def measure(where, elements, get_times):
    source = dask.array.ones(COUNT * elements, chunks=elements, dtype=numpy.float32)
    arrays = {
        "numpy": source.map_blocks(scale, dtype=numpy.float32, meta=numpy.empty(0, numpy.float32)),
        "kernel": ostra.dask.map_blocks(SCALE, source=source, factor=2),
    }
    for name, array in arrays.items():
        array.sum().compute()  # the kernel is compiled
        spent = []
        for _ in range(4):
            begin = get_times()
            array.sum().compute()
            spent.append([end - first for first, end in zip(begin, get_times())])
        best = [f"{1e6 * min(times) / COUNT:.0f}" for times in zip(*spent)]
        print(f"{where}, blocks of {elements} elements, {name}: {' + '.join(best)} us a block", flush=True)


def get_own_times():
    return [time.process_time()]


if __name__ == "__main__":
    with dask.config.set(scheduler="sync"):
        for count in (64, 65536):
            measure("this process", count, get_own_times)
    with distributed.LocalCluster(n_workers=1, threads_per_worker=1, dashboard_address=None) as cluster:
        with distributed.Client(cluster) as client:
            for count in (64, 65536):
                measure("scheduler + worker", count, lambda: [time.process_time(), *client.run(time.process_time).values()])
