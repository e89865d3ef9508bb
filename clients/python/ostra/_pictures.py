"""Pictures in files as numpy arrays."""

import os as _os

from . import _ostra

import numpy as _numpy


def read_picture(path):
    """The picture in a PNG or OpenEXR file: an array of float32 of the shape (height, width, 4), row by row from the top.

    Values are those of the file: integers are divided by their largest value, so that 8-bit 255 is 1. Missing alpha is 1;
    a picture without colour has equal red, green and blue.

    Raises TypeError for what is no path, and ostra.Error for a file that cannot be read or is damaged.
    """
    return _ostra.read_picture(_check_path(path))


def write_picture(path, picture):
    """Writes a picture whole or not at all, as the suffix says: .png (8 bits) or .exr (32-bit floats).

    picture: an array of float32 (0 to 1), float64 or uint8 of the shape (height, width) or (height, width, channels) with
        1, 3 or 4 channels.

    Raises TypeError for other arrays, and ostra.Error for another suffix and a file that cannot be written.
    """
    path = _check_path(path)
    if not isinstance(picture, _numpy.ndarray) or picture.dtype.name not in ("float32", "float64", "uint8"):
        raise TypeError(f'"picture" is an array of float32, float64 or uint8, not {_describe(picture)}')
    channels = picture.shape[2] if picture.ndim == 3 else 1
    if picture.ndim not in (2, 3) or channels not in (1, 3, 4) or picture.size == 0:
        raise TypeError(f'"picture" has the shape (height, width) or (height, width, 1, 3 or 4), not {picture.shape}')
    pixels = _numpy.ones((*picture.shape[:2], 4), _numpy.float32)
    pixels[..., : max(channels, 3)] = picture.reshape(*picture.shape[:2], channels)
    if picture.dtype == _numpy.uint8:
        pixels[..., : max(channels, 3)] /= 255
    _ostra.write_picture(path, pixels)


def _check_path(path):
    if not isinstance(path, (str, bytes, _os.PathLike)):
        raise TypeError(f'"path" is the path of a file, not {_ostra.show_value(path)}')
    path = _os.fsdecode(path)
    _ostra.check_text("path", path)
    return path


def _describe(value):
    return value.dtype.name if isinstance(value, _numpy.ndarray) else type(value).__name__
