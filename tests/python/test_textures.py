"""Settings of ostra.Texture for volumes and layers, against numpy."""

import functools
import itertools

import numpy
import pytest

import ostra
from conftest import make_kernel

COUNT = 256
SAMPLE = make_kernel("SampleVolume", ["(const TextureSampler_3D_R_F32_LINEAR) cloud", "(const Block<Vector4d32>) places",
                                      "(Block<Float32>) target"],
                     f"if (i >= {COUNT}u) return;\n"
                     "UNIFORM_BUFFER(target)[i] = SampleTexture(cloud, UNIFORM_BUFFER(places)[i].xyz);")

MODES = [("clamp",) * 3, ("repeat",) * 3, ("border",) * 3, *itertools.permutations(("clamp", "repeat", "border"))]


@functools.cache
def make_sampling(backend):
    return ostra.kernel(SAMPLE, backend=backend)


def wrap(texel, extent, mode):
    """The texel that is read along an axis, and where it is one of the border."""
    if mode == "repeat":
        return texel % extent, numpy.zeros(texel.shape, bool)
    outside = (texel < 0) | (texel >= extent)
    return texel.clip(0, extent - 1), outside if mode == "border" else numpy.zeros(texel.shape, bool)


def sample(volume, texels, modes, border):
    columns = [wrap(texels[:, axis], volume.shape[2 - axis], modes[axis]) for axis in range(3)]
    values = volume[columns[2][0], columns[1][0], columns[0][0]]
    return numpy.where(columns[0][1] | columns[1][1] | columns[2][1], numpy.float32(border), values)


def make_volume():
    """A volume of which all sides differ, and texels in it and around it."""
    draw = numpy.random.default_rng(1)
    volume = draw.random((3, 5, 4), numpy.float32)
    texels = draw.integers(-7, 12, (COUNT, 3))
    # Repeated, the CPU reads one texel too far there (docs/textures.md).
    texels[(texels < 0) & (texels % numpy.array(volume.shape[::-1]) == 0)] = 0
    places = numpy.zeros((COUNT, 4), numpy.float32)
    places[:, :3] = texels + 0.5
    return volume, texels, places


def normalize(places, volume):
    return places / numpy.array([*volume.shape[::-1], 1], numpy.float32)


@pytest.mark.parametrize("modes", MODES)
def test_every_axis_of_a_volume_has_a_wrap_mode_of_its_own(modes, backend):
    volume, texels, places = make_volume()
    result = make_sampling(backend)(COUNT, cloud=ostra.Texture(volume, wrap=modes), places=normalize(places, volume))
    numpy.testing.assert_allclose(result.ravel()[:COUNT], sample(volume, texels, modes, 0), atol=0.01)


def test_a_volume_has_a_border_of_its_own_and_coordinates_in_texels():
    volume, texels, places = make_volume()
    modes = ("border", "repeat", "border")
    cloud = ostra.Texture(volume, wrap=modes, border=2.5, coordinates="texels")
    result = make_sampling("cpu")(COUNT, cloud=cloud, places=places)
    numpy.testing.assert_allclose(result.ravel()[:COUNT], sample(volume, texels, modes, 2.5), atol=0.01)


def test_layers_of_volumes_begin_with_the_first():
    volume, texels, places = make_volume()
    layers = ostra.Texture(numpy.stack([volume, volume + 1]), layers=True)
    result = make_sampling("cpu")(COUNT, cloud=layers, places=normalize(places, volume))
    numpy.testing.assert_allclose(result.ravel()[:COUNT], sample(volume, texels, ("clamp",) * 3, 0), atol=0.01)
