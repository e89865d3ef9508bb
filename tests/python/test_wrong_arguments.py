"""Wrong arguments of everything that is public: the message names the argument, what it takes and what was given."""

import numpy
import pytest

import ostra
from conftest import make_kernel

SCALE = make_kernel("Scale", ["(Float32) factor", "(const Block<Float32>) source", "(Block<Float32>) target"],
                    "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * UNIFORM(factor);")
WAVE = make_kernel("Wave", ["(const TextureSampler_2D_R_F32_LINEAR) image", "(AtomicUInt32*) hits", "(Block<Float32>) target"],
                   "uint old;\nAtomicAdd(GetAtomicCounter(hits), 1u, old);\n"
                   "UNIFORM_BUFFER(target)[i] = FetchTexture(image, int2(0, 0));")


def ones(*shape):
    return numpy.ones(shape, numpy.float32)


def check(error, message, call):
    """The whole type, and the whole beginning of the message: that of no other place."""
    with pytest.raises(error) as caught:
        call()
    assert caught.type is error
    assert str(caught.value).startswith(message) and "\n" not in str(caught.value)


@pytest.mark.parametrize("size", [1.5, "4", b"4", {4: 1}, {4, 3}, object, (1, None), (2.0, 2), ["2"], numpy.ones(2)])
def test_sizes_that_are_no_numbers(size):
    with pytest.raises(TypeError, match='^"size" is a number or a tuple of one to three numbers, not '):
        ostra.kernel(SCALE)(size, factor=1, source=ones(4))


@pytest.mark.parametrize("size, error", [(-1, OverflowError), (2**32, OverflowError), (True, TypeError),
                                         pytest.param(10**5000, OverflowError, id="huge"), ((2, False), TypeError)])
def test_sizes_that_do_not_fit(size, error):
    check(error, '"size" is a uint32, ', lambda: ostra.kernel(SCALE)(size, factor=1, source=ones(4)))


def test_sizes_are_sequences_of_any_kind():
    scale = ostra.kernel(SCALE)
    for size in (4, (4,), [4], numpy.array([4]), numpy.uint8(4), numpy.array(4), range(4, 5)):
        numpy.testing.assert_array_equal(scale(size, factor=2, source=ones(4)), 2 * ones(4))


@pytest.mark.parametrize("factor, error, message", [
    (10**400, OverflowError, '"factor" is a float32, and 1000'),
    pytest.param(10**5000, OverflowError, '"factor" is a float32, and a value of the type int does not fit', id="huge"),
    (1j, TypeError, '"factor" is a float32, not 1j'),
    (None, TypeError, '"factor" is a float32, not None'),
    (ones(2), TypeError, '"factor" is a float32, not array([1., 1.], dtype=float32)'),
    ("\udc00", TypeError, "\"factor\" is a float32, not '\\udc00'"),
])
def test_values_that_are_no_numbers(factor, error, message):
    check(error, message, lambda: ostra.kernel(SCALE)(factor=factor, source=ones(4)))


def test_a_long_value_is_not_shown_whole():
    with pytest.raises(TypeError) as caught:
        ostra.kernel(SCALE)(factor="a" * 10000, source=ones(4))
    assert str(caught.value).endswith("aaa...") and len(str(caught.value)) < 150


def test_an_interrupt_in_a_conversion_is_not_lost():
    class Interrupting:
        def __float__(self):
            raise KeyboardInterrupt

    with pytest.raises(KeyboardInterrupt):
        ostra.kernel(SCALE)(factor=Interrupting(), source=ones(4))


@pytest.mark.parametrize("name", ["a\0b", "\ud800"])
def test_texts_that_c_does_not_have(name):
    has = "has a null character" if "\0" in name else "has characters that UTF-8 does not have"
    check(ValueError, f'"the name of a parameter" {has}: ', lambda: ostra.kernel(SCALE)(factor=1, source=ones(4), **{name: 1}))
    check(ValueError, f'"source" {has}: ', lambda: ostra.kernel(name + ".krn"))
    check(ValueError, f'"source" {has}: ', lambda: ostra.kernel(SCALE + name))
    check(ValueError, f'"name" {has}: ', lambda: ostra.kernel(SCALE, name=name))
    check(ValueError, f'"the name of a variable" {has}: ', lambda: ostra.configure(**{name: True}))
    check(ValueError, '"backend" is "cpu", "gpu" or "auto", not ', lambda: ostra.kernel(SCALE, backend=name))


