"""ostra.Texture."""

from . import _ostra
from ._png import encode_png as _encode_png

import numpy as _numpy

_WRAP_MODES = {"clamp": 1, "repeat": 0, "border": 2}


class Texture(_ostra.Texture):
    """Texels that kernels read at places between them.

    Programs get the texels with the first call and keep them as long as the texture lives.
    """

    def __init__(self, array, *, wrap="clamp", border=None, coordinates="normalized", srgb=False, layers=False):
        """Copies a numpy array or an ostra.Buffer of float32, float16 or uint8.

        array: the texels, axes from the slowest to x, then the channels where there are several: (height, width, 4).
        wrap: what is beyond the edges: "clamp", "repeat" or "border", or a tuple of them for x, y and z.
        border: the value there for "border": a number or a tuple of up to four.
        coordinates: "normalized", 0 to 1 over the texture, or "texels".
        srgb: whether texels go through the curve of sRGB, alpha too.
        layers: whether the first axis are layers.

        Border values, coordinates in texels, srgb and layers are for the CPU: kernels on a GPU refuse such textures.

        Raises TypeError for other types of numbers and settings, ValueError for settings that are none and for an empty array.
        """
        modes = (wrap,) * 3 if not isinstance(wrap, (tuple, list)) else tuple(wrap)
        for mode in modes:
            _check_choice("wrap", mode, _WRAP_MODES)
        if not 1 <= len(modes) <= 3:
            raise ValueError("wrap has one to three modes, for x, y and z")
        _check_choice("coordinates", coordinates, ("normalized", "texels"))
        if border is not None and "border" not in modes:
            raise ValueError('border: only wrap="border" shows a border')
        values = [] if border is None else _ostra.take_floats("border", border)
        if len(values) > 4:
            raise ValueError("border has up to four numbers")
        if isinstance(array, _ostra.Buffer):
            array = array.numpy()
        if not isinstance(array, _numpy.ndarray):
            raise TypeError(f"a texture takes a numpy array or an ostra.Buffer, not {type(array).__name__}")
        modes = [_WRAP_MODES[mode] for mode in modes]
        super().__init__(
            array,
            modes + [1] * (3 - len(modes)),
            values + [0.0] * (4 - len(values)),
            coordinates == "normalized",
            bool(srgb),
            bool(layers),
        )

    def numpy(self):
        """The texels: a new array, of uint8 or float32."""
        return self.array.copy()

    @property
    def shape(self):
        """The number of texels along each axis, and of channels: the shape of the array."""
        return self.array.shape

    @property
    def dtype(self):
        """The numpy.dtype of the texels: uint8 or float32."""
        return self.array.dtype

    def __repr__(self):
        return f"<ostra.Texture of {self.dtype} {self.shape}>"

    def _repr_png_(self):
        """The picture that notebooks show: (height, width) and 1, 3 or 4 channels; floats are 0 to 1."""
        return _encode_png(self.array)


def _check_choice(name, value, choices):
    if not isinstance(value, str) or value not in choices:
        quoted = [f'"{choice}"' for choice in choices]
        wanted = " or ".join([", ".join(quoted[:-1]), quoted[-1]])
        kind = ValueError if isinstance(value, str) else TypeError
        raise kind(f"{name} is {wanted}, not {_ostra.show_value(value)}")
