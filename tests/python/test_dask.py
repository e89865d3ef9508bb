"""Kernels on Dask's arrays: in this process, and on a cluster of two worker processes with little memory."""

import os
import pickle
import signal
import subprocess
import sys
import time
import zlib

import numpy
import pytest

import ostra
from conftest import no_gpu
from test_kernel import SCALE, numbers

dask = pytest.importorskip("dask", reason="There is no Dask (Debian: python3-dask).")
distributed = pytest.importorskip("distributed", reason="There is no distributed (Debian: python3-distributed).")
import dask.array  # noqa: E402

import ostra.dask  # noqa: E402

MEMORY = 300 << 20  # of a worker

PLATE = """// One step of heat through a plate, whose sides keep theirs.
#define HALO 1
#define KERNELINPUTS \\
(Int32) width, \\
(Int32) height, \\
(Float32) speed, \\
(const Block<Float32>) source, \\
(Block<Float32>) target

GROUPSIZE(16, 16, 1)

OSTRA_PARALLEL_KERNEL(Plate, KERNELINPUTS)
{
	int x = int(InGlobalInvocationID.x);
	int y = int(InGlobalInvocationID.y);
	if (x >= UNIFORM(width) || y >= UNIFORM(height))
	{
		return;
	}
	int at = y * UNIFORM(width) + x;
	float left = UNIFORM_BUFFER(source)[x > 0 ? at - 1 : at];
	float right = UNIFORM_BUFFER(source)[x < UNIFORM(width) - 1 ? at + 1 : at];
	float above = UNIFORM_BUFFER(source)[y > 0 ? at - UNIFORM(width) : at];
	float below = UNIFORM_BUFFER(source)[y < UNIFORM(height) - 1 ? at + UNIFORM(width) : at];
	float here = UNIFORM_BUFFER(source)[at];
	UNIFORM_BUFFER(target)[at] = here + ((above + left + right + below) * 0.25 - here) * UNIFORM(speed);
}
OSTRA_PARALLEL_KERNEL_END
"""

BLUR = """// The mean of a cell and its eight neighbours; the sides go on beyond the picture.
#define HALO 1
#define KERNELINPUTS \\
(Int32) width, \\
(Int32) height, \\
(const Block<Float32>) source, \\
(Block<Float32>) target

GROUPSIZE(16, 16, 1)

OSTRA_PARALLEL_KERNEL(Blur, KERNELINPUTS)
{
	int x = int(InGlobalInvocationID.x);
	int y = int(InGlobalInvocationID.y);
	if (x >= UNIFORM(width) || y >= UNIFORM(height))
	{
		return;
	}
	float sum = 0.0;
	for (int dy = -HALO; dy <= HALO; dy++)
	{
		int row = clamp(y + dy, 0, UNIFORM(height) - 1) * UNIFORM(width);
		for (int dx = -HALO; dx <= HALO; dx++)
		{
			sum = sum + UNIFORM_BUFFER(source)[row + clamp(x + dx, 0, UNIFORM(width) - 1)];
		}
	}
	UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = sum / 9.0;
}
OSTRA_PARALLEL_KERNEL_END
"""

SUM = """#define KERNELINPUTS \\
(UInt32) count, \\
(const Block<Float32>) values, \\
(Block<Float32>) sums

OSTRA_PARALLEL_KERNEL(Sum, KERNELINPUTS)
{
	uint i = LinearInvocation();
	if (i > 0u)
	{
		return;
	}
	float sum = 0.0;
	for (uint k = 0u; k < UNIFORM(count); k++)
	{
		sum = sum + UNIFORM_BUFFER(values)[k];
	}
	UNIFORM_BUFFER(sums)[0] = sum;
}
OSTRA_PARALLEL_KERNEL_END
"""

SQUARES = """#define KERNELINPUTS \\
(Float32) offset, \\
(const Block<Vector4d32>) source, \\
(Block<Vector4d32>) squares, \\
(Block<Float32>) lengths

OSTRA_PARALLEL_KERNEL(Squares, KERNELINPUTS)
{
	uint i = LinearInvocation();
	vec4 value = UNIFORM_BUFFER(source)[i];
	UNIFORM_BUFFER(squares)[i] = value * value;
	UNIFORM_BUFFER(lengths)[i] = length(value) + UNIFORM(offset);
}
OSTRA_PARALLEL_KERNEL_END
"""


