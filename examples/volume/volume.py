"""A cloud of light in three dimensions, an electron of a hydrogen atom: volume.py --turn 0.6 --out volume.png"""

import argparse
import pathlib

import numpy
import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.volume.krn")


def make_cloud(side=96):
    """How likely the electron is in each place, with the quantum numbers 4, 2 and 1; 1 where it is most likely."""
    z, y, x = numpy.mgrid[-1:1:side * 1j, -1:1:side * 1j, -1:1:side * 1j] * 34
    radius = numpy.sqrt(x * x + y * y + z * z) + 1e-9
    wave = radius**2 * (12 - radius) * numpy.exp(-radius / 4) * (y / radius) * (x / radius)
    return (wave**2 / (wave**2).max()).astype(numpy.float32)


def draw(cloud, width=320, height=240, turn=0.6, dimming=9.0, steps=200, backend="auto"):
    """Light and opacity: (height, width, 4)."""
    kernel = ostra.kernel(KERNEL, backend=backend)
    return kernel((width, height), width=width, height=height, turn=turn, dimming=dimming, steps=steps, cloud=cloud)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--turn", type=float, default=0.6)
    parser.add_argument("--size", type=int, nargs=2, default=(320, 240))
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="volume.png")
    options = parser.parse_args()
    light = draw(make_cloud() ** numpy.float32(0.6), *options.size, options.turn, backend=options.backend)
    ostra.write_picture(options.out, numpy.ascontiguousarray(light[..., :3]).clip(0, 1))
