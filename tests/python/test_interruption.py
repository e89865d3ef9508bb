"""Ctrl-C, threads, the end of the interpreter, and packages that are loaded twice."""

import os
import shutil
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy
import pytest

import ostra
from conftest import make_kernel, no_gpu

# As many steps as there are numbers times `rounds`.
SLOW = make_kernel("Slow", ["(UInt32) rounds", "(Block<Float32>) target"],
                   "float x = 0.0;\nfor (uint k = 0u; k < UNIFORM(rounds); k++)\n{\n\tx = sin(x + float(k));\n}\n"
                   "UNIFORM_BUFFER(target)[i] = x + 1.0;")
ADD = make_kernel("Add", ["(Float32) term", "(const Block<Float32>) source", "(Block<Float32>) target"],
                  "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] + UNIFORM(term);")
FOREVER = {"rounds": 20000}


def numbers(count):
    return numpy.arange(count, dtype=numpy.float32)


def find_rounds(slow, size, seconds=0.5):
    """With how many rounds a call of SLOW lasts longer than this."""
    rounds = 1000
    while True:
        begin = time.monotonic()
        slow(size, rounds=rounds)
        took = time.monotonic() - begin
        if took > seconds:
            return rounds
        rounds *= 2 if took > seconds / 4 else 4


@pytest.fixture
def interrupt_after():
    """Sends SIGINT to the process after some seconds, and calls `then` a little later."""
    timers = []

    def start(seconds, then=None):
        timers.append(threading.Timer(seconds, os.kill, (os.getpid(), signal.SIGINT)))
        if then:
            timers.append(threading.Timer(seconds + 0.3, then))
        for timer in timers[-2 if then else -1:]:
            timer.start()

    yield start
    for timer in timers:
        timer.join()


def test_an_interrupt_ends_a_call_and_the_next_one_works(interrupt_after):
    slow = ostra.kernel(SLOW)
    target = numpy.zeros(1 << 24, numpy.float32)
    for _ in range(2):
        interrupt_after(0.3)
        begin = time.monotonic()
        with pytest.raises(KeyboardInterrupt):
            slow(target=target, **FOREVER)
        assert time.monotonic() - begin < 10
    count = sys.getrefcount(target)
    assert numpy.count_nonzero(target) < target.size
    slow(rounds=1, target=target)
    assert numpy.all(target == 1) and sys.getrefcount(target) == count


@pytest.fixture
def own_handler():
    """A handler of SIGINT that raises nothing: the list of its signals."""
    seen = []
    former = signal.signal(signal.SIGINT, lambda number, _: seen.append(number))
    yield seen
    signal.signal(signal.SIGINT, former)


def test_a_call_goes_on_where_a_handler_of_the_program_takes_the_interrupt(own_handler, interrupt_after):
    slow = ostra.kernel(SLOW)
    target = numpy.zeros(1 << 16, numpy.float32)
    rounds = find_rounds(slow, target.size)
    interrupt_after(0.1)
    begin = time.monotonic()
    slow(rounds=rounds, target=target)
    assert time.monotonic() - begin > 0.1  # else it was over before
    assert own_handler == [signal.SIGINT] and numpy.count_nonzero(target) > target.size * 0.9
    expected = numpy.zeros_like(target)
    slow(rounds=rounds, target=expected)
    numpy.testing.assert_array_equal(target, expected)


def test_the_exception_of_a_handler_of_the_program_comes_after_the_call(interrupt_after):
    class Enough(Exception):
        pass

    def end(*_):
        raise Enough

    target = numpy.zeros(1 << 16, numpy.float32)
    slow = ostra.kernel(SLOW)
    rounds = find_rounds(slow, target.size)
    former = signal.signal(signal.SIGINT, end)
    try:
        interrupt_after(0.1)
        with pytest.raises(Enough):
            slow(rounds=rounds, target=target)
            time.sleep(10)
    finally:
        signal.signal(signal.SIGINT, former)
    assert numpy.count_nonzero(target) > target.size * 0.9


@pytest.fixture
def busy_engine():
    """Another thread that calls a kernel, half a second and more each time, until the event is set."""
    slow = ostra.kernel(SLOW)
    rounds = find_rounds(slow, 1 << 14)
    called, stop, failed = threading.Event(), threading.Event(), []

    def work():
        try:
            while not stop.is_set():
                slow(1 << 14, rounds=rounds)
                called.set()
        except Exception as error:  # told to the test
            failed.append(error)

    thread = threading.Thread(target=work)
    thread.start()
    was_called = called.wait(60)
    yield stop
    stop.set()
    thread.join()
    assert was_called and failed == []