def start_cluster(memory):
    return distributed.LocalCluster(
        n_workers=2, threads_per_worker=1, memory_limit=memory, dashboard_address=":0", resources={"GPU": 0})


@pytest.fixture(scope="module")
def client():
    with start_cluster(MEMORY) as cluster, distributed.Client(cluster) as client:
        yield client


def make_values(shape, top=0, left=0):
    """Values that are far from smooth, by their position alone."""
    y, x = numpy.ogrid[top:top + shape[0], left:left + shape[1]]
    return ((x.astype(numpy.uint32) * 40503 + y.astype(numpy.uint32) * 30011) & 0xFFFF).astype(numpy.float32)


def make_block(block_info=None):
    (top, _), (left, _) = block_info[None]["array-location"]
    return make_values(block_info[None]["chunk-shape"], top, left)


def make_array(side, chunk):
    chunks = dask.array.core.normalize_chunks(chunk, (side, side))
    return dask.array.map_blocks(make_block, chunks=chunks, dtype=numpy.float32, meta=numpy.empty((0, 0), numpy.float32))


def sum_bits(block):
    return numpy.array([[zlib.crc32(block)]], numpy.uint64)


def sum_bits_of_blocks(array):
    """A number for each block, which differs when a bit does."""
    return array.map_blocks(sum_bits, chunks=tuple((1,) * len(sizes) for sizes in array.chunks), dtype=numpy.uint64,
                            meta=numpy.empty((0, 0), numpy.uint64))


def sum_bits_of_kernel(kernel, side, chunk, steps=1, **arguments):
    """The same numbers from calls of one process, with bands of rows."""
    sums = []
    for top in range(0, side, chunk):
        first, last = max(0, top - steps), min(side, top + chunk + steps)
        band = make_values((last - first, side), first)
        for _ in range(steps):
            band = kernel(width=side, height=len(band), source=band, **arguments)
        band = band[top - first:][:chunk]
        sums.append([zlib.crc32(numpy.ascontiguousarray(band[:, left:left + chunk])) for left in range(0, side, chunk)])
    return numpy.array(sums, numpy.uint64)


def test_a_blur_of_an_array_beyond_all_memory_has_the_bits_of_one_process(client):
    side, chunk = 16384, 1024
    array = make_array(side, chunk)
    assert array.nbytes > 3 * MEMORY
    sums = sum_bits_of_blocks(ostra.dask.map_overlap(BLUR, source=array)).compute()
    numpy.testing.assert_array_equal(sums, sum_bits_of_kernel(ostra.kernel(BLUR), side, chunk))


def test_steps_of_heat_through_an_array_beyond_all_memory_have_the_bits_of_one_process(client):
    side, chunk, steps = 12800, 1024, 3
    plate = make_array(side, chunk)
    assert plate.nbytes > 2 * MEMORY
    for _ in range(steps):
        plate = ostra.dask.map_overlap(PLATE, source=plate, speed=0.3)
    sums = sum_bits_of_blocks(plate).compute()
    numpy.testing.assert_array_equal(sums, sum_bits_of_kernel(ostra.kernel(PLATE), side, chunk, steps, speed=0.3))


