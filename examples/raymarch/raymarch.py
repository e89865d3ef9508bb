"""A scene that is one formula: raymarch.py --turn 0.5 --out raymarch.png"""

import argparse
import pathlib

import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.scene.krn")


def draw(width=360, height=240, turn=0.5, backend="auto"):
    """The picture, and how far its points are from the eye, which goes around the scene by `turn` radians."""
    made = ostra.kernel(KERNEL, backend=backend)((width, height), width=width, height=height, turn=turn)
    return made["picture"], made["depth"]


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--turn", type=float, default=0.5)
    parser.add_argument("--size", type=int, nargs=2, default=(360, 240))
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="raymarch.png")
    options = parser.parse_args()
    ostra.write_picture(options.out, draw(*options.size, options.turn, options.backend)[0])
