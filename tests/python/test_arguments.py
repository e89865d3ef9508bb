"""Structured arrays, counters, textures and noises as arguments, on the CPU and on a GPU."""

import struct
import zlib

import numpy
import pytest

import ostra
from conftest import has_gpu, make_kernel

PARTICLE = """struct Body
{
	float3 axis;
	uint bonds[2];
};
struct Particle
{
	float3 position;
	float mass;
	Body body;
};"""

MOVE = make_kernel(
    "Move", ["(Float32) distance", "(Block<Particle>) particles"],
    "UNIFORM_BUFFER(particles)[i].position.x += UNIFORM(distance) * UNIFORM_BUFFER(particles)[i].body.axis.y;\n"
    "UNIFORM_BUFFER(particles)[i].body.bonds[1] = i;", PARTICLE)

BODY = numpy.dtype([("axis", "f4", 3), ("bonds", "u4", 2)])
PARTICLES = numpy.dtype([("position", "f4", 3), ("mass", "f4"), ("body", BODY)])

COUNT = make_kernel("Count", ["(const Block<Float32>) source", "(AtomicUInt32*) hits"],
                    "uint old;\nif (UNIFORM_BUFFER(source)[i] > 0.5)\n{\n\tAtomicAdd(GetAtomicCounter(hits), 1u, old);\n}")

FETCH = make_kernel("Fetch", ["(const TextureSampler_2D_R_F32_LINEAR) image", "(Block<Float32>) target"],
                    "int2 size = TextureSize(image);\n"
                    "UNIFORM_BUFFER(target)[i] = FetchTexture(image, int2(int(i) % size.x, int(i) / size.x));")

AT = make_kernel("At", ["(Float32) u", "(const TextureSampler_2D_RGBA_F32_LINEAR) image", "(Block<Vector4d32>) target"],
                 "UNIFORM_BUFFER(target)[i] = SampleTexture(image, vec2(UNIFORM(u), 0.5));")

VOLUME = make_kernel("Volume", ["(const TextureSampler_3D_R_F32_LINEAR) cloud", "(Block<Float32>) target"],
                     "int3 size = TextureSize(cloud);\nint k = int(i);\n"
                     "UNIFORM_BUFFER(target)[i] = FetchTexture(cloud, int3(k % size.x, (k / size.x) % size.y, "
                     "k / (size.x * size.y)));")

BYTES = make_kernel("Bytes", ["(const TextureSampler_2D_R_U8_POINT) image", "(Block<UInt32>) target"],
                    "int2 size = TextureSize(image);\n"
                    "UNIFORM_BUFFER(target)[i] = uint(FetchTexture(image, int2(int(i) % size.x, int(i) / size.x)));")

LAYERS = make_kernel("Layers", ["(const TextureSampler_2D_R_F32_LINEAR) image", "(Block<Float32>) target"],
                     "UNIFORM_BUFFER(target)[i] = FetchTextureLayer(image, int2(0, 0), i);")


def numbers(*shape):
    return numpy.arange(numpy.prod(shape), dtype=numpy.float32).reshape(shape)


def particles(count, dtype=PARTICLES):
    array = numpy.zeros(count, dtype)
    array["body"]["axis"][:, 1] = 2
    return array


def test_structs_are_structured_arrays(backend):
    array = particles(16)
    assert ostra.kernel(MOVE, backend=backend)(distance=3, particles=array) is None
    numpy.testing.assert_array_equal(array["position"], numpy.tile(numpy.float32([6, 0, 0]), (16, 1)))
    numpy.testing.assert_array_equal(array["body"]["bonds"][:, 1], numpy.arange(16))


def test_an_array_of_structs_is_made_with_the_members_of_the_kernel():
    made = ostra.kernel(MOVE)(4, distance=1)
    assert made.dtype == PARTICLES
    numpy.testing.assert_array_equal(made["body"]["bonds"][:, 1], numpy.arange(4))


@pytest.mark.parametrize("dtype, message", [
    (numpy.dtype("f4"), "takes a structured array, not one of float32"),
    (numpy.dtype([("position", "f4", 3), ("body", BODY)]), 'the array has no member "mass" of the struct Particle'),
    (numpy.dtype([("position", "f8", 3), ("mass", "f4"), ("body", BODY)]), 'the member "position" of the struct Particle is'),
    (numpy.dtype([("position", "f4", 3), ("mass", "f4"), ("body", [("axis", "f4", 3), ("bonds", "i4", 2)])]),
     'the member "body.bonds" of the struct Body is .*<u4.*, not .*<i4'),
    (numpy.dtype([("mass", "f4"), ("position", "f4", 3), ("body", BODY)]),
     'the member "position" of the struct Particle begins at byte 0, not 4'),
    (numpy.dtype([("position", "f4", 3), ("mass", "f4"), ("body", BODY), ("more", "f4")]),
     'the array\'s member "more" is not a member of the struct Particle'),
    (numpy.dtype({"names": PARTICLES.names, "formats": ["3f4", "f4", BODY], "offsets": [0, 12, 16], "itemsize": 48}),
     "the struct Particle has 36 bytes, not 48"),
])
def test_an_array_of_other_structs_is_refused_by_the_member(dtype, message):
    with pytest.raises(TypeError, match='"particles" is a buffer of struct Particle: .*' + message):
        ostra.kernel(MOVE)(distance=1, particles=numpy.zeros(4, dtype))