@pytest.mark.parametrize("backend", [None, 5, b"cpu", ["cpu"]])
def test_backends_that_are_no_texts(backend):
    message = f'"backend" is "cpu", "gpu" or "auto", not {backend!r}'
    check(TypeError, message, lambda: ostra.kernel(SCALE, backend=backend))
    check(TypeError, message, lambda: ostra.Buffer(ones(4), backend=backend))
    check(TypeError, message, lambda: ostra.memory(backend))


@pytest.mark.parametrize("call, message", [
    (lambda: ostra.kernel(5), '"source" is the path of a kernel file, the text of a kernel or a function whose docstring is one, not 5'),
    (lambda: ostra.kernel(None), '"source" is the path of a kernel file, the text of a kernel or a function whose docstring is one, not None'),
    (lambda: ostra.kernel(SCALE, type=5), '"type" is the name of a type, such as "vec3", not 5'),
    (lambda: ostra.kernel(SCALE, name=5), '"name" is a str, not 5'),
    (lambda: ostra.kernel(SCALE, checked=1), '"checked" is True, False or None, not 1'),
    (lambda: ostra.Kernel(1, 2, 3), "ostra.kernel makes kernels"),
    (lambda: ostra.Buffer([1, 2]), '"array" is a numpy array, not list; numpy.asarray(value, dtype) makes one'),
    (lambda: ostra.Buffer(), 'ostra.Buffer(array, backend) needs "array"'),
    (lambda: ostra.Buffer(ones(1), "cpu", 3), "ostra.Buffer(array, backend) takes 2 arguments, not 3"),
    (lambda: ostra.Buffer(arry=ones(1)), "ostra.Buffer(array, backend) has no parameter 'arry'; did you mean \"array\"?"),
    (lambda: ostra.Buffer(ones(1), array=ones(1)), 'ostra.Buffer(array, backend) was given "array" twice'),
    (lambda: ostra.Buffer(ones(1)).write([1.0]), '"array" is a numpy array, not list'),
    (lambda: ostra.Buffer(ones(1)).write(), 'ostra.Buffer.write(array) needs "array"'),
    (lambda: ostra.Buffer(ones(1)).numpy(3), "ostra.Buffer.numpy() takes 0 arguments, not 1"),
    (lambda: ostra.Buffer.numpy(3), "a method of ostra.Buffer needs an ostra.Buffer, not int"),
    (lambda: ostra.Buffer.write(None, ones(1)), "a method of ostra.Buffer needs an ostra.Buffer, not NoneType"),
    (lambda: ostra.Buffer.shape.fget(ostra.Counter()), "a method of ostra.Buffer needs an ostra.Buffer, not Counter"),
    (lambda: ostra.Counter.__int__("1"), "a method of ostra.Counter needs an ostra.Counter, not str"),
    (lambda: ostra.Counter(1.5), '"value" is a uint32, not 1.5'),
    (lambda: ostra.Counter(1, 2), "ostra.Counter(value) takes 1 arguments, not 2"),
    (lambda: setattr(ostra.Counter(), "value", "3"), "\"value\" is a uint32, not '3'"),
    (lambda: ostra.Texture(ones(2, 2), wrap=5), 'wrap is "clamp", "repeat" or "border", not 5'),
    (lambda: ostra.Texture(ones(2, 2), wrap=[["clamp"]]), 'wrap is "clamp", "repeat" or "border", not [\'clamp\']'),
    (lambda: ostra.Texture(ones(2, 2), wrap="border", border="abc"), "\"border\" is a float32, not 'abc'"),
    (lambda: ostra.Texture(ones(2, 2), coordinates=5), 'coordinates is "normalized" or "texels", not 5'),
    (lambda: ostra.from_dlpack(5), '"array" is an array with DLPack\'s methods, not 5'),
])
def test_wrong_types_are_type_errors_that_name_the_argument(call, message):
    check(TypeError, message, call)


@pytest.mark.parametrize("call, message", [
    (lambda: ostra.Counter(-1), '"value" is a uint32, and -1 does not fit'),
    (lambda: ostra.Counter(2**32), '"value" is a uint32, and 4294967296 does not fit'),
    (lambda: setattr(ostra.Counter(), "value", -1), '"value" is a uint32, and -1 does not fit'),
    (lambda: ostra.Texture(ones(2, 2), wrap="border", border=10**400), '"border" is a float32, and 1000'),
])
def test_numbers_outside_of_their_type_are_overflow_errors(call, message):
    check(OverflowError, message, call)


