"""Two galaxies that pass each other, every star drawn to every other: nbody.py --stars 6000 --out nbody.png"""

import argparse
import pathlib

import numpy
import ostra

KERNEL = pathlib.Path(__file__).with_name("net.example.attract.krn")
SOFTENING = 0.05


def make_galaxy(stars, centre, velocity, tilt, random):
    """A disc that turns around a heavy centre: bodies (x, y, z, mass) and their velocities."""
    radius = random.uniform(0.15, 1.0, stars) ** 0.7
    angle = random.uniform(0, 2 * numpy.pi, stars)
    speed = numpy.sqrt(radius**2 / (radius**2 + SOFTENING**2) ** 1.5)
    disc = numpy.stack([radius * numpy.cos(angle), radius * numpy.sin(angle), 0.02 * random.normal(size=stars)], 1)
    motion = numpy.stack([-speed * numpy.sin(angle), speed * numpy.cos(angle), 0 * angle], 1)
    turn = numpy.array([[1, 0, 0], [0, numpy.cos(tilt), -numpy.sin(tilt)], [0, numpy.sin(tilt), numpy.cos(tilt)]])
    bodies = numpy.zeros((stars + 1, 4))
    bodies[1:, :3] = disc @ turn.T
    bodies[:, :3] += centre
    bodies[0, 3], bodies[1:, 3] = 1, 0.05 / stars
    velocities = numpy.zeros((stars + 1, 3))
    velocities[1:] = motion @ turn.T
    return bodies, velocities + velocity


def make_start(stars, seed=1):
    random = numpy.random.default_rng(seed)
    parts = [make_galaxy(stars // 2, (-1.1, -0.4, 0), (0.35, 0.1, 0), 0.5, random),
             make_galaxy(stars // 2, (1.1, 0.4, 0), (-0.35, -0.1, 0), -0.9, random)]
    bodies, velocities = (numpy.concatenate(part).astype(numpy.float32) for part in zip(*parts))
    return bodies, velocities


def run(bodies, velocities, steps, step=0.01, backend="auto"):
    """Bodies and velocities after some steps of the leapfrog method."""
    attract = ostra.kernel(KERNEL, backend=backend)
    bodies, velocities = bodies.copy(), velocities.copy()
    for _ in range(steps):
        bodies[:, :3] += velocities * numpy.float32(step / 2)
        velocities += attract(count=len(bodies), softening=SOFTENING, bodies=bodies)[:, :3] * numpy.float32(step)
        bodies[:, :3] += velocities * numpy.float32(step / 2)
    return bodies, velocities


def paint(bodies, width=360, height=240, extent=4.0):
    """Stars as light, seen along z; the centres a little brighter."""
    span = extent / 2 * numpy.array([[-height / width, height / width], [-1, 1]])
    light, _, _ = numpy.histogram2d(-bodies[:, 1], bodies[:, 0], (height, width), span, weights=1 + 20 * (bodies[:, 3] == 1))
    glow = sum(numpy.roll(light, (dy, dx), (0, 1)) / (1 + 2 * (dx * dx + dy * dy)) ** 1.5 for dy in range(-2, 3) for dx in range(-2, 3))
    return 1 - numpy.exp(-glow[..., None] * numpy.array([0.5, 0.6, 0.9]))


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--stars", type=int, default=6000)
    parser.add_argument("--steps", type=int, default=215)
    parser.add_argument("--backend", default="auto")
    parser.add_argument("--out", default="nbody.png")
    options = parser.parse_args()
    ostra.write_picture(options.out, paint(run(*make_start(options.stars), options.steps, backend=options.backend)[0]))
