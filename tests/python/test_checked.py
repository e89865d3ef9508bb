"""Checked kernels: an index outside, a division by zero or an endless loop is an exception, on the CPU and on a GPU."""

import os
import pickle
import subprocess
import sys

import numpy
import pytest

import ostra
from conftest import make_kernel

SHIFT = make_kernel("Shift", ["(UInt32) count", "(Int32) by", "(const Block<Float32>) source", "(Block<Float32>) target"],
                    "if (i >= UNIFORM(count)) return;\n"
                    "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[int(i) + UNIFORM(by)];")
# Line 8 has no guard.
GRID = """#define KERNELINPUTS \\
(UInt32) width, \\
(Block<Float32>) target

OSTRA_PARALLEL_KERNEL(Grid, KERNELINPUTS)
{
	uint2 at = InGlobalInvocationID.xy;
	UNIFORM_BUFFER(target)[at.y * UNIFORM(width) + at.x] = 1.0;
}
OSTRA_PARALLEL_KERNEL_END
"""
OWN = """#define KERNELINPUTS \\
(Block<Float32>) target

OSTRA_PARALLEL_KERNEL(Own, KERNELINPUTS)
{
	uint i = LinearInvocation();
	auto twice = [](float x) { return x * 2; };
	UNIFORM_BUFFER(target)[i + 1000u] = twice(1.0f);
}
OSTRA_PARALLEL_KERNEL_END
"""


def numbers(count):
    return numpy.arange(count, dtype=numpy.float32)


def test_an_index_outside_names_line_index_size_and_invocation(backend):
    shift = ostra.kernel(SHIFT, backend=backend, checked=True, name="net.example.shift.krn")
    numpy.testing.assert_array_equal(shift(count=64, by=0, source=numbers(64)), numbers(64))
    with pytest.raises(ostra.Error, match=r'net\.example\.shift\.krn:12:\d+: error: index 64 is outside the 64 elements '
                                          r'of the buffer "source", in invocation 63'):
        shift(count=64, by=1, source=numbers(64))
    with pytest.raises(ostra.Error, match='index -2 is outside the 64 elements of the buffer "source", in invocation 0'):
        shift(count=64, by=-2, source=numbers(64))
    numpy.testing.assert_array_equal(shift(count=64, by=0, source=numbers(64)), numbers(64))


def test_a_grid_without_a_guard_is_found(backend):
    grid = ostra.kernel(GRID, backend=backend, checked=True)
    with pytest.raises(ostra.Error, match=r'Grid.krn:8:\d+: error: index \d+ is outside the 16 elements of the buffer '
                                          r'"target", in invocation \(\d+, \d+\)'):
        grid((4, 40), width=4, target=numbers(16))


def test_nothing_outside_is_written():
    memory = numpy.full(64, -1, numpy.float32)
    with pytest.raises(ostra.Error, match="is outside the 16 elements"):
        ostra.kernel(GRID, checked=True)((4, 8), width=4, target=memory[16:32])
    assert (memory[:16] == -1).all() and (memory[32:] == -1).all()


def test_divisors_and_loops_are_looked_at(backend):
    divide = ostra.kernel(make_kernel("Divide", ["(Int32) by", "(Block<Int32>) target"],
                                      "if (i < 4u) UNIFORM_BUFFER(target)[i] = 100 / UNIFORM(by);"), backend=backend, checked=True)
    numpy.testing.assert_array_equal(divide(4, by=7), numpy.full(4, 14))
    with pytest.raises(ostra.Error, match="a whole number is divided by zero"):
        divide(4, by=0)
    turn = ostra.kernel(make_kernel("Turn", ["(Int32) by", "(Block<Int32>) target"],
                                    "int k = 0;\nwhile (k < 10)\n{\n\tk += UNIFORM(by);\n}\nif (i < 4u) UNIFORM_BUFFER(target)[i] = k;"),
                        backend=backend, checked=True)
    numpy.testing.assert_array_equal(turn(4, by=5), numpy.full(4, 10))
    with pytest.raises(ostra.Error, match="this loop does not end"):
        turn(4, by=0)


def test_buffers_that_stay_are_looked_at(backend):
    shift = ostra.kernel(SHIFT, backend=backend, checked=True)
    buffer = ostra.Buffer(numbers(64), backend=backend)
    numpy.testing.assert_array_equal(shift(count=64, by=0, source=buffer).numpy(), numbers(64))
    with pytest.raises(ostra.Error, match="index 64 is outside the 64 elements"):
        shift(count=64, by=2, source=buffer).numpy()


def test_a_kernel_is_checked_beside_itself_unchecked(backend):
    checked, plain = (ostra.kernel(SHIFT, backend=backend, checked=value) for value in (True, False))
    assert (checked.checked, plain.checked, ostra.kernel(SHIFT, backend=backend).checked) == (True, False, False)
    for _ in range(2):
        numpy.testing.assert_array_equal(plain(count=64, by=0, source=numbers(64)), checked(count=64, by=0, source=numbers(64)))
    with pytest.raises(ostra.Error, match="index 64 is outside"):
        checked(count=64, by=1, source=numbers(64))


def test_a_checked_kernel_stays_checked_in_another_process():
    again = pickle.loads(pickle.dumps(ostra.kernel(SHIFT, checked=True)))
    assert again.checked and not pickle.loads(pickle.dumps(ostra.kernel(SHIFT))).checked
    with pytest.raises(ostra.Error, match="index 64 is outside"):
        again(count=64, by=1, source=numbers(64))


def test_a_kernel_with_its_own_c_plus_plus_is_refused(backend):
    with pytest.raises(ostra.Error, match="Own.krn:7:.*only kernels of it are checked here"):
        ostra.kernel(OWN, backend=backend, checked=True)


@pytest.mark.parametrize("value, expected", [("1", "True"), ("0", "False"), ("", "False")])
def test_the_environment_says_that_kernels_are_checked(value, expected):
    assert run_in_environment(value) == (0, expected + "\n", "")


def test_another_value_in_the_environment_is_refused():
    code, _, errors = run_in_environment("yes")
    assert code == 1 and "ValueError: OSTRA_CHECKED in the environment is 0 or 1, not 'yes'" in errors


def run_in_environment(value):
    done = subprocess.run([sys.executable, "-c", f"import ostra\nprint(ostra.kernel({SHIFT!r}).checked)"],
                          env={**os.environ, "OSTRA_CHECKED": value}, capture_output=True, text=True, check=False)
    return done.returncode, done.stdout, done.stderr
