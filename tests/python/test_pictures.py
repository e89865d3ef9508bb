"""ostra.read_picture and ostra.write_picture."""

import numpy
import pytest

import ostra


def ramp(*shape):
    return (numpy.arange(numpy.prod(shape)) % 256).astype(numpy.uint8).reshape(shape)


@pytest.mark.parametrize("channels", [None, 1, 3, 4])
def test_a_png_has_the_bytes_that_were_written(tmp_path, channels):
    picture = ramp(3, 5) if channels is None else ramp(3, 5, channels)
    ostra.write_picture(tmp_path / "a.png", picture)
    again = ostra.read_picture(tmp_path / "a.png")
    assert again.dtype == numpy.float32 and again.shape == (3, 5, 4)
    colours = numpy.broadcast_to(picture.reshape(3, 5, -1)[..., :3], (3, 5, 3))
    numpy.testing.assert_array_equal((again[..., :3] * 255).round(), colours)
    numpy.testing.assert_array_equal((again[..., 3] * 255).round(), picture[..., 3] if channels == 4 else 255)


def test_an_exr_has_the_numbers_that_were_written(tmp_path):
    picture = numpy.random.default_rng(1).normal(size=(4, 6, 4)).astype(numpy.float32)
    ostra.write_picture(str(tmp_path / "a.exr"), picture)
    numpy.testing.assert_array_equal(ostra.read_picture(tmp_path / "a.exr"), picture)


def test_arrays_in_any_order_are_written(tmp_path):
    picture = numpy.asfortranarray(ramp(4, 6, 3))[::2, ::-1]
    ostra.write_picture(tmp_path / "a.png", picture)
    numpy.testing.assert_array_equal((ostra.read_picture(tmp_path / "a.png")[..., :3] * 255).round(), picture)


@pytest.mark.parametrize("picture, message", [
    ([1.0], "of float32, float64 or uint8, not list"),
    (ramp(2, 2).astype("i4"), "of float32, float64 or uint8, not int32"),
    (ramp(4), "has the shape .*, not \\(4,\\)"),
    (ramp(2, 2, 2), "not \\(2, 2, 2\\)"),
    (ramp(0, 2), "not \\(0, 2\\)"),
])
def test_arrays_that_are_no_pictures_are_refused(tmp_path, picture, message):
    with pytest.raises(TypeError, match='"picture" .*' + message):
        ostra.write_picture(tmp_path / "a.png", picture)
    assert not (tmp_path / "a.png").exists()


def test_files_that_are_no_pictures_are_named(tmp_path):
    (tmp_path / "a.png").write_bytes(b"no picture")
    with pytest.raises(ostra.Error, match="a.png"):
        ostra.read_picture(tmp_path / "a.png")
    with pytest.raises(ostra.Error, match="missing.png"):
        ostra.read_picture(tmp_path / "missing.png")
    with pytest.raises(ostra.Error, match="a.gif"):
        ostra.write_picture(tmp_path / "a.gif", ramp(2, 2))
    for wrong in (5, None):
        with pytest.raises(TypeError, match='"path" is the path of a file, not '):
            ostra.read_picture(wrong)
    with pytest.raises(ValueError, match='"path" has a null character'):
        ostra.write_picture("a\0b.png", ramp(2, 2))