def test_doubles_are_float64():
    kernel = ostra.kernel(make_kernel("Doubles", ["(const Block<Float64>) source", "(Block<Float64>) target"],
                                      "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] / 3.0;"))
    source = numpy.linspace(0, 1, 16)
    result = kernel(source=source)
    assert result.dtype == numpy.float64
    numpy.testing.assert_array_equal(result, source / 3)


def test_a_counter_starts_at_zero_and_is_returned(backend):
    kernel = ostra.kernel(COUNT, backend=backend)
    for _ in range(2):
        assert kernel(source=numpy.float32([0, 1, 1, 0, 1])) == 3


def test_a_counter_starts_where_it_is_told(backend):
    kernel = ostra.kernel(COUNT, backend=backend)
    assert kernel(source=numpy.float32([0, 1, 1]), hits=40) == 42
    hits = ostra.Counter(5)
    assert kernel(source=numpy.float32([0, 1, 1]), hits=hits) is None
    assert kernel(source=numpy.float32([1]), hits=hits) is None
    assert hits.value == int(hits) == 8
    with pytest.raises(OverflowError, match='"hits" is a uint32'):
        kernel(source=numpy.float32([1]), hits=-1)
    with pytest.raises(TypeError, match='"hits" is a uint32, not \'many\''):
        kernel(source=numpy.float32([1]), hits="many")


def test_texels_are_where_the_array_has_them(backend):
    picture = numbers(3, 5)
    kernel = ostra.kernel(FETCH, backend=backend)
    numpy.testing.assert_array_equal(kernel(15, image=ostra.Texture(picture)), picture.ravel())
    numpy.testing.assert_array_equal(kernel(15, image=picture), picture.ravel())


def test_a_texture_of_halves_is_read_as_floats(backend):
    picture = numbers(4, 4).astype(numpy.float16) / 3
    result = ostra.kernel(FETCH, backend=backend)(16, image=ostra.Texture(picture))
    numpy.testing.assert_array_equal(result, picture.astype(numpy.float32).ravel())


def test_textures_are_filtered_and_wrapped_as_they_say(backend):
    picture = numpy.zeros((2, 2, 4), numpy.float32)
    picture[:, 1] = 1
    kernel = ostra.kernel(AT, backend=backend)

    def at(u, **settings):
        return kernel(1, u=u, image=ostra.Texture(picture, **settings))[0, 0]

    assert at(0.5) == 0.5
    assert at(1.75) == at(-0.75, wrap="clamp") + 1 == 1
    assert at(1.25, wrap="repeat") == 0
    assert at(-1.0, wrap="border") == 0
    assert at(-1.0, wrap=("clamp", "border")) == 0 and at(1.75, wrap=("clamp", "border")) == 1


@pytest.mark.parametrize("u, settings, expected, reason", [
    (-1, {"wrap": "border", "border": (7, 6, 5, 4)}, [7, 6, 5, 4], "a border of zeros"),
    (1.5, {"wrap": ("border", "clamp"), "coordinates": "texels"}, [0.25, 0.25, 0.25, 0.25], "normalized coordinates"),
    (0.5, {"srgb": True}, [0.05087609] * 4, "are not decoded"),
])
def test_settings_of_the_cpu_are_refused_on_a_gpu(u, settings, expected, reason):
    texture = ostra.Texture(numpy.full((2, 2, 4), 0.25, numpy.float32), **settings)
    numpy.testing.assert_allclose(ostra.kernel(AT)(1, u=u, image=texture), [expected], rtol=1e-5)
    if has_gpu():
        with pytest.raises(ValueError, match=reason):
            ostra.kernel(AT, backend="gpu")(1, u=u, image=texture)


def test_textures_have_three_dimensions_and_bytes(backend):
    cloud = numbers(3, 4, 5)
    numpy.testing.assert_array_equal(ostra.kernel(VOLUME, backend=backend)(60, cloud=cloud), cloud.ravel())
    picture = numpy.arange(250, 256, dtype=numpy.uint8).reshape(2, 3)
    numpy.testing.assert_array_equal(ostra.kernel(BYTES, backend=backend)(6, image=picture), picture.ravel())


