"""Many threads that call kernels at once: the same and different ones, on the CPU and on a GPU, with results that are checked."""

import concurrent.futures
import gc
import threading

import numpy
import pytest

import ostra
from conftest import has_gpu, make_kernel

BACKENDS = ["cpu", "gpu"] if has_gpu() else ["cpu"]
LINEAR = [make_kernel(f"Linear{number}", ["(Float32) term", "(const Block<Float32>) source", "(Block<Float32>) target"],
                      f"UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * {number}.0 + UNIFORM(term);")
          for number in range(1, 4)]
HITS = make_kernel("Hits", ["(UInt32) count", "(Float32) limit", "(const Block<Float32>) source", "(AtomicUInt32*) hits"],
                   "if (i < UNIFORM(count) && UNIFORM_BUFFER(source)[i] > UNIFORM(limit)) \n{\n\tuint old;\n\tAtomicAdd(GetAtomicCounter(hits), 1u, old);\n}")
LOOK = make_kernel("Look", ["(const TextureSampler_2D_RGBA_F32_LINEAR) image", "(Block<Vector4d32>) target"],
                   "if (i < 1u) UNIFORM_BUFFER(target)[i] = SampleTexture(image, vec2(0.5, 0.5));")
WRONG = make_kernel("Wrong", ["(Block<Float32>) target"], "ASSERT(i != 5u, \"five\");\nUNIFORM_BUFFER(target)[i] = 1.0;")
THREADS, STEPS = 16, 60


def numbers(count):
    return numpy.arange(count, dtype=numpy.float32)


def run_at_once(work, count=THREADS):
    """Calls work(number) in as many threads, which begin together. Raises what one of them raises."""
    start = threading.Barrier(count)

    def begin(number):
        start.wait()
        return work(number)

    with concurrent.futures.ThreadPoolExecutor(count) as pool:
        return list(pool.map(begin, range(count)))


@pytest.fixture(scope="module")
def shared():
    return {(backend, scale): ostra.kernel(text, backend=backend)
            for backend in BACKENDS for scale, text in enumerate(LINEAR, 1)}


def test_threads_call_the_same_and_different_kernels_of_all_backends(shared):
    keys = sorted(shared)

    def work(number):
        for step in range(STEPS):
            key = keys[(number + step) % len(keys)]
            count = 1 + 37 * number + step
            result = shared[key](count, term=number, source=numbers(4096))
            numpy.testing.assert_array_equal(result[:count], key[1] * numbers(count) + number)

    run_at_once(work)


def test_threads_write_into_their_parts_of_one_array(shared):
    target = numpy.zeros((THREADS, 4096), numpy.float32)

    def work(number):
        for step in range(STEPS):
            shared["cpu", 2](term=step + number, source=numbers(4096), target=target[number])

    run_at_once(work)
    expected = 2 * numbers(4096) + (STEPS - 1) + numpy.arange(THREADS, dtype=numpy.float32)[:, None]
    numpy.testing.assert_array_equal(target, expected)


def test_threads_keep_buffers_of_their_own(shared):
    def work(number):
        backend = BACKENDS[number % len(BACKENDS)]
        kept = ostra.Buffer(numbers(256), backend=backend)
        for step in range(STEPS):
            kept = shared[backend, 1](term=number, source=kept)  # the one before is released
            if step % 10 == number % 10:
                numpy.testing.assert_array_equal(kept.numpy(), numbers(256) + number * (step + 1))
        return kept.numpy()

    for number, values in enumerate(run_at_once(work)):
        numpy.testing.assert_array_equal(values, numbers(256) + number * STEPS)


def test_threads_compile_the_same_kernel_and_different_ones_at_once():
    own = [LINEAR[0].replace("* 1.0", f"* {number}.5").replace("Linear1", f"Own{number}") for number in (1, 2)]

    def work(number):
        backend = BACKENDS[number // 2 % len(BACKENDS)]
        kernel = ostra.kernel(own[number % 2], backend=backend)
        numpy.testing.assert_array_equal(kernel(term=1, source=numbers(64)), (number % 2 + 1.5) * numbers(64) + 1)

    run_at_once(work)


@pytest.mark.parametrize("backend", BACKENDS)
def test_counters_and_textures_of_threads_do_not_mix(backend):
    hits, look = ostra.kernel(HITS, backend=backend), ostra.kernel(LOOK, backend=backend)

    def work(number):
        for step in range(STEPS):
            assert hits(count=1000, limit=999 - number, source=numbers(1000)) == number
            counter = ostra.Counter(step)
            hits(count=1000, limit=989, source=numbers(1000), hits=counter)
            assert counter.value == step + 10
            image = ostra.Texture(numpy.full((2, 2, 4), number + step / 32, numpy.float32))
            assert (look(1, image=image)[0] == number + step / 32).all()

    run_at_once(work, 6)


@pytest.mark.parametrize("backend", BACKENDS)
def test_an_error_stays_in_the_thread_that_has_made_it(backend, shared):
    wrong = ostra.kernel(WRONG, backend=backend)

    def work(number):
        for step in range(STEPS):
            if number % 3 == 0:
                with pytest.raises(ostra.Error, match="five"):
                    wrong(8)
            elif number % 3 == 1:
                with pytest.raises(TypeError, match='did you mean "source"'):
                    shared[backend, 1](term=1, sorce=numbers(8))
            else:
                numpy.testing.assert_array_equal(shared[backend, 3](term=step, source=numbers(64)), 3 * numbers(64) + step)

    run_at_once(work, 9)


def test_kernels_and_buffers_end_in_other_threads_than_they_began(shared):
    held = [[] for _ in range(THREADS)]

    def work(number):
        for step in range(STEPS):
            backend = BACKENDS[step % len(BACKENDS)]
            kernel = ostra.kernel(LINEAR[step % 3], backend=backend)
            held[number].append((kernel, ostra.Buffer(numbers(128), backend=backend)))
            kernel(term=1, source=held[number][-1][1])
            neighbour = held[(number + 1) % THREADS]
            if len(neighbour) > 2:
                neighbour.pop(0)
                gc.collect(0)

    run_at_once(work)
    numpy.testing.assert_array_equal(shared["cpu", 1](term=1, source=numbers(16)), numbers(16) + 1)


def test_devices_memory_and_settings_are_asked_while_kernels_run(shared):
    def work(number):
        for _ in range(STEPS):
            if number % 4 == 0:
                assert [device["name"] for device in ostra.devices()] == names
            elif number % 4 == 1:
                available, total = ostra.memory()
                assert 0 < available <= total
            elif number % 4 == 2:
                assert "g_" in "".join(ostra.configuration())
            else:
                shared["cpu", 1](term=1, source=numbers(4096))

    names = [device["name"] for device in ostra.devices()]
    run_at_once(work, 8)
