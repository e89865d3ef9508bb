"""Rain on a mountain range: erosion.py --steps 500 --out erosion.png, before on the left and after on the right."""

import argparse
import pathlib

import numpy
import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.erosion.krn")


def make_terrain(side, seed=4):
    """Heights from waves of all lengths with random phases: the edges fit each other."""
    waves = numpy.fft.fftfreq(side)[:, None] ** 2 + numpy.fft.rfftfreq(side)[None, :] ** 2
    waves[0, 0] = 1
    random = numpy.random.default_rng(seed)
    spectrum = random.normal(size=waves.shape) + 1j * random.normal(size=waves.shape)
    heights = numpy.fft.irfft2(spectrum * waves**-0.95 * (waves < 1), (side, side))
    heights = (heights - heights.min()) / (heights.max() - heights.min())
    return (heights * side / 4).astype(numpy.float32)


def erode(heights, steps, rain=0.01, carrying=0.3, backend="auto"):
    """Soil and water after some steps: (side, side, 2)."""
    kernel = ostra.kernel(KERNEL, backend=backend)
    start = numpy.stack([heights, numpy.zeros_like(heights)], -1)
    source, target = (ostra.Buffer(start, backend=kernel.backend) for _ in range(2))
    for _ in range(steps):
        kernel(width=heights.shape[1], height=heights.shape[0], rain=rain, carrying=carrying, source=source, target=target)
        source, target = target, source
    return source.numpy()


def paint(heights, water=0):
    """Light from the north-west; grass below, stone and snow above; water where it gathers."""
    slope_y, slope_x = numpy.gradient(heights)
    light = ((1 + 0.7 * slope_x + 0.7 * slope_y) / numpy.sqrt(2 * (1 + slope_x**2 + slope_y**2))).clip(0, 1.2)
    level = heights / (heights.shape[0] / 4)
    colours = [numpy.interp(level, [0.2, 0.5, 0.75, 0.9], values)
               for values in ([0.3, 0.45, 0.6, 1], [0.42, 0.42, 0.55, 1], [0.2, 0.3, 0.5, 1])]
    picture = numpy.stack(colours, -1) * (0.3 + 0.8 * light[..., None])
    wet = numpy.clip(water, 0, 1)[..., None] if numpy.ndim(water) else 0
    return (picture * (1 - wet) + wet * numpy.array([0.15, 0.3, 0.5])).clip(0, 1)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--side", type=int, default=180)
    parser.add_argument("--steps", type=int, default=500)
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="erosion.png")
    options = parser.parse_args()
    before = make_terrain(options.side)
    after = erode(before, options.steps, backend=options.backend)
    pictures = [paint(before), paint(after[..., 0], 0.6 * (after[..., 1] - 1))]
    ostra.write_picture(options.out, numpy.concatenate(pictures, 1))
