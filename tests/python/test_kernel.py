"""Kernels called with numpy arrays, on the CPU and on the first GPU where there is one."""

import gc
import os
import subprocess
import sys
import threading

import numpy
import pytest

import ostra

SCALE = """// Multiplies each number by a factor.
#define KERNELINPUTS \\
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

POSITIONS = """#define KERNELINPUTS \\
(UInt32) width, \\
(UInt32) height, \\
(Vector4d32) offset, \\
(Block<Vector4d32>) positions, \\
(Block<Int32>) sums

OSTRA_PARALLEL_KERNEL(Positions, KERNELINPUTS)
{
	uint x = InGlobalInvocationID.x;
	uint y = InGlobalInvocationID.y;
	if (x >= UNIFORM(width) || y >= UNIFORM(height))
	{
		return;
	}
	uint i = y * UNIFORM(width) + x;
	UNIFORM_BUFFER(positions)[i] = vec4(float(x), float(y), 0.0, 1.0) + UNIFORM(offset);
	UNIFORM_BUFFER(sums)[i] = int(x + y);
}
OSTRA_PARALLEL_KERNEL_END
"""

HALVES = SCALE.replace("Scale", "Halves").replace("Block<Float32>", "Block<HalfFloat>").replace(
    "UNIFORM_BUFFER(source)[i] * UNIFORM(factor)", "half(float(UNIFORM_BUFFER(source)[i]) * UNIFORM(factor))")

has_gpu = ostra.kernel(SCALE, backend="auto").backend == "gpu"
no_gpu = pytest.mark.skipif(not has_gpu, reason="There is no GPU device on this machine.")


@pytest.fixture(params=["cpu", pytest.param("gpu", marks=no_gpu)])
def backend(request):
    return request.param


def numbers(*shape):
    return numpy.arange(numpy.prod(shape), dtype=numpy.float32).reshape(shape)


TALKING = SCALE.replace("Scale", "Talking").replace(
    "UNIFORM_BUFFER(target)[i] =", 'if (i < 2u) PRINT("i = %v", i);\n\tASSERT(UNIFORM(factor) > 0.0, "factors are positive");\n'
    "\tUNIFORM_BUFFER(target)[i] =")


def test_what_a_kernel_prints_is_printed(backend, capsys):
    result = ostra.kernel(TALKING, backend=backend)(factor=2, source=numbers(2))
    numpy.testing.assert_array_equal(result, 2 * numbers(2))
    lines = capsys.readouterr().out.splitlines()
    assert [line.split(": ", 1)[1] for line in lines] == ["invocation 0: i = 0", "invocation 1: i = 1"]


def test_an_assertion_that_does_not_hold_is_an_error(backend):
    with pytest.raises(ostra.Error, match="the ASSERT does not hold: factors are positive, in invocation 0"):
        ostra.kernel(TALKING, backend=backend)(factor=-1, source=numbers(2))


def test_without_a_standard_output_prints_are_lost_and_errors_are_not(backend, monkeypatch):
    kernel = ostra.kernel(TALKING, backend=backend)
    monkeypatch.setattr(sys, "stdout", None)
    numpy.testing.assert_array_equal(kernel(factor=2, source=numbers(2)), 2 * numbers(2))
    with pytest.raises(ostra.Error, match="the ASSERT does not hold"):
        kernel(factor=-1, source=numbers(2))


def test_an_output_that_is_not_given_is_made(backend):
    result = ostra.kernel(SCALE, backend=backend)(factor=2, source=numbers(64))
    assert result.dtype == numpy.float32
    numpy.testing.assert_array_equal(result, 2 * numbers(64))


def test_an_output_has_the_shape_of_the_arrays(backend):
    result = ostra.kernel(SCALE, backend=backend)(factor=0.5, source=numbers(4, 16))
    numpy.testing.assert_array_equal(result, numbers(4, 16) / 2)


def test_an_array_that_is_given_is_written_in_place(backend):
    target = numpy.zeros(64, numpy.float32)
    assert ostra.kernel(SCALE, backend=backend)(factor=3, source=numbers(64), target=target) is None
    numpy.testing.assert_array_equal(target, 3 * numbers(64))


def test_a_kernel_file_is_compiled_and_an_edited_one_again(backend, tmp_path):
    file = tmp_path / "net.example.edited.krn"
    file.write_text(SCALE)
    first = ostra.kernel(file, backend=backend)
    assert first.backend == backend and first.name == "net.example.edited.krn"
    file.write_text(SCALE.replace("UNIFORM(factor);", "UNIFORM(factor) + 1.0;"))
    second = ostra.kernel(file, backend=backend)
    numpy.testing.assert_array_equal(second(factor=2, source=numbers(64)), 2 * numbers(64) + 1)
    numpy.testing.assert_array_equal(first(factor=2, source=numbers(64)), 2 * numbers(64))


def test_several_outputs_come_by_name_and_the_size_may_be_given(backend):
    result = ostra.kernel(POSITIONS, backend=backend)((24, 16), width=24, height=16, offset=(1, 2, 3, 4))
    assert sorted(result) == ["positions", "sums"]
    y, x = numpy.mgrid[0:16, 0:24].astype(numpy.float32)
    assert result["positions"].shape == (16, 24, 4)
    numpy.testing.assert_array_equal(result["positions"], numpy.stack([x + 1, y + 2, 0 * x + 3, 0 * x + 5], -1))
    numpy.testing.assert_array_equal(result["sums"], x + y)


def test_pictures_say_the_size_of_two_axes(backend):
    positions = numpy.zeros((16, 24, 4), numpy.float32)
    sums = ostra.kernel(POSITIONS, backend=backend)(
        width=24, height=16, offset=numpy.zeros(4, numpy.float32), positions=positions)
    assert sums.shape == (16, 24)
    assert positions[15, 23].tolist() == [23, 15, 0, 1]


def test_half_floats_are_float16(backend):
    result = ostra.kernel(HALVES, backend=backend)(factor=2, source=numbers(64).astype(numpy.float16))
    assert result.dtype == numpy.float16
    numpy.testing.assert_array_equal(result, 2 * numbers(64))


def test_both_backends_give_the_same_bits():
    if not has_gpu:
        pytest.skip("There is no GPU device on this machine.")
    source = numpy.random.default_rng(1).random(10000, numpy.float32)
    cpu, gpu = (ostra.kernel(SCALE, backend=backend)((10000,), factor=0.1, source=source) for backend in ("cpu", "gpu"))
    assert cpu.tobytes() == gpu.tobytes()


@pytest.mark.parametrize("arguments, message", [
    ({"factor": 2, "sorce": numbers(8)}, 'has no parameter "sorce"; did you mean "source"\\?'),
    ({"factor": 2, "zzzzzzzz": 1}, 'has no parameter "zzzzzzzz"; it has factor, source, target'),
    ({"factor": 2}, 'needs "source"'),
    ({"source": numbers(8)}, 'needs "factor"'),
    ({"factor": "2", "source": numbers(8)}, '"factor" is a float32, not \'2\''),
    ({"factor": True, "source": numbers(8)}, '"factor" is a float32, not True'),
    ({"factor": 2, "source": [1.0, 2.0]}, '"source" is a buffer of float32, which takes a numpy array or an ostra.Buffer, not list'),
    ({"factor": 2, "source": numpy.ones(8)}, 'not of float64; array.astype\\("float32"\\) converts it'),
    ({"factor": 2, "source": numpy.ones(8, ">f4")}, 'is a buffer of float32, not of >f4'),
    ({"factor": 2, "source": numbers(8)[::2]}, "not in C order"),
    ({"factor": 2, "source": numpy.asfortranarray(numbers(4, 4))}, "not in C order"),
])
def test_wrong_arguments_are_type_errors_before_anything_runs(arguments, message):
    with pytest.raises(TypeError, match=message):
        ostra.kernel(SCALE)(**arguments)


def test_numbers_that_do_not_fit_are_refused():
    kernel = ostra.kernel(POSITIONS)
    for width in (-1, 2**32):
        with pytest.raises(OverflowError, match='"width" is a uint32, and .* does not fit'):
            kernel((1, 1), width=width, height=1, offset=(0, 0, 0, 0))
    with pytest.raises(TypeError, match='"width" is a uint32, not 1.5'):
        kernel((1, 1), width=1.5, height=1, offset=(0, 0, 0, 0))
    with pytest.raises(TypeError, match='"offset" has 4 numbers, not 3'):
        kernel((1, 1), width=1, height=1, offset=(0, 0, 0))
    with pytest.raises(OverflowError, match='"factor" is a float32, and 1e\\+300 does not fit'):
        ostra.kernel(SCALE)(factor=1e300, source=numbers(8))


def test_arrays_that_do_not_fit_are_refused():
    kernel = ostra.kernel(SCALE)
    with pytest.raises(ValueError, match="its array is empty"):
        kernel(factor=2, source=numbers(0))
    with pytest.raises(ValueError, match="different shapes"):
        kernel(factor=2, source=numbers(8), target=numbers(9))
    target = numbers(8)
    target.flags.writeable = False
    with pytest.raises(TypeError, match="read-only"):
        kernel(factor=2, source=numbers(8), target=target)
    unaligned = numpy.zeros(33, numpy.uint8)[1:].view(numpy.float32)
    with pytest.raises(TypeError, match="not aligned"):
        kernel(factor=2, source=unaligned)
    with pytest.raises(TypeError, match="the last axis has 4 components"):
        ostra.kernel(POSITIONS)((4, 4), width=4, height=4, offset=(0, 0, 0, 0), positions=numbers(4, 4, 3))


def test_sizes_that_are_not_known_are_asked_for():
    with pytest.raises(ValueError, match="give it, kernel"):
        ostra.kernel(POSITIONS)(width=4, height=4, offset=(0, 0, 0, 0))
    for size in (0, (), (1, 2, 3, 4)):
        with pytest.raises(ValueError, match="the size has"):
            ostra.kernel(SCALE)(size, factor=2, source=numbers(8))


WEIGHTED = """#define KERNELINPUTS \\
(UInt32) width, \\
(UInt32) height, \\
(const Block<Float32>) weights, \\
(const Block<Float32>) source, \\
(Block<Float32>) target