def test_layers_are_the_first_axis():
    kernel = ostra.kernel(LAYERS)
    layers = ostra.Texture(numbers(3, 2, 2), layers=True)
    numpy.testing.assert_array_equal(kernel(3, image=layers), [0, 4, 8])


def test_a_texture_is_not_changed_with_its_array():
    picture = numbers(2, 2)
    texture = ostra.Texture(picture)
    picture[:] = 0
    numpy.testing.assert_array_equal(texture.numpy(), numbers(2, 2))
    numpy.testing.assert_array_equal(ostra.kernel(FETCH)(4, image=texture), numbers(4))


@pytest.mark.parametrize("array, settings, message", [
    (numbers(2, 2).astype("f8"), {}, "a texture is made of float32, float16 or uint8, not of float64"),
    (numbers(0, 2), {}, "the array is empty"),
    ([1.0], {}, "takes a numpy array or an ostra.Buffer, not list"),
    (numbers(2, 2), {"wrap": "mirror"}, 'wrap is "clamp", "repeat" or "border", not \'mirror\''),
    (numbers(2, 2), {"border": 1}, 'only wrap="border" shows a border'),
    (numbers(2, 2), {"coordinates": "pixels"}, "not 'pixels'"),
])
def test_textures_that_are_none_are_refused(array, settings, message):
    with pytest.raises((TypeError, ValueError), match=message):
        ostra.Texture(array, **settings)


@pytest.mark.parametrize("value, message", [
    (numbers(2, 2).astype("u1"), '"image" is a 2D texture of float32, not of uint8'),
    (numbers(2, 2, 2), 'with the axes \\(height, width\\); the array has the shape \\(2, 2, 2\\)'),
    (numbers(1, 2), "at least two texels along each axis"),
    (3, "takes an ostra.Texture or a numpy array, not int"),
])
def test_a_texture_that_the_kernel_does_not_take_is_refused(value, message):
    with pytest.raises((TypeError, ValueError), match=message):
        ostra.kernel(FETCH)(4, image=value)


def test_a_gray_and_a_coloured_texture_are_shown_as_png():
    for picture in (numbers(2, 3) / 5, numpy.arange(24, dtype=numpy.uint8).reshape(2, 3, 4)):
        data = ostra.Texture(picture)._repr_png_()
        assert data.startswith(b"\x89PNG\r\n\x1a\n")
        assert struct.unpack(">II", data[16:24]) == (3, 2)
        begin = data.index(b"IDAT")
        (size,) = struct.unpack(">I", data[begin - 4:begin])
        rows = numpy.frombuffer(zlib.decompress(data[begin + 4:begin + 4 + size]), numpy.uint8).reshape(2, -1)
        expected = picture if picture.dtype == numpy.uint8 else (picture * 255 + 0.5).astype(numpy.uint8)
        numpy.testing.assert_array_equal(rows[:, 1:], expected.reshape(2, -1))
    assert ostra.Texture(numbers(2, 2, 2, 2))._repr_png_() is None


def test_noises_are_chosen_by_name_or_number(backend, kernels):
    kernel = ostra.kernel(kernels / "net.ostra.kernels.noise.krn", backend=backend)
    given = {"width": 8, "height": 8, "cells": 3, "time": 0}
    one = kernel((8, 8), **given, noiseMode_0="gaseous", noiseSeed_0=7)
    other = kernel((8, 8), **given, noiseMode_0=0)
    assert one.std() > 0 and not numpy.array_equal(one, other)
    numpy.testing.assert_array_equal(one, kernel((8, 8), **given, noiseMode_0="gaseous", noiseSeed_0=7))
    with pytest.raises(ValueError, match='no noise "gasous"; did you mean "gaseous"\\?'):
        kernel((8, 8), **given, noiseMode_0="gasous")
    with pytest.raises(TypeError, match='did you mean "noiseMode_0"\\?'):
        kernel((8, 8), **given, noisMode_0=1)


def test_a_buffer_that_a_kernel_does_not_use_may_be_given_and_left_out(backend):
    kernel = ostra.kernel(make_kernel("Spare", ["(const Block<Float32>) spare", "(Block<Float32>) target"],
                                      "UNIFORM_BUFFER(target)[i] = float(i);"), backend=backend)
    target = numpy.zeros(8, numpy.float32)
    for arguments in ({}, {"spare": numbers(8)}, {}, {"spare": numbers(8)}):
        target[:] = -1
        kernel(8, target=target, **arguments)
        numpy.testing.assert_array_equal(target, numbers(8))
