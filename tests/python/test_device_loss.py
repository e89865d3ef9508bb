"""Devices that are lost, hang or are too small, as a layer of Vulkan pretends them (tests/pretended_device)."""

import os
import subprocess
import sys
import textwrap

import pytest

from conftest import make_kernel, no_gpu

LAYER = os.environ.get("OSTRA_PRETENDED_LAYER", "")
pytestmark = [no_gpu, pytest.mark.skipif(not os.path.exists(LAYER), reason="OSTRA_PRETENDED_LAYER in the environment is no "
                                                                           "folder: the layer that pretends devices is not built.")]
SCALE = make_kernel("Scale", ["(Float32) factor", "(const Block<Float32>) source", "(Block<Float32>) target"],
                    "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * UNIFORM(factor);")
BEGIN = f"""
import os, numpy, ostra
ones = numpy.ones(256, numpy.float32)
scale = ostra.kernel({SCALE!r}, backend="gpu")
print(scale(factor=2, source=ones)[7])

def attempt(call):
    try:
        return call()
    except ostra.Error as error:
        return str(error)
"""
WHAT_TO_DO = " What lay on it is lost, and this process cannot use it again: start Python again. Kernels on the CPU go on."


def run(program, **variables):
    """The lines that a program prints after a first call that works."""
    environment = {**os.environ, "VK_ADD_LAYER_PATH": LAYER, "VK_INSTANCE_LAYERS": "VK_LAYER_OSTRA_pretended_device",
                   "OSTRA_PRETENDED_DEVICE": "discrete", "OSTRA_GPU_CACHE": "off", **variables}
    done = subprocess.run([sys.executable, "-c", BEGIN + textwrap.dedent(program)], capture_output=True, text=True,
                          check=False, timeout=120, env=environment)
    lines = done.stdout.splitlines()
    assert done.returncode == 0 and lines[0] == "2.0", (done.returncode, done.stdout, done.stderr)
    return lines[1:]


# In the first calls after this one; what is counted are submissions and waits.
@pytest.mark.parametrize("count", [8, 9, 10, 11, 12, 13, 20])
def test_a_lost_device_is_an_error_that_says_what_to_do_and_the_cpu_goes_on(count):
    lines = run(f"""
        os.environ["OSTRA_PRETENDED_LOSS"] = "{count}"
        results = [attempt(lambda: scale(factor=3, source=ones)[7]) for _ in range(20)]
        first = next((each for each in results if isinstance(each, str)), None)
        print(first)
        print(results.count(3), results.count(first))
        print(attempt(lambda: scale(factor=3, source=ostra.Buffer(ones, backend="gpu")).numpy()) == first)
        print(ostra.kernel({SCALE!r})(factor=4, source=ones)[7])
        print([device["name"] for device in ostra.devices()], len(ostra.memory("gpu")))
        """)
    assert lines[0].startswith("The GPU device is lost. The driver says: pretended fault; invalid write at 0x12345000")
    assert lines[0].endswith(WHAT_TO_DO)
    good, bad = map(int, lines[1].split())
    assert good + bad == 20 and bad > 0
    assert lines[2:] == ["True", "4.0", "['Pretended discrete device'] 2"]


def test_buffers_on_a_lost_device_say_so_and_are_released():
    lines = run("""
        kept = ostra.Buffer(ones, backend="gpu")
        made = scale(factor=5, source=kept)
        print(made.numpy()[7])
        os.environ["OSTRA_PRETENDED_LOSS"] = "30"
        while not isinstance(attempt(lambda: scale(factor=1, source=ones)), str):
            pass
        print(attempt(lambda: made.numpy()))
        print(attempt(lambda: scale(factor=1, source=kept)))
        del kept, made
        print("end")
        """)
    assert lines[0] == "5.0" and lines[3] == "end"
    assert all(line.startswith("The GPU device is lost.") and line.endswith(WHAT_TO_DO) for line in lines[1:3])


def test_work_that_never_ends_is_an_error_after_the_time_limit():
    lines = run("""
        os.environ["OSTRA_PRETENDED_HANG"] = "3"
        results = [attempt(lambda: scale(factor=3, source=ones)[7]) for _ in range(5)]
        print(results[-1])
        print("end")
        """, OSTRA_GPU_TIME_LIMIT="1")
    assert "Its work did not end within 1 seconds" in lines[0] and lines[0].endswith(WHAT_TO_DO)
    assert lines[1] == "end"


def test_an_array_beyond_what_a_kernel_sees_of_the_device_is_refused_and_the_next_call_works():
    lines = run("""
        large = numpy.zeros(64 + (1 << 25), numpy.float32)
        print(attempt(lambda: scale(factor=1, source=large)))
        print(attempt(lambda: scale(factor=1, source=ostra.Buffer(large, backend="gpu"))))
        print(scale(factor=3, source=ones)[7])
        """)
    refused = 'The buffer "source" has 134217984 bytes; a kernel sees at most '
    assert all(line.startswith(refused) for line in lines[:2]) and lines[2] == "3.0"


def test_buffers_beyond_the_memory_of_the_device_lie_in_that_of_the_host():
    lines = run("""
        kept = [ostra.Buffer(numpy.full(1 << 22, number, numpy.float32), backend="gpu") for number in range(12)]
        scaled = [scale(factor=2, source=each) for each in kept]      # 384 MiB on a device of 256
        print(all((each.numpy()[[0, -1]] == 2 * number).all() for number, each in enumerate(scaled)))
        """)
    assert lines == ["True"]
