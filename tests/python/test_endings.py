"""Processes that end, fork or load the package again while kernels run; arrays that do not fit into memory."""

import os
import signal
import subprocess
import sys
import textwrap

import pytest

import ostra
from conftest import make_kernel

SLOW = make_kernel("Slow", ["(UInt32) rounds", "(Block<Float32>) target"],
                   "float x = 0.0;\nfor (uint k = 0u; k < UNIFORM(rounds); k++)\n{\n\tx = sin(x + float(k));\n}\n"
                   "UNIFORM_BUFFER(target)[i] = x + 1.0;")
VECTORS = make_kernel("Vectors", ["(Float32) value", "(Block<Vector4d32>) target"],
                      "UNIFORM_BUFFER(target)[i] = vec4(UNIFORM(value));")

# A call that takes hours on the CPU and a short one, in a thread that the end may find in it.
WORKING = f"""
import importlib, os, sys, threading, time
import numpy, ostra
slow = ostra.kernel({SLOW!r}, backend=BACKEND)
began = threading.Event()

def work():
    try:
        began.set()
        while True:
            slow(1 << 16, rounds=2000000 if BACKEND == "cpu" else 2000)
    except ostra.Error as error:
        assert "The interpreter ends" in str(error) or "was stopped" in str(error), error

def start(daemon):
    threading.Thread(target=work, daemon=daemon).start()
    began.wait()
    time.sleep(0.2)
"""


def run(program, backend="cpu", **more):
    program = f"BACKEND = {backend!r}" + WORKING + textwrap.dedent(program)
    return subprocess.run([sys.executable, "-c", program], capture_output=True, text=True, check=False, timeout=60, **more)


@pytest.mark.parametrize("end, code, message", [
    ("pass", 0, ""),
    ("sys.exit()", 0, ""),
    ("sys.exit(5)", 5, ""),
    ("raise SystemExit('enough')", 1, "enough\n"),
    ("raise ValueError('an exception of the program')", 1, "ValueError: an exception of the program\n"),
    ("os.kill(os.getpid(), 2); time.sleep(9)", -signal.SIGINT, "KeyboardInterrupt\n"),
    ("os._exit(7)", 7, ""),
    ("os.kill(os.getpid(), 15); time.sleep(9)", -signal.SIGTERM, ""),
])
def test_the_interpreter_ends_while_a_daemon_thread_is_in_a_long_call(backend, end, code, message):
    done = run(f"start(daemon=True)\n{end}\n", backend)
    assert done.returncode == code and done.stdout == ""
    assert done.stderr.endswith(message) and "Fatal" not in done.stderr and (message or not done.stderr)


def test_an_exception_of_the_main_thread_waits_for_a_thread_that_is_no_daemon():
    done = run("""
        def one():
            print(slow(1 << 10, rounds=2000)[0] != 0)

        thread = threading.Thread(target=one)
        thread.start()
        raise KeyError("main")
        """)
    assert (done.returncode, done.stdout) == (1, "True\n") and done.stderr.endswith("KeyError: 'main'\n")


def test_systemexit_in_a_thread_ends_that_thread_alone():
    done = run("""
        def one():
            slow(16, rounds=1)
            sys.exit(3)

        thread = threading.Thread(target=one)
        thread.start()
        thread.join()
        print(slow(16, rounds=1).shape)
        """)
    assert (done.returncode, done.stdout, done.stderr) == (0, "(16,)\n", "")


def test_calls_of_functions_at_the_end_of_the_interpreter_are_refused_in_words(backend):
    done = run("""
        class Late:
            def __del__(self):
                try:
                    slow(16, rounds=1)
                except ostra.Error as error:
                    print(error)

        late = Late()
        slow(16, rounds=1)
        """, backend)
    assert done.returncode == 0 and done.stderr == "" and done.stdout == "The interpreter ends: no kernel runs any more.\n"


