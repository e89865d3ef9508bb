"""ostra.render."""

import json as _json
import math as _math
import numbers as _numbers
import os as _os
import warnings as _warnings

from . import _ostra


def render(scene, size=None, *, values=None, folder=None):
    """Draws a scene with graphics programs on a GPU, or on a driver that plays one.

    scene: the path of a scene file, or a scene as a dict with the keys of such a file (docs/scene-files.md).
    size: the width and height of the picture in pixels: a tuple. Without it the scene says it.
    values: numbers that replace values of the scene: a dict, {"degrees": 30, "colour": (1, 0, 0)}.
    folder: for a dict, where its files are: a path. Without it the working folder. Files of a scene file are beside it.

    Returns an array of float32 of the shape (height, width, 4), row by row from the top: what the first target of the
    last pass holds, without a curve. ostra.write_picture keeps it.

    Raises TypeError for other arguments, ValueError for sizes and for values that the scene does not have, and
    ostra.Error with the place in the scene, or the line of a stage file or kernel, for what is wrong with them, and
    without a GPU. What was done to pictures that did not fit is a UserWarning.
    """
    if isinstance(scene, dict):
        path, text = "scene", _write_scene(scene)
        folder = _take_path("folder", _os.curdir if folder is None else folder)
    elif folder is not None:
        raise TypeError('"folder" is for a scene that is a dict: files of a scene file are beside it')
    else:
        path, text, folder = _take_path("scene", scene, ", or a dict"), "", ""
    picture, notes = _ostra.render(path, text, folder, *_take_size(size), _take_values(values))
    for note in notes:
        _warnings.warn(note, stacklevel=2)
    return picture


def _write_scene(scene):
    try:
        return _json.dumps(scene, allow_nan=False)
    except (TypeError, ValueError, RecursionError) as error:
        raise TypeError(f'"scene" is not made of dicts, lists, texts and finite numbers: {error}') from None


def _take_path(name, path, also=""):
    if not isinstance(path, (str, bytes, _os.PathLike)):
        raise TypeError(f'"{name}" is a path{also}, not {_ostra.show_value(path)}')
    path = _os.fsdecode(path)
    _ostra.check_text(name, path)
    return path


def _take_size(size):
    if size is None:
        return 0, 0
    sides = tuple(size) if isinstance(size, (tuple, list)) else ()
    if len(sides) != 2 or not all(isinstance(side, _numbers.Integral) and not isinstance(side, bool) for side in sides):
        raise TypeError(f'"size" is a tuple of two whole numbers, width and height, not {_ostra.show_value(size)}')
    if not all(1 <= side < 2**31 for side in sides):
        raise ValueError(f"a picture has at least one pixel along each side, and at most 16384, not {_ostra.show_value(size)}")
    return tuple(int(side) for side in sides)


def _take_values(values):
    if values is None:
        return []
    if not isinstance(values, dict):
        raise TypeError(f'"values" is a dict of numbers by name, not {_ostra.show_value(values)}')
    taken = []
    for name, value in values.items():
        if not isinstance(name, str):
            raise TypeError(f'a name in "values" is a str, not {_ostra.show_value(name)}')
        _ostra.check_text("values", name)
        numbers = _ostra.take_doubles(name, value)
        if not all(map(_math.isfinite, numbers)):
            raise ValueError(f'"{name}" is made of finite numbers, not {_ostra.show_value(value)}')
        taken.append((name, numbers))
    return taken
