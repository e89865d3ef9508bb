"""ostra.Buffer: elements that stay where kernels work with them."""

import ctypes
import gc
import os
import sys
import threading
import time

import numpy
import pytest

import ostra
from conftest import make_kernel, no_gpu

STEP = make_kernel("Step", ["(const Block<Float32>) source", "(Block<Float32>) target"],
                   "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * 0.5 + 1.0;")
VECTORS = make_kernel("Vectors", ["(Block<Vector4d32>) values"],
                      "UNIFORM_BUFFER(values)[i] = UNIFORM_BUFFER(values)[i] + vec4(1.0, 2.0, 3.0, 4.0);")


def numbers(*shape):
    return numpy.arange(numpy.prod(shape), dtype=numpy.float32).reshape(shape)


def test_a_buffer_has_what_the_array_had(backend):
    array = numbers(3, 4)
    buffer = ostra.Buffer(array, backend=backend)
    array[:] = 0
    assert (buffer.shape, buffer.dtype, buffer.nbytes, buffer.backend) == ((3, 4), numpy.float32, 48, backend)
    assert len(buffer) == 3 and "float32 (3, 4) on the" in repr(buffer)
    numpy.testing.assert_array_equal(buffer.numpy(), numbers(3, 4))
    numpy.testing.assert_array_equal(numpy.asarray(buffer), numbers(3, 4))


def test_kernels_write_into_buffers(backend):
    source, target = (ostra.Buffer(array, backend=backend) for array in (numbers(64), numpy.zeros(64, numpy.float32)))
    assert ostra.kernel(STEP, backend=backend)(source=source, target=target) is None
    numpy.testing.assert_array_equal(target.numpy(), numbers(64) / 2 + 1)


def test_what_is_made_beside_a_buffer_is_a_buffer(backend):
    made = ostra.kernel(STEP, backend=backend)(source=ostra.Buffer(numbers(8, 8), backend=backend))
    assert isinstance(made, ostra.Buffer) and made.backend == backend and made.shape == (8, 8)
    numpy.testing.assert_array_equal(made.numpy(), numbers(8, 8) / 2 + 1)


def test_iterations_do_not_leave_the_device(backend):
    step = ostra.kernel(STEP, backend=backend)
    source, target = (ostra.Buffer(numbers(1000), backend=backend) for _ in range(2))
    expected = numbers(1000)
    for _ in range(20):
        step(source=source, target=target)
        source, target = target, source
        expected = expected * numpy.float32(0.5) + numpy.float32(1)
    moved = (1, 0) if backend == "gpu" else (0, 0)
    assert (source.transfers, target.transfers) == (moved, moved)
    numpy.testing.assert_array_equal(source.numpy(), expected)
    assert source.transfers == ((1, 1) if backend == "gpu" else (0, 0))


def test_a_buffer_of_numbers_may_be_one_of_vectors(backend):
    buffer = ostra.Buffer(numpy.zeros((5, 4), numpy.float32), backend=backend)
    vectors = ostra.kernel(VECTORS, backend=backend)
    vectors(values=buffer)
    halved = ostra.kernel(STEP, backend=backend)(source=buffer)
    vectors(values=halved)
    numpy.testing.assert_array_equal(halved.numpy(), numpy.tile(numpy.float32([2.5, 4, 5.5, 7]), (5, 1)))
    numpy.testing.assert_array_equal(buffer.numpy(), numpy.tile(numpy.float32([1, 2, 3, 4]), (5, 1)))


def test_all_elements_are_overwritten(backend):
    buffer = ostra.Buffer(numbers(16), backend=backend)
    step = ostra.kernel(STEP, backend=backend)
    step(source=buffer)
    buffer.write(numpy.ones(16, numpy.float32))
    numpy.testing.assert_array_equal(step(source=buffer).numpy(), numpy.full(16, 1.5, numpy.float32))
    with pytest.raises(TypeError, match="the buffer is of float32, not of float64"):
        buffer.write(numpy.ones(16))
    with pytest.raises(ValueError, match="the buffer has the shape \\(16,\\), not \\(8,\\)"):
        buffer.write(numbers(8))


