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


@pytest.mark.parametrize("channels", [1, 2, 3, 4])
@pytest.mark.parametrize("dtype", [numpy.uint8, numpy.uint16])
def test_a_png_keeps_every_number_and_its_channels(tmp_path, dtype, channels):
    largest = numpy.iinfo(dtype).max
    picture = numpy.random.default_rng(2).integers(0, largest + 1, (7, 9, channels)).astype(dtype)
    ostra.write_picture(tmp_path / "a.png", picture, channels=channels)
    info = ostra.picture_info(tmp_path / "a.png")
    assert info["channels"] == channels and info["dtype"] == numpy.dtype(dtype).name
    again = (ostra.read_picture(tmp_path / "a.png") * largest).round().astype(dtype)
    numpy.testing.assert_array_equal(again[..., 0], picture[..., 0])
    numpy.testing.assert_array_equal(again[..., 3], picture[..., -1] if channels in (2, 4) else largest)
    if channels > 2:
        numpy.testing.assert_array_equal(again[..., :3], picture[..., :3])


def test_an_exr_has_the_numbers_that_were_written(tmp_path):
    picture = numpy.random.default_rng(1).normal(size=(4, 6, 4)).astype(numpy.float32)
    ostra.write_picture(str(tmp_path / "a.exr"), picture)
    numpy.testing.assert_array_equal(ostra.read_picture(tmp_path / "a.exr"), picture)


@pytest.mark.parametrize("channels", [1, 2, 3, 4])
def test_an_exr_may_have_half_floats_and_fewer_channels(tmp_path, channels):
    halves = numpy.random.default_rng(1).normal(size=(4, 6, channels)).astype(numpy.float16)
    ostra.write_picture(tmp_path / "a.exr", halves.astype(numpy.float32), bits=16, channels=channels)
    info = ostra.picture_info(tmp_path / "a.exr")
    assert (info["dtype"], info["channels"]) == ("float16", channels)
    again = ostra.read_picture(tmp_path / "a.exr")
    colours = slice(0, 1 if channels < 3 else 3)
    numpy.testing.assert_array_equal(again[..., colours], halves[..., colours])
    numpy.testing.assert_array_equal(again[..., 3], halves[..., -1] if channels in (2, 4) else 1)
    with pytest.raises(ostra.Error, match="OpenEXR pictures cannot have 8 bits: possible are 16 and 32"):
        ostra.write_picture(tmp_path / "b.exr", halves.astype(numpy.float32), bits=8)


def test_arrays_in_any_order_are_written(tmp_path):
    picture = numpy.asfortranarray(ramp(4, 6, 3))[::2, ::-1]
    ostra.write_picture(tmp_path / "a.png", picture)
    numpy.testing.assert_array_equal((ostra.read_picture(tmp_path / "a.png")[..., :3] * 255).round(), picture)


