"""Spots that grow and divide: reaction_diffusion.py --frames 60 --out frame.png writes frame0000.png and so on."""

import argparse
import pathlib

import numpy
import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.reactiondiffusion.krn")


def make_start(width, height, seed=1):
    """One substance everywhere, with drops of the other."""
    fields = numpy.zeros((height, width, 2), numpy.float32)
    fields[..., 0] = 1
    places = numpy.random.default_rng(seed)
    for _ in range(max(1, width * height // 4000)):
        x, y = places.integers(width - 6), places.integers(height - 6)
        fields[y:y + 6, x:x + 6] = 0.5, 0.25
    return fields


class Simulation:
    """Both fields stay on the device; a step swaps them."""

    def __init__(self, start, feed=0.037, kill=0.06, backend="auto"):
        self.step = ostra.kernel(KERNEL, backend=backend)
        self.source, self.target = (ostra.Buffer(start, backend=self.step.backend) for _ in range(2))
        self.settings = dict(width=start.shape[1], height=start.shape[0], feed=feed, kill=kill)

    def run(self, steps):
        for _ in range(steps):
            self.step(source=self.source, target=self.target, **self.settings)
            self.source, self.target = self.target, self.source
        return self.source.numpy()


def paint(fields):
    """From dark blue over orange to white."""
    amount = (fields[..., 1:] * 2.8).clip(0, 1)
    return (amount ** numpy.float32([0.8, 1.4, 2.4]) + numpy.float32([0.02, 0.03, 0.15]) * (1 - amount)).clip(0, 1)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--size", type=int, nargs=2, default=(300, 200))
    parser.add_argument("--steps", type=int, default=3000, help="of each frame")
    parser.add_argument("--frames", type=int, default=1)
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="reaction_diffusion.png")
    options = parser.parse_args()
    if min(options.size) < 8:
        parser.error("--size needs sides of at least 8")
    simulation = Simulation(make_start(*options.size), backend=options.backend)
    name = pathlib.Path(options.out)
    for frame in range(options.frames):
        number = f"{frame:04}" if options.frames > 1 else ""
        ostra.write_picture(name.with_stem(name.stem + number), paint(simulation.run(options.steps)))
