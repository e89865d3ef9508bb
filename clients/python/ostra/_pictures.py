"""Pictures in files as numpy arrays."""

import os as _os

from . import _ostra

import numpy as _numpy


def read_picture(path):
    """The picture in a file: an array of float32 of the shape (height, width, 4), row by row from the top.

    Values are those of the file: integers are divided by their largest value, so that 8-bit 255 is 1. Missing alpha is 1;
    a picture without colour has equal red, green and blue. A picture of a turned camera is turned upright.
    docs/picture-files.md lists the kinds of files.

    path: of the file; "render.exr#diffuse" names a layer, "scan.tif#2" a page.

    Raises TypeError for what is no path, and ostra.Error for a file that cannot be read or is damaged.
    """
    return _ostra.read_picture(_check_path(path))


def picture_info(path):
    """What the file of a picture says of it: a dict. The file is read whole.

    "format": such as "PNG". "width", "height": as of read_picture. "channels": 1 (gray), 2 (gray and alpha), 3 or 4.
    "dtype": of a channel in the file, such as "uint8" or "float16". "colors": "linear", "sRGB", "gamma" (and "gamma": what
    light is raised to), "profile" (an ICC profile, which is not looked into), or None where the file says nothing.
    "orientation": as EXIF counts them, before the picture was turned upright; 1 for upright.

    Raises as read_picture.
    """
    return _ostra.picture_info(_check_path(path))


def write_picture(path, picture, *, quality=None, bits=None, channels=None):
    """Writes a picture whole or not at all, as the suffix says: .png (8 bits), .exr or .tif (32-bit floats), .hdr or .jpg.

    picture: an array of float32 (0 to 1), float64, uint8 or uint16 of the shape (height, width) or (height, width, channels)
        with 1, 2 (gray and alpha), 3 or 4 channels.
    quality: of JPEG, 1 (smallest file) to 100 (nearest to the picture); without it 90. JPEG and HDR have no alpha: it is left out.
    bits: of a channel in a PNG, 8 or 16, without it 16 for an array of uint16, else 8; in a TIFF 8, 16 or 32 (floats), without it 32;
        in an EXR 16 (half floats) or 32, without it 32.
    channels: in a PNG, EXR, TIFF or JPEG, 1 (gray), 2 (gray and alpha), 3 or 4; without it all that there are.

    Raises TypeError for other arrays and settings, and ostra.Error for another suffix, for settings that such a file does
    not know and for a file that cannot be written.
    """
    path = _check_path(path)
    if not isinstance(picture, _numpy.ndarray) or picture.dtype.name not in ("float32", "float64", "uint8", "uint16"):
        raise TypeError(f'"picture" is an array of float32, float64, uint8 or uint16, not {_describe(picture)}')
    count = picture.shape[2] if picture.ndim == 3 else 1
    if picture.ndim not in (2, 3) or count not in (1, 2, 3, 4) or picture.size == 0:
        raise TypeError(f'"picture" has the shape (height, width) or (height, width, 1 to 4), not {picture.shape}')
    if bits is None and picture.dtype == _numpy.uint16 and path.lower().endswith(".png"):
        bits = 16
    settings = [_check_setting("quality", quality), _check_setting("bits", bits), _check_setting("channels", channels)]
    pixels = _numpy.ones((*picture.shape[:2], 4), _numpy.float32)
    values = picture.reshape(*picture.shape[:2], count)
    if picture.dtype.kind == "u":
        values = values / _numpy.float32(_numpy.iinfo(picture.dtype).max)
    colors = min(count, 3) if count != 2 else 1
    pixels[..., :3] = values[..., :colors]
    if count in (2, 4):
        pixels[..., 3] = values[..., -1]
    _ostra.write_picture(path, pixels, *settings)


def _check_setting(name, value):
    """The number of a setting; 0 where none is given."""
    if value is None:
        return 0
    if isinstance(value, bool) or not isinstance(value, int) or not 1 <= value <= 100:
        raise TypeError(f'"{name}" is a whole number from 1 to 100, not {value!r}')
    return value


def _check_path(path):
    if not isinstance(path, (str, bytes, _os.PathLike)):
        raise TypeError(f'"path" is the path of a file, not {_ostra.show_value(path)}')
    path = _os.fsdecode(path)
    _ostra.check_text("path", path)
    return path


def _describe(value):
    return value.dtype.name if isinstance(value, _numpy.ndarray) else type(value).__name__
