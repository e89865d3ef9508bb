"""A part of the Mandelbrot set: fractal.py --centre -0.7436 0.1318 --extent 0.01 --out picture.png"""

import argparse
import pathlib

import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.fractal.krn")


def draw(width=360, height=240, centre=(-0.65, 0.0), extent=3.2, maximum=400, backend="auto"):
    """The picture around `centre` that is `extent` wide: (height, width, 4)."""
    fractal = ostra.kernel(KERNEL, backend=backend)
    return fractal((width, height), width=width, height=height, centre=centre, extent=extent, maximum=maximum)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--centre", type=float, nargs=2, default=(-0.65, 0.0))
    parser.add_argument("--extent", type=float, default=3.2)
    parser.add_argument("--size", type=int, nargs=2, default=(360, 240))
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="fractal.png")
    options = parser.parse_args()
    ostra.write_picture(options.out, draw(*options.size, options.centre, options.extent, backend=options.backend))
