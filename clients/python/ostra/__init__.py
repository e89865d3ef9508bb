"""Data-parallel kernels on the CPU or a GPU, called with numpy arrays.

    import numpy, ostra
    scale = ostra.kernel("net.example.scale.krn")
    result = scale(count=1000, factor=2, source=numpy.ones(1000, numpy.float32))
"""

from . import _ostra  # first: it says where it does not work

from ._ostra import Buffer, Counter, Error
from ._inquiries import Profile, configuration, configure, devices, limit_memory, memory, profile
from ._kernel import Kernel, kernel
from ._parity import parity
from ._pictures import picture_info, read_picture, write_picture
from ._png import encode_png as _encode_png
from ._progress import progress
from ._render import render
from ._texture import Texture

__all__ = [
    "Buffer",
    "Counter",
    "Error",
    "Kernel",
    "Profile",
    "Texture",
    "configuration",
    "configure",
    "devices",
    "from_dlpack",
    "kernel",
    "limit_memory",
    "memory",
    "parity",
    "picture_info",
    "profile",
    "progress",
    "read_picture",
    "render",
    "write_picture",
]


def _show_buffer(buffer):
    """The picture that notebooks show: (height, width) and 1, 3 or 4 channels; floats are 0 to 1."""
    return _encode_png(buffer.numpy()) if len(buffer.shape) in (2, 3) else None


Buffer._repr_png_ = _show_buffer


def from_dlpack(array):
    """An ostra.Buffer on the CPU in the memory of an array of another package, without a copy.

    array: an object with DLPack's methods whose numbers lie in the memory of the CPU, in C order. Memory that its owner
        says to be read-only is so here, too: kernels that may write refuse it.

    Raises TypeError for other objects and orders, BufferError for memory of another device.
    """
    if isinstance(array, type):  # its methods are those of its objects
        raise TypeError(f'"array" is an array with DLPack\'s methods, not {_ostra.show_value(array)}')
    return _ostra.share(array)