@pytest.mark.parametrize("picture, message", [
    ([1.0], "of float32, float64, uint8 or uint16, not list"),
    (ramp(2, 2).astype("i4"), "of float32, float64, uint8 or uint16, not int32"),
    (ramp(4), "has the shape .*, not \\(4,\\)"),
    (ramp(2, 2, 5), "not \\(2, 2, 5\\)"),
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


def test_an_hdr_is_near_to_what_was_written(tmp_path):
    picture = numpy.random.default_rng(1).lognormal(0, 4, (20, 30, 3)).astype(numpy.float32)
    ostra.write_picture(tmp_path / "a.hdr", picture)
    again = ostra.read_picture(tmp_path / "a.hdr")
    assert (abs(again[..., :3] - picture) <= picture.max(-1, keepdims=True) / 256).all() and (again[..., 3] == 1).all()
    ostra.write_picture(tmp_path / "b.HDR", again)
    assert (tmp_path / "a.hdr").read_bytes() == (tmp_path / "b.HDR").read_bytes()
    assert ostra.picture_info(tmp_path / "a.hdr") == {
        "format": "Radiance HDR", "width": 30, "height": 20, "channels": 3, "dtype": "float32", "colors": "linear",
        "orientation": 1}
    with pytest.raises(ostra.Error, match="Radiance HDR pictures have no choice of bits"):
        ostra.write_picture(tmp_path / "a.hdr", picture, bits=8)


def write_optional(path, picture, **settings):
    try:
        ostra.write_picture(path, picture, **settings)
    except ostra.Error as error:
        if "install the package" in str(error):
            pytest.skip("libjpeg-dev or libtiff-dev was not found when ostra was built.")
        raise


def test_a_jpeg_is_near_to_what_was_written(tmp_path):
    picture = numpy.linspace(0, 1, 40 * 30, dtype=numpy.float32).reshape(30, 40)
    write_optional(tmp_path / "a.JPG", picture)
    again = ostra.read_picture(tmp_path / "a.JPG")
    assert again.shape == (30, 40, 4)
    assert abs(again[..., 0] - picture).max() < 8 / 255
    assert (again[..., 3] == 1).all()
    assert ostra.picture_info(tmp_path / "a.JPG") == {
        "format": "JPEG", "width": 40, "height": 30, "channels": 1, "dtype": "uint8", "colors": None, "orientation": 1}


def test_a_tiff_has_the_numbers_that_were_written(tmp_path):
    picture = numpy.random.default_rng(1).normal(size=(4, 6, 4)).astype(numpy.float32)
    write_optional(tmp_path / "a.tif", picture)
    numpy.testing.assert_array_equal(ostra.read_picture(tmp_path / "a.tif"), picture)
    numpy.testing.assert_array_equal(ostra.read_picture(str(tmp_path / "a.tif") + "#1"), picture)
    with pytest.raises(ostra.Error, match="no page \"2\": it has 1"):
        ostra.read_picture(str(tmp_path / "a.tif") + "#2")
    integers = numpy.random.default_rng(2).integers(0, 65536, (5, 3)).astype(numpy.uint16)
    ostra.write_picture(tmp_path / "b.tiff", integers, bits=16, channels=1)
    info = ostra.picture_info(tmp_path / "b.tiff")
    assert (info["format"], info["dtype"], info["channels"]) == ("TIFF", "uint16", 1)
    numpy.testing.assert_array_equal((ostra.read_picture(tmp_path / "b.tiff")[..., 1] * 65535).round(), integers)


def test_the_quality_of_a_jpeg_is_said(tmp_path):
    picture = numpy.random.default_rng(1).random((30, 40, 3))
    for name, settings in (("default", {}), ("90", {"quality": 90}), ("30", {"quality": 30})):
        write_optional(tmp_path / f"{name}.jpeg", picture, **settings)
    assert (tmp_path / "default.jpeg").read_bytes() == (tmp_path / "90.jpeg").read_bytes()
    assert (tmp_path / "30.jpeg").stat().st_size < (tmp_path / "90.jpeg").stat().st_size
    for quality in ("90", 90.0, True, 0, 101):
        with pytest.raises(TypeError, match='"quality" is a whole number'):
            ostra.write_picture(tmp_path / "a.jpg", picture, quality=quality)
    with pytest.raises(ostra.Error, match="PNG pictures have no quality"):
        ostra.write_picture(tmp_path / "a.png", picture, quality=50)


def test_what_a_file_says_is_told(tmp_path):
    picture = ramp(3, 5, 4)
    ostra.write_picture(tmp_path / "a.png", picture)
    ostra.write_picture(tmp_path / "a.exr", picture)
    same = {"width": 5, "height": 3, "channels": 4, "orientation": 1}
    assert ostra.picture_info(tmp_path / "a.png") == {"format": "PNG", "dtype": "uint8", "colors": None, **same}
    assert ostra.picture_info(tmp_path / "a.exr") == {"format": "OpenEXR", "dtype": "float32", "colors": "linear", **same}
    with pytest.raises(ostra.Error, match="missing.png"):
        ostra.picture_info(tmp_path / "missing.png")