def test_a_forked_child_is_told_by_every_call_while_the_parent_goes_on(backend):
    done = run("""
        kept = ostra.Buffer(numpy.ones(16, numpy.float32), backend=BACKEND)
        target = slow(16, rounds=1)
        child = os.fork()
        if child == 0:
            texts = set()
            for call in (lambda: slow(16, rounds=1), lambda: ostra.kernel("a\\nOSTRA_PARALLEL_KERNEL(K, X)"),
                         lambda: slow(16, rounds=1, target=kept), lambda: ostra.memory(BACKEND), lambda: ostra.devices()):
                try:
                    call()
                except ostra.Error as error:
                    texts.add(str(error))
            print(*texts, sep="\\n", flush=True)
            sys.exit(3)
        code = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
        print(code, (slow(16, rounds=1) == target).all())
        """, backend)
    told = "This process was forked after ostra had started, and its threads are not here: use the start method \"spawn\" of " \
           "multiprocessing, or make the first kernel after the fork."
    assert (done.returncode, done.stdout, done.stderr) == (0, f"{told}\n3 True\n", "")


def test_a_fork_while_another_thread_is_in_a_call_does_not_hang_the_child():
    done = run("""
        start(daemon=True)
        child = os.fork()
        if child == 0:
            try:
                slow(16, rounds=1)
            except ostra.Error as error:
                print("forked after ostra had started" in str(error), flush=True)
            sys.exit(3)
        print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
        """)
    assert (done.returncode, done.stdout, done.stderr) == (0, "True\n3\n", "")


def test_pools_of_processes_that_are_spawned_work_after_the_host_has_started(tmp_path):
    (tmp_path / "pool.py").write_text(textwrap.dedent(f"""
        import multiprocessing, numpy, ostra

        def count(number):
            return float(ostra.kernel({VECTORS!r})(64, value=number).sum())

        if __name__ == "__main__":
            count(0)
            with multiprocessing.get_context("spawn").Pool(2) as pool:
                print(pool.map(count, range(4)))
        """))
    done = subprocess.run([sys.executable, tmp_path / "pool.py"], capture_output=True, text=True, check=False, timeout=60)
    assert (done.returncode, done.stdout, done.stderr) == (0, "[0.0, 256.0, 512.0, 768.0]\n", "")


def test_a_package_that_is_reloaded_goes_on_with_the_kernels_of_before(backend):
    done = run("""
        kept = ostra.Buffer(numpy.zeros(16, numpy.float32), backend=BACKEND)
        again = importlib.reload(ostra)
        for module in [module for name, module in sorted(sys.modules.items()) if name.startswith("ostra")]:
            if not module.__name__.endswith("._ostra"):
                importlib.reload(module)
        slow(16, rounds=0, target=kept)
        print(again is ostra, kept.numpy()[15], ostra.kernel(TEXT, backend=BACKEND)(16, rounds=0)[15])
        try:
            slow(16, rounds=-1)
        except OverflowError as error:
            print(error)
        """.replace("TEXT", repr(SLOW)), backend)
    assert done.stderr == "" and done.returncode == 0
    assert done.stdout == 'True 1.0 1.0\n"rounds" is a uint32, and -1 does not fit\n'


def test_an_output_that_memory_does_not_have_is_a_memory_error_and_the_next_call_works(backend):
    done = run(f"""
        import resource
        vectors = ostra.kernel({VECTORS!r}, backend=BACKEND)
        vectors(64, value=1)
        limit = 8 << 30
        used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
        resource.setrlimit(resource.RLIMIT_AS, (used + limit, -1))
        try:
            vectors(1 << 30, value=1)                         # 16 GiB
        except MemoryError as error:
            print("16.0 GiB" in str(error), error)
        print(vectors(64, value=2)[63, 3])
        """, backend)
    lines = done.stdout.splitlines()
    assert done.returncode == 0 and lines[0].startswith("True") and lines[1] == "2.0", (done.stdout, done.stderr)


def test_more_elements_than_a_dispatch_has_are_refused():
    vectors = ostra.kernel(VECTORS)
    with pytest.raises(OverflowError, match='"size" is a uint32'):
        vectors(1 << 40, value=1)
    with pytest.raises(ValueError, match="invocations"):
        vectors((1 << 31, 1 << 31, 4), value=1)
