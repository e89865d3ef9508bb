"""Calls with random arguments: what does not fit is refused with a message of one line, and nothing breaks."""

import random

import numpy
import pytest

import ostra
from conftest import make_kernel

ADD = make_kernel("Add", ["(Float32) term", "(const Block<Float32>) source", "(Block<Float32>) target", "(AtomicUInt32*) hits"],
                  "uint old;\nAtomicAdd(GetAtomicCounter(hits), 1u, old);\n"
                  "UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] + UNIFORM(term);")
REFUSALS = (TypeError, ValueError, OverflowError, BufferError, ostra.Error)
CALLS = 1500


def make_array(draw):
    kind = draw.choice(["f4", ">f4", "f8", "f2", "u1", "i4", "?", "c8", "O", "U3", "M8[s]", [("x", "f4"), ("y", "i4")]])
    array = numpy.zeros([draw.choice([0, 1, 2, 64]) for _ in range(draw.randrange(4))], kind)
    if draw.random() < 0.3:
        array = array.T[::-1] if array.ndim else array
    array.flags.writeable = draw.random() < 0.8
    return array


def make_value(draw):
    return draw.choice([
        lambda: make_array(draw),
        lambda: numpy.ones(64, numpy.float32),
        lambda: ostra.Buffer(numpy.ones(64, numpy.float32)),
        lambda: ostra.Counter(draw.randrange(2**32)),
        lambda: ostra.Texture(numpy.ones((4, 4), numpy.float32)),
        lambda: draw.choice([0, 1, -1, 64, 2**31, 2**32, 2**64, 10**400, 0.5, 1e300, float("nan"), 1j, True, None, ...]),
        lambda: draw.choice(["", "a", "cpu", "repeat", "\0", "\ud800", "x" * 300, b"", b"\xff"]),
        lambda: [make_value(draw) for _ in range(draw.randrange(4))],
        lambda: {draw.choice(["a", "size", 3]): make_value(draw)},
        lambda: draw.choice([object(), int, len, ostra, ostra.Buffer, range(3), slice(3), {1, 2}]),
    ])()


def make_call(draw, add):
    buffer = ostra.Buffer(numpy.ones(64, numpy.float32))
    texture = ostra.Texture(numpy.ones((4, 4), numpy.float32))
    function, names = draw.choice([
        (add, ["term", "source", "target", "hits", "trem"]),
        (ostra.Buffer, ["array", "backend"]),
        (ostra.Counter, ["value"]),
        (ostra.Texture, ["array", "wrap", "border", "coordinates", "srgb", "layers"]),
        (ostra.kernel, ["backend", "name", "checked"]),
        (ostra.from_dlpack, ["array"]),
        (ostra.render, ["scene", "size", "values", "folder"]),
        (ostra.picture_info, ["path"]),
        (ostra.read_picture, ["path"]),
        (ostra.configure, ["g_none"]),
        (ostra.memory, ["backend"]),
        (ostra.progress, ["steps", "text"]),
        (buffer.write, ["array"]),
        (buffer.numpy, []),
        (ostra.Buffer.numpy, []),
        (ostra.Buffer.write, ["array"]),
        (texture.numpy, []),
    ])
    positional = [make_value(draw) for _ in range(draw.randrange(3))]
    named = {name: make_value(draw) for name in names if draw.random() < 0.6}
    return function, positional, named


@pytest.mark.parametrize("seed", [1])
def test_random_calls_are_refused_or_done(seed, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    draw = random.Random(seed)
    add = ostra.kernel(ADD, checked=True)
    done = refused = 0
    for _ in range(CALLS):
        function, positional, named = make_call(draw, add)
        try:
            function(*positional, **named)
            done += 1
        except REFUSALS as error:
            refused += 1
            text = str(error)
            # A method of a class that is called without any object: the message is not of this package.
            is_without_object = not positional and function in (ostra.Buffer.numpy, ostra.Buffer.write)
            is_line = len(text.splitlines()) == 1 and "Invoked with" not in text
            assert is_line or (text and is_without_object), (function, positional, named, text)
    assert done > 20 and refused > 20
    counted = add(term=1, source=numpy.ones(64, numpy.float32))
    assert counted["hits"] == 64 and (counted["target"] == 2).all()