def test_a_worker_that_is_killed_loses_nothing():
    array = make_array(4096, 512)
    plate = array
    for _ in range(3):
        plate = ostra.dask.map_overlap(PLATE, source=plate, speed=0.3)
    with start_cluster("600MiB") as cluster, distributed.Client(cluster) as client:
        before = client.run(os.getpid)
        sums = client.persist(sum_bits_of_blocks(plate))
        futures = distributed.futures_of(sums)
        wait_until(lambda: sum(future.done() for future in futures) > len(futures) // 8)
        victim = next(address for address, keys in client.processing().items() if keys)
        os.kill(before[victim], signal.SIGKILL)
        assert not all(future.done() for future in futures)
        result = sums.compute()
        wait_until(lambda: len(client.run(os.getpid)) == 2)  # the killed one is started again
        assert before[victim] not in client.run(os.getpid).values()
    expected = sum_bits_of_kernel(ostra.kernel(PLATE), 4096, 512, 3, speed=0.3)
    numpy.testing.assert_array_equal(result, expected)


def wait_until(condition):
    end = time.monotonic() + 60
    while not condition():
        assert time.monotonic() < end
        time.sleep(0.02)


SHIFT = SCALE.replace("Scale", "Shift").replace("UNIFORM_BUFFER(source)[i]", "UNIFORM_BUFFER(source)[i + 1u]")


@pytest.mark.parametrize("kind", ["kernel", "file", "text"])
def test_checked_kernels_are_checked_in_blocks(kind, tmp_path, monkeypatch):
    kernel = SHIFT
    if kind == "kernel":
        kernel = ostra.kernel(SHIFT, checked=True)
    else:
        monkeypatch.setenv("OSTRA_CHECKED", "1")
    if kind == "file":
        kernel = tmp_path / "net.example.shift.krn"
        kernel.write_text(SHIFT)
    shifted = ostra.dask.map_blocks(kernel, source=dask.array.from_array(numbers(128), chunks=64), factor=2)
    with pytest.raises(ostra.Error, match='index 64 is outside the 64 elements of the buffer "source", in invocation 63'):
        shifted.compute(scheduler="synchronous")


def test_every_worker_compiles_a_kernel_once_and_finds_it_in_the_cache(client):
    text = SCALE.replace("Scale", "OncePerWorker")
    array = dask.array.from_array(numbers(4096), chunks=64)
    scaled = ostra.dask.map_blocks(text, source=array, factor=2)
    modules = count_modules()
    numpy.testing.assert_array_equal(scaled.compute(), 2 * numbers(4096))
    numpy.testing.assert_array_equal(
        ostra.dask.map_blocks(text, source=array, factor=3).compute(), 3 * numbers(4096))
    kernels = client.run(ostra.dask.list_kernels)
    assert [each.count(("OncePerWorker.krn", "cpu")) for each in kernels.values()] == [1, 1]
    assert count_modules() == modules  # the client's, which has compiled it to know its parameters


def count_modules():
    folder = os.path.join(os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache"), "ostra")
    return len([name for name in os.listdir(folder) if name.endswith(".so")])


def test_what_fails_on_a_worker_is_raised_with_the_line_of_the_kernel(client):
    text = SCALE.replace("UNIFORM_BUFFER(target)[i] =", 'ASSERT(UNIFORM_BUFFER(source)[i] < 100.0, "too hot");\n'
                         "\tUNIFORM_BUFFER(target)[i] =").replace("Scale", "Careful")
    scaled = ostra.dask.map_blocks(text, source=dask.array.from_array(numbers(128), chunks=64), factor=2)
    with pytest.raises(ostra.Error, match="Careful.krn:10.*too hot, in invocation 36"):
        scaled.compute()
    with pytest.raises(ValueError, match="no number for 1"):
        ostra.dask.map_blocks(text, source=dask.array.from_array(numbers(128), chunks=64), factor=refuse).compute()


def refuse(block):
    if block.index[0] > 0:
        raise ValueError(f"no number for {block.index[0]}")
    return 0


def test_a_worker_runs_kernels_where_its_resources_say(client):
    text = SCALE.replace("Scale", "WhereWorkersSay")
    array = dask.array.from_array(numbers(64), chunks=16)
    ostra.dask.map_blocks(text, source=array, factor=2, backend="auto").compute()
    kernels = [kernel for each in client.run(ostra.dask.list_kernels).values() for kernel in each]
    assert {backend for name, backend in kernels if name == "WhereWorkersSay.krn"} == {"cpu"}  # GPU: 0


@no_gpu
def test_a_worker_runs_kernels_where_its_configuration_says():
    text = SCALE.replace("Scale", "WhereConfigured")
    array = dask.array.from_array(numbers(64), chunks=16)
    with dask.config.set({"ostra.backend": "gpu", "ostra.device-memory": "64 MiB"}):
        scaled = ostra.dask.map_blocks(text, source=array, factor=2, backend="auto").compute(scheduler="threads")
    numpy.testing.assert_array_equal(scaled, 2 * numbers(64))
    assert ("WhereConfigured.krn", "gpu") in ostra.dask.list_kernels()
    with dask.config.set({"ostra.backend": "tpu"}), pytest.raises(ValueError, match='ostra.backend is "cpu"'):
        ostra.dask.map_blocks(text, source=array, factor=2, backend="auto").compute(scheduler="threads")


def make_worker(gpus):
    options = {"nthreads": 1, "memory_limit": MEMORY, "resources": {"GPU": gpus}}
    return {"cls": distributed.Nanny, "options": options}


@no_gpu
def test_workers_with_and_without_a_gpu_share_the_blocks_of_an_array():
    text = SCALE.replace("Scale", "OnBoth")
    hot = text.replace("UNIFORM_BUFFER(target)[i] =", 'ASSERT(UNIFORM_BUFFER(source)[i] < 0.0, "too hot");\n'
                       "\tUNIFORM_BUFFER(target)[i] =").replace("OnBoth", "Hot")
    array = dask.array.from_array(numbers(256), chunks=16)
    scheduler = {"cls": distributed.Scheduler, "options": {"dashboard_address": ":0"}}
    workers = {"without": make_worker(0), "with": make_worker(1)}
    with distributed.SpecCluster(workers=workers, scheduler=scheduler) as cluster, distributed.Client(cluster) as client:
        client.wait_for_workers(2)
        scaled = ostra.dask.map_blocks(text, source=array, factor=2, backend="auto").compute()
        numpy.testing.assert_array_equal(scaled, 2 * numbers(256))
        kernels = client.run(ostra.dask.list_kernels)
        assert sorted(kernel for each in kernels.values() for kernel in each) == [
            ("OnBoth.krn", "cpu"), ("OnBoth.krn", "gpu")]
        with pytest.raises(ostra.Error, match="Hot.krn:10.*too hot"):
            ostra.dask.map_blocks(hot, source=array, factor=2, backend="auto").compute()


@pytest.mark.parametrize("chunks", [(100, 128), (300, 500), (37, 41), (299, 1)])
def test_chunks_of_all_sizes_have_the_bits_of_one_call(chunks):
    plate = numpy.random.default_rng(1).random((300, 500), numpy.float32)
    blocks = ostra.dask.map_overlap(PLATE, source=dask.array.from_array(plate, chunks=chunks), speed=0.3)
    numpy.testing.assert_array_equal(
        blocks.compute(scheduler="threads"), ostra.kernel(PLATE)(width=500, height=300, source=plate, speed=0.3))


@pytest.mark.parametrize("boundary, mode", [
    ("periodic", {"mode": "wrap"}), ("reflect", {"mode": "symmetric"}), ("nearest", {"mode": "edge"}),
    (1.5, {"mode": "constant", "constant_values": 1.5})])
def test_what_lies_beyond_the_array_is_chosen(boundary, mode):
    plate = numpy.random.default_rng(1).random((60, 50), numpy.float32)
    blocks = ostra.dask.map_overlap(PLATE, source=dask.array.from_array(plate, chunks=(20, 17)), speed=0.3,
                                    boundary=boundary, depth=2)
    padded = ostra.kernel(PLATE)(width=54, height=64, source=numpy.pad(plate, 2, **mode), speed=0.3)
    numpy.testing.assert_array_equal(blocks.compute(scheduler="threads"), padded[2:-2, 2:-2])


def test_several_outputs_come_by_name_and_vectors_keep_their_components():
    source = numpy.random.default_rng(1).random((40, 30, 4), numpy.float32)
    made = ostra.dask.map_blocks(SQUARES, dask.array.from_array(source, chunks=(16, 16, 4)), offset=1)
    assert sorted(made) == ["lengths", "squares"] and made["squares"].shape == (40, 30, 4)
    squares, lengths = dask.compute(made["squares"], made["lengths"], scheduler="threads")
    expected = ostra.kernel(SQUARES)(source=source, offset=1)
    numpy.testing.assert_array_equal(squares, expected["squares"])
    numpy.testing.assert_array_equal(lengths, expected["lengths"])


def test_an_array_for_an_output_is_not_changed():
    source = numbers(64)
    target = numpy.full(64, 7, numpy.float32)
    half = SCALE.replace("UNIFORM_BUFFER(target)[i]", "if (i < 8u) UNIFORM_BUFFER(target)[i]").replace("Scale", "Half")
    made = ostra.dask.map_blocks(half, source=dask.array.from_array(source, chunks=16), factor=2,
                                 target=dask.array.from_array(target, chunks=16)).compute(scheduler="threads")
    numpy.testing.assert_array_equal(made, numpy.where(numpy.arange(64) % 16 < 8, 2 * source, 7))
    numpy.testing.assert_array_equal(target, numpy.full(64, 7))


def test_parameters_may_be_functions_of_the_block_and_arrays_may_be_empty():
    array = dask.array.from_array(numpy.ones((4, 6), numpy.float32), chunks=((2, 0, 2), (3, 3)))
    made = ostra.dask.map_blocks(SCALE, source=array, factor=lambda block: block.origin[0] * 10 + block.origin[1])
    numpy.testing.assert_array_equal(made.compute(scheduler="threads"), numpy.kron([[0, 3], [20, 23]], numpy.ones((2, 3))))


def test_a_reduction_runs_a_kernel_per_block_and_one_over_the_blocks(client):
    values = numpy.random.default_rng(1).random(100000, numpy.float32)
    array = dask.array.from_array(values, chunks=7000)
    total = ostra.dask.reduce(SUM, array, size=1, count=count_elements)
    assert total.shape == (1,) and total.dtype == numpy.float32
    # As the kernel adds: one after the other in each block, then the blocks.
    parts = [numpy.add.accumulate(values[first:first + 7000])[-1] for first in range(0, 100000, 7000)]
    assert total.compute()[0] == numpy.add.accumulate(numpy.array(parts))[-1]


def count_elements(block):
    return block.count


def test_a_reduction_may_combine_with_another_kernel():
    total = ostra.dask.reduce(SUM, dask.array.from_array(numbers(40), chunks=10), size=1, count=count_elements,
                              combine=SCALE, combine_size=1, combine_arguments={"factor": 0.5}, shape=1)
    assert total.compute(scheduler="threads").tolist() == [numbers(10).sum() / 2]


def test_a_sequence_is_worked_on_file_by_file(client, tmp_path):
    for i in range(5):
        numpy.save(tmp_path / f"frame{i}.npy", numbers(8, 8) + i)
    done = ostra.dask.apply(SCALE, tmp_path / "frame*.npy", tmp_path / "scaled", factor=2)
    paths = dask.compute(*done)
    assert [os.path.basename(path) for path in paths] == [f"frame{i}.npy" for i in range(5)]
    for i, path in enumerate(paths):
        numpy.testing.assert_array_equal(numpy.load(path), 2 * (numbers(8, 8) + i))
    assert sorted(os.listdir(tmp_path / "scaled")) == [f"frame{i}.npy" for i in range(5)]
    arrays = dask.compute(*ostra.dask.apply(SCALE, paths, factor=0.5))
    numpy.testing.assert_array_equal(arrays[4], numbers(8, 8) + 4)


def test_pictures_are_read_and_written(tmp_path):
    negative = SCALE.replace("Scale", "Negative").replace("Float32>", "Vector4d32>").replace(
        "UNIFORM_BUFFER(source)[i] * UNIFORM(factor)", "vec4(UNIFORM(factor)) - UNIFORM_BUFFER(source)[i]")
    picture = numpy.random.default_rng(1).integers(0, 256, (6, 5, 4)).astype(numpy.float32) / numpy.float32(255)
    for name in ("a.png", "b.exr"):
        ostra.dask.write_file(str(tmp_path / name), picture)
        numpy.testing.assert_array_equal(ostra.dask.read_file(str(tmp_path / name)), picture)
    paths = dask.compute(*ostra.dask.apply(negative, [tmp_path / "a.png", tmp_path / "b.exr"], tmp_path / "out", factor=1),
                         scheduler="threads")
    numpy.testing.assert_array_equal(ostra.dask.read_file(paths[1]), 1 - picture)
    numpy.testing.assert_array_equal(numpy.rint(255 * ostra.dask.read_file(paths[0])), 255 - numpy.rint(255 * picture))
    with pytest.raises(TypeError, match=r"of the shape \(height, width, 4\)"):
        ostra.dask.write_file(str(tmp_path / "c.png"), numbers(6, 5))
    with pytest.raises(ostra.Error, match="d.png"):
        ostra.dask.read_file(str(tmp_path / "d.png"))


def test_sequences_that_would_lose_files_are_refused(tmp_path):
    numpy.save(tmp_path / "a.npy", numbers(8))
    with pytest.raises(ValueError, match="there is no file"):
        ostra.dask.apply(SCALE, tmp_path / "*.png", tmp_path / "out", factor=1)
    with pytest.raises(ValueError, match="would be overwritten while it is read"):
        ostra.dask.apply(SCALE, tmp_path / "*.npy", tmp_path, factor=1)
    with pytest.raises(ValueError, match="two files would be written"):
        ostra.dask.apply(SCALE, ["a.npy", "b.npy"], lambda path: "c.npy", factor=1)
    with pytest.raises(TypeError, match='did you mean "factor"'):
        ostra.dask.apply(SCALE, tmp_path / "*.npy", factr=1)
    with pytest.raises(TypeError, match="for the one buffer that the kernel reads"):
        ostra.dask.apply(SCALE, tmp_path / "*.npy", factor=1, source=numbers(8))


def test_a_kernel_is_pickled_by_content(tmp_path):
    file = tmp_path / "net.example.travels.krn"
    file.write_text('#include "shared/factor.h"\n' + SCALE.replace("UNIFORM(factor)", "UNIFORM(factor) * Twice()"))
    (tmp_path / "shared").mkdir()
    (tmp_path / "shared" / "factor.h").write_text("inline float Twice()\n{\n\treturn 2.0;\n}\n")
    (tmp_path / "kernel.pickle").write_bytes(pickle.dumps(ostra.kernel(file)))
    file.unlink()
    (tmp_path / "shared" / "factor.h").unlink()
    program = f"import pickle, numpy\nkernel = pickle.load(open({str(tmp_path / 'kernel.pickle')!r}, 'rb'))\n" \
              "print(kernel.name, kernel(factor=3, source=numpy.ones(2, numpy.float32)).tolist())\n"
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=False)
    assert (done.returncode, done.stdout, done.stderr) == (0, "net.example.travels.krn [6.0, 6.0]\n", "")
    kernel = ostra.kernel(SCALE)
    assert pickle.loads(pickle.dumps(kernel)) is pickle.loads(pickle.dumps(kernel))


def whole(*shape):
    return dask.array.from_array(numbers(*shape), chunks=16)


@pytest.mark.parametrize("arguments, message", [
    ({"factor": 2, "sorce": whole(64)}, 'has no parameter "sorce"; did you mean "source"\\?'),
    ({"factor": 2, "source": whole(64).astype("float64")}, 'not of float64; array.astype\\("float32"\\) converts it'),
    ({"source": whole(64)}, 'needs "factor"'),
    ({"factor": "2", "source": whole(64)}, '"factor" is a float32, not \'2\''),
    ({"factor": 2, "source": numbers(64)}, "called without a Dask array"),
    ({"factor": 2, "source": whole(64), "target": numbers(64)}, "cannot write into an array of the client"),
])
def test_wrong_arguments_are_type_errors_before_anything_is_computed(arguments, message):
    with pytest.raises(TypeError, match=message):
        ostra.dask.map_blocks(SCALE, **arguments)


def test_arrays_that_do_not_fit_are_refused_before_anything_is_computed():
    with pytest.raises(ValueError, match="has the chunks"):
        ostra.dask.map_blocks(SCALE, source=whole(64), target=whole(64).rechunk(32), factor=1)
    with pytest.raises(ValueError, match="compute_chunk_sizes"):
        ostra.dask.map_blocks(SCALE, source=whole(64)[whole(64) > 3], factor=1)
    with pytest.raises(ValueError, match="looks at 2 axes of its position, and the array has 1"):
        ostra.dask.map_overlap(PLATE, source=whole(64), speed=1)
    with pytest.raises(ValueError, match="the halo has 5 elements, and axis 1 a chunk of 2"):
        ostra.dask.map_overlap(PLATE, source=whole(64, 66), speed=1, depth=5)
    with pytest.raises(ValueError, match='no line "#define HALO number"'):
        ostra.dask.map_overlap(SCALE, source=whole(64), factor=1)
    with pytest.raises(ValueError, match="components lie in different chunks"):
        ostra.dask.map_blocks(SQUARES, whole(64, 20), offset=1)
    with pytest.raises(TypeError, match="the last axis has 4 components"):
        ostra.dask.map_blocks(SQUARES, whole(64, 3), offset=1)
    with pytest.raises(ostra.Error, match="Scale.krn:10:.*\n"):
        ostra.dask.map_blocks(SCALE.replace("UNIFORM(factor)", "UNIFORM(facto)"), source=whole(64), factor=1)
    with pytest.raises(ostra.Error, match="net.example.missing.krn"):
        ostra.dask.map_blocks("net.example.missing.krn", source=whole(64), factor=1)