OSTRA_PARALLEL_KERNEL(Weighted, KERNELINPUTS)
{
	uint x = InGlobalInvocationID.x;
	uint y = InGlobalInvocationID.y;
	if (x >= UNIFORM(width) || y >= UNIFORM(height))
	{
		return;
	}
	uint i = y * UNIFORM(width) + x;
	UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * UNIFORM_BUFFER(weights)[y % 3u];
}
OSTRA_PARALLEL_KERNEL_END
"""


def test_a_picture_says_the_size_beside_a_table(backend):
    kernel = ostra.kernel(WEIGHTED, backend=backend)
    weights, source = numpy.float32([1, 2, 3]), numbers(12, 20)
    result = kernel(width=20, height=12, weights=weights, source=source)
    numpy.testing.assert_array_equal(result, source * numpy.tile(weights, 4)[:, None])
    for weights, source in ((numbers(3), numbers(240)), (numbers(3, 1), numbers(240)), (numbers(20, 12), numbers(12, 20)),
                            (numbers(400), numbers(12, 20))):
        with pytest.raises(ValueError, match="the arrays have different shapes"):
            kernel(width=20, height=12, weights=weights, source=source)


def test_an_array_with_a_mask_is_refused():
    masked = numpy.ma.masked_array(numbers(8), numbers(8) > 3)
    for call in (lambda: ostra.kernel(SCALE)(factor=2, source=masked), lambda: ostra.Buffer(masked)):
        with pytest.raises(TypeError, match="has a mask, which kernels do not know; array.filled"):
            call()
    numpy.testing.assert_array_equal(ostra.kernel(SCALE)(factor=2, source=masked.filled(1))[4:], numpy.full(4, 2))


def test_a_read_only_array_may_be_read():
    source = numbers(8)
    source.flags.writeable = False
    numpy.testing.assert_array_equal(ostra.kernel(SCALE)(factor=2, source=source), 2 * numbers(8))


def test_a_mistake_is_told_with_the_line_of_the_kernel(backend):
    with pytest.raises(ostra.Error, match="Scale.krn:10:.*\n"):
        ostra.kernel(SCALE.replace("UNIFORM(factor)", "UNIFORM(facto)"), backend=backend)


def test_a_missing_file_is_named(tmp_path):
    with pytest.raises(ostra.Error, match="net.example.missing.krn"):
        ostra.kernel(tmp_path / "net.example.missing.krn")


def test_an_unknown_backend_is_refused():
    with pytest.raises(ValueError, match='"cpu", "gpu" or "auto", not \'tpu\''):
        ostra.kernel(SCALE, backend="tpu")


def test_a_kernel_describes_itself():
    kernel = ostra.kernel(SCALE, name="net.example.described.krn")
    assert kernel.parameters == {
        "factor": "float32", "source": "const buffer of float32", "target": "buffer of float32"}
    assert "net.example.described.krn(factor: float32" in repr(kernel)


def test_large_arrays_are_not_copied_on_the_cpu():
    source = numpy.ones(1 << 24, numpy.float32)
    target = numpy.empty_like(source)
    kernel = ostra.kernel(SCALE)
    kernel(factor=2, source=source, target=target)
    before = read_peak_memory()
    kernel(factor=3, source=source, target=target)
    assert target[0] == 3 and target[-1] == 3
    assert read_peak_memory() - before < 32 << 20


def read_peak_memory():
    with open("/proc/self/status", encoding="ascii") as status:
        return next(int(line.split()[1]) << 10 for line in status if line.startswith("VmHWM:"))


def test_arrays_are_released_after_a_call():
    source = numbers(64)
    kernel = ostra.kernel(SCALE)
    count = sys.getrefcount(source)
    kernel(factor=2, source=source)
    gc.collect()
    assert sys.getrefcount(source) == count


def test_threads_may_call_at_once():
    kernel = ostra.kernel(SCALE)
    wrong = []

    def call(factor):
        for _ in range(50):
            if not numpy.array_equal(kernel(factor=factor, source=numbers(1000)), factor * numbers(1000)):
                wrong.append(factor)

    threads = [threading.Thread(target=call, args=(factor,)) for factor in range(1, 5)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_other_threads_run_while_a_kernel_does():
    loop = SCALE.replace("UNIFORM_BUFFER(target)[i] =", "float x = 0.0;\n\tfor (int k = 0; k < 2000; k++)\n\t{\n"
                         "\t\tx = sin(x + UNIFORM(factor));\n\t}\n\tUNIFORM_BUFFER(target)[i] = x +").replace("Scale", "Slow")
    kernel = ostra.kernel(loop)
    rounds, done = [0], threading.Event()

    def count():
        while not done.is_set():
            rounds[0] += 1
            done.wait(0.001)

    thread = threading.Thread(target=count)
    thread.start()
    before = rounds[0]
    try:
        kernel(factor=1, source=numbers(200000))
        while_it_ran = rounds[0] - before
    finally:
        done.set()
        thread.join()
    assert while_it_ran > 3


def test_a_forked_process_is_told():
    ostra.kernel(SCALE)
    process = os.fork()
    if process == 0:
        try:
            ostra.kernel(SCALE)
        except ostra.Error as error:
            os._exit(0 if "forked after ostra had started" in str(error) else 1)
        os._exit(2)
    assert os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]) == 0


def test_a_forked_process_ends_normally(backend):
    program = f"import os, sys, numpy, ostra\nkernel = ostra.kernel({SCALE!r}, backend={backend!r})\n" \
              "kernel(factor=2, source=numpy.ones(8, numpy.float32))\nchild = os.fork()\n" \
              "if child == 0:\n    sys.exit(3)\n" \
              "print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))\n"
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=False, timeout=60)
    assert (done.returncode, done.stdout, done.stderr) == (0, "3\n", "")


def test_the_interpreter_ends_with_kernels_that_live(backend):
    program = f"import numpy, ostra\nkernel = ostra.kernel({SCALE!r}, backend={backend!r})\n" \
              "print(kernel(factor=2, source=numpy.ones(8, numpy.float32))[7])\n"
    done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=False)
    assert (done.returncode, done.stdout, done.stderr) == (0, "2.0\n", "")