def test_a_type_that_is_no_name_is_told():
    check(ValueError, '"type" is the name of a type, such as "vec3", not \'vec3;\'', lambda: ostra.kernel(SCALE, type="vec3;"))


def test_an_empty_source_is_told():
    check(ValueError, '"source" is empty', lambda: ostra.kernel(""))


@pytest.mark.parametrize("name", ["", "a/"])
def test_a_name_without_a_file_is_told(name, backend):
    check(ValueError, f'"name" is the name of a file, not {name!r}', lambda: ostra.kernel(SCALE, name=name, backend=backend))


@pytest.mark.parametrize("raised", [KeyboardInterrupt, MemoryError, ZeroDivisionError])
def test_what_the_length_of_a_sequence_raises_is_not_lost(raised):
    class Raising(list):
        def __len__(self):
            raise raised

    with pytest.raises(raised):
        ostra.kernel(SCALE)(Raising([4]), factor=1, source=ones(4))
    with pytest.raises(raised):
        ostra.Texture(ones(2, 2), wrap="border", border=Raising([1.0]))


@pytest.mark.parametrize("made", [ostra.Buffer, ostra.Counter, ostra.Texture, ostra.Kernel])
def test_an_object_whose_constructor_has_not_run_is_refused(made):
    wave = ostra.kernel(WAVE)
    empty = made.__new__(made)
    uses = [lambda: repr(empty)]
    if made is ostra.Buffer:
        uses += [lambda: empty.numpy(), lambda: len(empty), lambda: empty.shape, lambda: empty.write(ones(1)),
                 lambda: memoryview(empty), lambda: numpy.asarray(empty), lambda: empty.__dlpack__(),
                 lambda: wave(4, image=ones(2, 2), target=empty), lambda: ostra.Texture(empty)]
    elif made is ostra.Counter:
        uses += [lambda: int(empty), lambda: empty.value, lambda: setattr(empty, "value", 1),
                 lambda: wave(4, image=ones(2, 2), hits=empty)]
    elif made is ostra.Texture:
        uses += [lambda: empty.numpy(), lambda: empty.shape, lambda: empty._repr_png_(), lambda: wave(4, image=empty)]
    else:
        uses += [lambda: empty(), lambda: empty.name, lambda: empty.checked, lambda: empty.parameters]
    for use in uses:
        check(TypeError, f"the constructor of this ostra.{made.__name__} has not run", use)


def test_an_object_of_several_classes_needs_the_constructor_of_each():
    class Both(ostra.Buffer, ostra.Texture):
        pass

    class Swapped(ostra.Texture, ostra.Buffer):
        pass

    wave = ostra.kernel(WAVE)
    for made in (Both, Swapped):
        both = made.__new__(made)
        ostra.Buffer.__init__(both, ones(4))
        assert len(ostra.Buffer.numpy(both)) == 4 and memoryview(both)[0] == 1
        for use in (lambda: both.array, lambda: ostra.Texture.numpy(both), lambda: wave(4, image=both)):
            check(TypeError, "the constructor of this ostra.Texture has not run", use)
        other = made.__new__(made)
        ostra.Texture.__init__(other, ones(2, 2))
        assert other.array.shape[:2] == (2, 2)
        for use in (lambda: ostra.Buffer.numpy(other), lambda: memoryview(other)):
            check(TypeError, "the constructor of this ostra.Buffer has not run", use)


def test_a_subclass_whose_constructor_calls_no_other_is_refused():
    class Own(ostra.Counter):
        def __init__(self):
            pass

    with pytest.raises(TypeError):
        Own()


@pytest.mark.parametrize("call", [
    lambda value: ostra.render(value),
    lambda value: ostra.render({}, values={"a": value}),
    lambda value: ostra.kernel(value),
    lambda value: ostra.progress(range(3), value),
    lambda value: ostra.read_picture(value),
])
def test_a_value_of_several_lines_is_shown_in_one(call):
    with pytest.raises((TypeError, ValueError)) as refused:
        call(numpy.zeros((9, 40), numpy.float32))
    assert len(str(refused.value).splitlines()) == 1 and "0., 0." in str(refused.value)
