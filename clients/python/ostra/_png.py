"""Arrays as PNG files in memory, for notebooks."""

import struct as _struct
import zlib as _zlib

import numpy as _numpy


def encode_png(texels):
    """The picture that an array is: (height, width) or (height, width, 1, 3 or 4) numbers; floats are 0 to 1.

    None for arrays that are no pictures: of other shapes, of integers other than uint8, empty, or beyond 2**24 pixels.
    """
    channels = texels.shape[2] if texels.ndim == 3 else 1
    is_number = texels.dtype == _numpy.uint8 or texels.dtype.kind == "f"
    if texels.ndim not in (2, 3) or channels not in (1, 3, 4) or not is_number:
        return None
    height, width = texels.shape[:2]
    if not 1 <= height * width <= 2**24:
        return None
    if texels.dtype != _numpy.uint8:
        texels = (_numpy.nan_to_num(texels).clip(0, 1) * 255 + 0.5).astype(_numpy.uint8)
    rows = _numpy.zeros((height, width * channels + 1), _numpy.uint8)
    rows[:, 1:] = texels.reshape(height, -1)
    kind = {1: 0, 3: 2, 4: 6}[channels]
    return (
        b"\x89PNG\r\n\x1a\n"
        + _chunk(b"IHDR", _struct.pack(">IIBBBBB", width, height, 8, kind, 0, 0, 0))
        + _chunk(b"IDAT", _zlib.compress(rows.tobytes()))
        + _chunk(b"IEND", b"")
    )


def _chunk(name, data):
    return _struct.pack(">I", len(data)) + name + data + _struct.pack(">I", _zlib.crc32(name + data))
