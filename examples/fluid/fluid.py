"""Two jets of dye that meet in a basin: fluid.py --steps 300 --out fluid.png; with --frames 50 a film."""

import argparse
import pathlib

import numpy
import ostra

FOLDER = pathlib.Path(__file__).parent


class Fluid:
    """A flow (velocity, dyes) that no pressure resists: all stays on the device but for the jets."""

    def __init__(self, width, height, backend="auto"):
        if min(width, height) < 2:
            raise ValueError("a fluid needs sides of at least 2")
        self.advect, self.press, self.project = (
            ostra.kernel(FOLDER / f"net.example.{name}.krn", backend=backend) for name in ("advect", "pressure", "project"))
        self.size = dict(width=width, height=height)
        zeros = numpy.zeros((height, width, 4), numpy.float32)
        self.flow, self.next = (ostra.Buffer(zeros, backend=self.advect.backend) for _ in range(2))
        self.pressure, self.other = (ostra.Buffer(zeros[..., 0].copy(), backend=self.advect.backend) for _ in range(2))

    def relax(self, rounds=40):
        """Lets the pressure even out what gathers."""
        for _ in range(rounds):
            self.press(flow=self.flow, source=self.pressure, target=self.other, **self.size)
            self.pressure, self.other = self.other, self.pressure
        self.project(pressure=self.pressure, flow=self.flow, **self.size)

    def run(self, step=1.0):
        self.advect(step=step, source=self.flow, target=self.next, **self.size)
        self.flow, self.next = self.next, self.flow
        self.relax()


def blow(fluid, strength=3.0):
    """Two jets from the sides, a little above and below the middle."""
    flow = fluid.flow.numpy()
    height, width = flow.shape[:2]
    size = max(2, height // 20)
    flow[height * 9 // 20 - size:height * 9 // 20, :2 + size] = strength, 0, 1, 0
    flow[height - height * 9 // 20:height - height * 9 // 20 + size, width - 2 - size:] = -strength, 0, 0, 1
    fluid.flow.write(flow)


def paint(flow):
    red, blue = flow[..., 2:3], flow[..., 3:4]
    colours = 1.6 * red * numpy.array([1.0, 0.35, 0.1]) + 1.6 * blue * numpy.array([0.1, 0.45, 1.0])
    return (0.03 + colours).clip(0, 1)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--size", type=int, nargs=2, default=(320, 200))
    parser.add_argument("--steps", type=int, default=300, help="of each frame")
    parser.add_argument("--frames", type=int, default=1)
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="fluid.png")
    options = parser.parse_args()
    if min(options.size) < 8:
        parser.error("--size needs sides of at least 8")
    fluid, name = Fluid(*options.size, backend=options.backend), pathlib.Path(options.out)
    for frame in range(options.frames):
        for _ in range(options.steps):
            blow(fluid)
            fluid.run()
        number = f"{frame:04}" if options.frames > 1 else ""
        ostra.write_picture(name.with_stem(name.stem + number), paint(fluid.flow.numpy()))