def test_many_buffers_of_a_device_are_released(backend):
    step = ostra.kernel(STEP, backend=backend)
    values = ostra.Buffer(numbers(1 << 20), backend=backend)
    for _ in range(300):  # 1.2 GB in all
        values = step(source=values)
    numpy.testing.assert_allclose(values.numpy(), numpy.full(1 << 20, 2, numpy.float32), rtol=1e-6)


def test_a_buffer_of_the_cpu_is_its_memory():
    buffer = ostra.Buffer(numpy.zeros(8, numpy.float32))
    view = buffer.numpy()
    ostra.kernel(STEP)(source=numbers(8), target=buffer)
    numpy.testing.assert_array_equal(view, numbers(8) / 2 + 1)
    memory = memoryview(buffer)
    assert (memory.format, memory.shape, memory[0]) == ("f", (8,), 1.0)
    assert buffer.__dlpack_device__() == (1, 0)
    numpy.testing.assert_array_equal(numpy.from_dlpack(buffer), view)


def test_an_array_without_a_copy_is_the_memory_or_an_error(backend):
    buffer = ostra.Buffer(numbers(8), backend=backend)
    message = "^these elements cannot be had without a copy$"
    with pytest.raises(ValueError, match=message):
        buffer.__array__(numpy.float64, copy=False)
    if backend == "cpu":
        for dtype in (None, numpy.float32, "float32"):
            assert numpy.shares_memory(buffer.__array__(dtype, copy=False), buffer.numpy())
    else:
        with pytest.raises(ValueError, match=message):
            buffer.__array__(copy=False)
    assert buffer.__array__(numpy.float64).dtype == buffer.__array__(numpy.float64, copy=None).dtype == numpy.float64
    assert not numpy.shares_memory(buffer.__array__(copy=True), buffer.__array__())


def test_memory_of_other_packages_is_used_without_a_copy():
    array = numbers(8)
    buffer = ostra.from_dlpack(array)
    ostra.kernel(STEP)(source=numpy.ones(8, numpy.float32), target=buffer)
    numpy.testing.assert_array_equal(array, numpy.full(8, 1.5, numpy.float32))
    with pytest.raises(TypeError, match="an array with DLPack's methods, not \\[1.0\\]"):
        ostra.from_dlpack([1.0])
    with pytest.raises(TypeError, match="not in C order"):
        ostra.from_dlpack(numbers(4, 4).T)

    class Elsewhere:
        def __dlpack__(self, stream=None):
            raise AssertionError

        def __dlpack_device__(self):
            return 2, 0

    with pytest.raises(BufferError, match="not on the CPU"):
        ostra.from_dlpack(Elsewhere())


class Device(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int32), ("number", ctypes.c_int32)]


class Tensor(ctypes.Structure):
    _fields_ = [("data", ctypes.c_void_p), ("device", Device), ("axes", ctypes.c_int32), ("code", ctypes.c_uint8),
                ("bits", ctypes.c_uint8), ("lanes", ctypes.c_uint16), ("shape", ctypes.POINTER(ctypes.c_int64)),
                ("strides", ctypes.POINTER(ctypes.c_int64)), ("offset", ctypes.c_uint64)]


class VersionedTensor(ctypes.Structure):
    pass


Release = ctypes.CFUNCTYPE(None, ctypes.POINTER(VersionedTensor))
VersionedTensor._fields_ = [("major", ctypes.c_uint32), ("minor", ctypes.c_uint32), ("manager", ctypes.c_void_p),
                            ("release", Release), ("flags", ctypes.c_uint64), ("tensor", Tensor)]
NAME = b"dltensor_versioned"