def test_an_interrupt_is_not_taken_for_a_missing_gpu(busy_engine, interrupt_after):
    interrupt_after(0.1)
    with pytest.raises(KeyboardInterrupt):
        ostra.kernel(ADD, backend="auto")
        time.sleep(10)


@no_gpu
def test_a_gpu_is_found_though_a_handler_takes_an_interrupt(busy_engine, own_handler, interrupt_after):
    interrupt_after(0.1, busy_engine.set)
    assert ostra.Buffer(numbers(4), backend="auto").backend == "gpu"
    deadline = time.monotonic() + 10
    while not own_handler and time.monotonic() < deadline:
        time.sleep(0.01)
    assert own_handler == [signal.SIGINT]


def test_an_interrupt_ends_the_wait_for_another_thread(busy_engine, interrupt_after):
    slow = ostra.kernel(SLOW)
    interrupt_after(0.2)
    with pytest.raises(KeyboardInterrupt):
        while True:
            slow(1, rounds=1)
    assert not busy_engine.is_set()


def test_threads_share_kernels_buffers_and_textures(backend):
    add = ostra.kernel(ADD, backend=backend)
    wrong, failed = [], []

    def work(number):
        try:
            mine = ostra.kernel(ADD, backend=backend) if number % 2 else add
            kept = ostra.Buffer(numbers(256), backend=backend)
            for step in range(40):
                result = mine(term=number, source=numbers(256))
                kept = add(term=number, source=kept)
                if not numpy.array_equal(result, numbers(256) + number):
                    wrong.append((number, step))
            if not numpy.array_equal(kept.numpy(), numbers(256) + 40 * number):
                wrong.append(number)
        except Exception as error:  # told to the test
            failed.append(error)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert (wrong, failed) == ([], [])


def run(program, **more):
    return subprocess.run([sys.executable, "-c", textwrap.dedent(program)], capture_output=True, text=True, check=False,
                          timeout=120, **more)


def test_the_interpreter_may_end_while_threads_call_kernels(backend):
    done = run(f"""
        import threading, time, numpy, ostra
        slow = ostra.kernel({SLOW!r}, backend={backend!r})
        started = threading.Barrier(4)
        def work():
            started.wait()
            try:
                while True:
                    slow(1 << 16, rounds=2000)
            except ostra.Error as error:
                assert "The interpreter ends" in str(error) or "was stopped" in str(error), error
        for _ in range(3):
            threading.Thread(target=work, daemon=True).start()
        started.wait()
        time.sleep(0.3)
        print("end")
        """)
    assert (done.returncode, done.stdout, done.stderr) == (0, "end\n", "")


def test_a_package_that_is_imported_again_is_the_same():
    done = run(f"""
        import sys, numpy, ostra
        first = ostra.kernel({ADD!r})
        for name in [name for name in sys.modules if name.startswith("ostra")]:
            del sys.modules[name]
        import ostra as again
        assert again is not ostra and again.Error is ostra.Error
        source = numpy.ones(4, numpy.float32)
        print(first(term=1, source=source)[0], again.kernel({ADD!r})(term=2, source=source)[0])
        """)
    assert (done.returncode, done.stdout, done.stderr) == (0, "2.0 3.0\n", "")


def test_a_second_copy_of_the_package_is_told(tmp_path):
    shutil.copytree(os.path.dirname(ostra.__file__), tmp_path / "ostra")
    done = run(f"""
        import sys, ostra
        for name in [name for name in sys.modules if name.startswith("ostra")]:
            del sys.modules[name]
        sys.path.insert(0, {str(tmp_path)!r})
        try:
            import ostra
        except ImportError as error:
            print(error)
        """)
    assert done.returncode == 0 and "ostra is loaded already, from " in done.stdout, done.stderr


def test_a_subinterpreter_is_told():
    inner = "try:\n    import ostra\nexcept ImportError as error:\n    print(error, flush=True)\n"
    done = run(f"""
        import _xxsubinterpreters as interpreters
        interpreters.run_string(interpreters.create(), {inner!r})
        """)
    assert done.stdout == "ostra works in the main interpreter only, not in a subinterpreter\n", done.stderr