class Exporter:
    """An array as packages with version 1 of DLPack hand it over; the last axis may be shorter than the memory."""

    def __init__(self, array, flags=0, major=1, code=2, width=None):
        self.array, self.released = array, 0
        shape = (*array.shape[:-1], width or array.shape[-1])
        self._axes = [(ctypes.c_int64 * array.ndim)(*shape),
                      (ctypes.c_int64 * array.ndim)(*(step // array.itemsize for step in array.strides))]
        tensor = Tensor(array.ctypes.data, Device(1, 0), array.ndim, code, array.itemsize * 8, 1, self._axes[0],
                        self._axes[1], 0)
        self._managed = VersionedTensor(major, 0, None, Release(self._release), flags, tensor)

    def _release(self, _):
        self.released += 1

    def __dlpack_device__(self):
        return 1, 0

    def __dlpack__(self, *, max_version):
        assert max_version[0] == 1
        new = ctypes.pythonapi.PyCapsule_New
        new.restype, new.argtypes = ctypes.py_object, [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_void_p]
        return new(ctypes.addressof(self._managed), NAME, None)


def test_memory_that_its_owner_calls_read_only_is_read_and_not_written():
    step, owner = ostra.kernel(STEP), Exporter(numbers(2, 4), flags=1)
    buffer = ostra.from_dlpack(owner)
    assert not buffer.numpy().flags.writeable and memoryview(buffer).readonly
    numpy.testing.assert_array_equal(step(source=buffer).numpy(), numbers(2, 4) / 2 + 1)
    with pytest.raises(TypeError, match='"target" .* its array is read-only'):
        step(source=numbers(8), target=buffer)
    with pytest.raises(TypeError, match="the memory of the buffer is read-only"):
        buffer.write(numbers(2, 4))
    numpy.testing.assert_array_equal(owner.array, numbers(2, 4))


def test_memory_of_version_1_is_written_and_released_once():
    owner = Exporter(numbers(8))
    buffer = ostra.from_dlpack(owner)
    ostra.kernel(STEP)(source=numbers(8), target=buffer)
    numpy.testing.assert_array_equal(owner.array, numbers(8) / 2 + 1)
    view = buffer.numpy()
    del buffer
    gc.collect()
    assert owner.released == 0 and view[0] == 1
    del view
    gc.collect()
    assert owner.released == 1


@pytest.mark.parametrize("owner, error, message", [
    (Exporter(numbers(4), major=2), BufferError, "the version 2 of DLPack, not 1"),
    (Exporter(numbers(4), code=4), TypeError, "not the type 4 of 32 bits"),
    (Exporter(numbers(4, 4), width=2), TypeError, "not in C order"),
])
def test_memory_that_cannot_be_shared_is_refused_and_released(owner, error, message):
    with pytest.raises(error, match=message):
        ostra.from_dlpack(owner)
    gc.collect()
    assert owner.released == 1


def test_what_is_no_capsule_is_refused():
    class Wrong:
        def __dlpack__(self):
            return 3

        def __dlpack_device__(self):
            return 1, 0

    with pytest.raises(TypeError, match='__dlpack__ of "array" gives 3'):
        ostra.from_dlpack(Wrong())


def test_a_buffer_becomes_a_texture(backend):
    step = ostra.kernel(STEP, backend=backend)
    texture = ostra.Texture(step(source=ostra.Buffer(numbers(4, 4), backend=backend)))
    numpy.testing.assert_array_equal(texture.numpy(), numbers(4, 4) / 2 + 1)


def test_more_invocations_than_programs_can_number_are_refused(backend):
    kernel = ostra.kernel(STEP, backend=backend)
    one = numpy.zeros(1, numpy.float32)
    for source in (one, ostra.Buffer(one, backend=backend)):
        for size in (2**31, 2**13), (2**16, 2**16), (2, 2**31, 2**31):
            with pytest.raises(ValueError, match="at most 4294967295 invocations"):
                kernel(size, source=source)
    numpy.testing.assert_array_equal(kernel(source=numbers(8)), numbers(8) / 2 + 1)


def test_what_does_not_fit_into_memory_is_an_error(backend):
    with pytest.raises((MemoryError, ostra.Error)):
        ostra.Buffer(numpy.broadcast_to(numpy.float32(1), (2**44,)), backend=backend)  # 64 TiB
    numpy.testing.assert_array_equal(ostra.kernel(STEP, backend=backend)(source=numbers(8)), numbers(8) / 2 + 1)


def test_arrays_in_another_order_are_copied_element_by_element():
    buffer = ostra.Buffer(numpy.asfortranarray(numbers(4, 6))[::2])
    numpy.testing.assert_array_equal(buffer.numpy(), numbers(4, 6)[::2])
    assert buffer.numpy().flags.c_contiguous


@pytest.mark.parametrize("array, error, message", [
    (numbers(0), ValueError, "the array is empty"),
    (numpy.array(["a"]), TypeError, "numbers or structs of numbers, not <U1"),
    (numpy.array([object()]), TypeError, "not object"),
    (numpy.ones(4, ">f4"), TypeError, "the byte order of this machine"),
])
def test_arrays_that_are_no_buffers_are_refused(array, error, message):
    with pytest.raises(error, match=message):
        ostra.Buffer(array)


def test_an_unknown_backend_is_refused():
    with pytest.raises(ValueError, match='"cpu", "gpu" or "auto", not \'tpu\''):
        ostra.Buffer(numbers(4), backend="tpu")


@no_gpu
def test_a_buffer_of_another_backend_is_refused():
    on_cpu, on_gpu = (ostra.Buffer(numbers(8), backend=name) for name in ("cpu", "gpu"))
    with pytest.raises(TypeError, match='"source" is .* on the GPU, and it was given a buffer on the CPU; ostra.Buffer'):
        ostra.kernel(STEP, backend="gpu")(source=on_cpu)
    with pytest.raises(TypeError, match="given a buffer on the GPU"):
        ostra.kernel(STEP)(source=on_gpu)
    with pytest.raises(BufferError, match="lies on a GPU: buffer.numpy\\(\\) copies it"):
        memoryview(on_gpu)
    with pytest.raises(BufferError, match="lies on a GPU"):
        on_gpu.__dlpack__()


def test_a_buffer_lets_its_memory_go():
    array = numbers(8)
    count = sys.getrefcount(array)
    buffer = ostra.from_dlpack(array)
    ostra.kernel(STEP)(source=buffer)
    del buffer
    gc.collect()
    assert sys.getrefcount(array) == count


@no_gpu
def test_a_forked_process_destroys_buffers_of_a_gpu_while_a_thread_uses_it():
    step, done = ostra.kernel(STEP, backend="gpu"), threading.Event()

    def work():
        while not done.is_set():
            step(source=ostra.Buffer(numbers(4), backend="gpu"))

    thread = threading.Thread(target=work)
    thread.start()
    try:
        for _ in range(50):
            buffer = step(source=ostra.Buffer(numbers(4), backend="gpu"))
            child = os.fork()
            if child == 0:
                del buffer
                os._exit(3)
            assert wait_for(child, 20) == 3
    finally:
        done.set()
        thread.join()


def wait_for(child, seconds):
    """The exit code of a child; it is killed if it does not end."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        ended, status = os.waitpid(child, os.WNOHANG)
        if ended:
            return os.waitstatus_to_exitcode(status)
        time.sleep(0.001)
    os.kill(child, 9)
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


def test_the_shape_of_what_numpy_shows_is_not_that_of_the_buffer():
    buffer = ostra.Buffer(numbers(8))
    for view in (buffer.numpy(), numpy.asarray(buffer)):
        view.shape = (2, 4)
        view[0, 0] += 1
    assert buffer.shape == (8,) and memoryview(buffer).shape == (8,)
    assert buffer.numpy()[0] == 2
