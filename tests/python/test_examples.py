"""The programs of examples/ at a small size: what they compute is right, and their command lines leave pictures."""

import math

import numpy
import pytest

import ostra
from example_programs import EXAMPLES, load, run, run_built, start_built, start_python


def test_every_example_has_a_program_a_kernel_a_picture_and_a_place_in_the_gallery():
    gallery = (EXAMPLES / "README.md").read_text(encoding="utf-8")
    folders = sorted(path for path in EXAMPLES.iterdir() if path.is_dir() and path.name != "notebooks")
    assert len(folders) == 10
    for folder in folders:
        assert (folder / f"{folder.name}.py").is_file() and list(folder.glob("*.krn")), folder
        assert f"]({folder.name}/{folder.name}.py)" in gallery
        picture = EXAMPLES.parent / "docs" / "pictures" / "examples" / f"{folder.name}.png"
        assert f"](../docs/pictures/examples/{folder.name}.png)" in gallery
        height, width, _ = ostra.read_picture(picture).shape
        assert max(height, width) <= 480, picture


# The programs in C++.


def test_the_fractal_of_c_plus_plus_is_that_of_python(tmp_path, backend):
    picture = run_built("fractal", tmp_path, backend, "45", "30")
    ostra.write_picture(tmp_path / "expected.png", load("fractal").draw(45, 30, backend=backend))
    numpy.testing.assert_array_equal(picture, ostra.read_picture(tmp_path / "expected.png"))


def test_the_substances_of_c_plus_plus_react_as_those_of_python(tmp_path, backend):
    picture = run_built("reaction_diffusion", tmp_path, backend, "50")
    start = numpy.zeros((160, 160, 2), numpy.float32)
    start[..., 0] = 1
    start[70:90, 70:90] = 0.5, 0.25
    amount = numpy.float32(2.8) * load("reaction_diffusion").Simulation(start, backend=backend).run(50)[..., 1]
    assert amount.max() > 0.5
    numpy.testing.assert_allclose(picture[..., 0], amount.clip(0, 1), atol=0.51 / 255)


@pytest.mark.parametrize("name, arguments", [
    ("fractal", []), ("fractal", ["cup"]), ("fractal", ["cpu", "30"]), ("fractal", ["cpu", "30", "2x"]),
    ("fractal", ["cpu", "0", "20"]), ("fractal", ["cpu", "30", "8193"]), ("fractal", ["cpu", "30", "20", "10"]),
    ("reaction_diffusion", []), ("reaction_diffusion", ["GPU"]), ("reaction_diffusion", ["cpu", "many"]),
    ("reaction_diffusion", ["cpu", "-1"]), ("reaction_diffusion", ["cpu", "1", "2"]),
])
def test_programs_of_c_plus_plus_refuse_other_arguments(name, arguments, tmp_path):
    file = tmp_path / "none.png"
    done = start_built(name, *([str(file)] if arguments else []), *arguments)
    assert (done.returncode, done.stdout) == (2, "") and not file.exists()
    assert done.stderr.startswith(f"usage: {name} FILE.png [cpu|gpu] [") and done.stderr.count("\n") == 1


@pytest.mark.parametrize("name", ["fluid", "reaction_diffusion"])
@pytest.mark.parametrize("sides", [("6", "6"), ("1", "40"), ("40", "-3")])
def test_sizes_that_are_too_small_are_refused(name, sides, tmp_path):
    file = tmp_path / "none.png"
    done = start_python(name, "--size", *sides, "--out", str(file))
    assert (done.returncode, done.stdout) == (2, "") and not file.exists()
    assert done.stderr.endswith("error: --size needs sides of at least 8\n")


# Fractal.


def test_the_fractal_is_black_where_points_stay(backend):
    width, height, maximum = 48, 32, 60
    picture = load("fractal").draw(width, height, (-0.65, 0.0), 3.2, maximum, backend)
    x, y = (numpy.arange(count) - 0.5 * (count - 1) for count in (width, height))
    c = -0.65 + (x[None, :] + 1j * y[:, None]) * 3.2 / width
    z, stays = numpy.zeros_like(c), numpy.ones(c.shape, bool)
    for _ in range(maximum):
        stays &= abs(z) < 16
        z[stays] = z[stays] ** 2 + c[stays]
    stays &= abs(z) < 16
    black = (picture[..., :3] == 0).all(-1)
    assert 0.1 < stays.mean() < 0.5
    assert (black == stays).mean() > 0.995  # float32 may decide otherwise at the very edge
    numpy.testing.assert_array_equal(black, black[::-1])


def test_the_fractal_is_drawn_from_the_command_line(tmp_path):
    picture = run("fractal", tmp_path, "--size", "30", "20", "--centre", "2", "2", "--extent", "0.1")
    assert picture.shape == (20, 30, 4) and picture[..., :3].any(-1).all()  # far outside: nothing is black


# Reaction and diffusion.


def step_by_numpy(fields, feed, kill):
    around = -fields
    for dy, dx in [(dy, dx) for dy in (-1, 0, 1) for dx in (-1, 0, 1) if dy or dx]:
        around = around + (0.05 if dy and dx else 0.2) * numpy.roll(fields, (dy, dx), (0, 1))
    x, y = fields[..., 0], fields[..., 1]
    change = numpy.stack([feed * (1 - x) - x * y * y, x * y * y - (feed + kill) * y], -1)
    return fields + around * [1.0, 0.5] + change


def test_substances_react_as_by_numpy(backend):
    program = load("reaction_diffusion")
    start = program.make_start(40, 24)
    simulation = program.Simulation(start, backend=backend)
    expected = start.astype(numpy.float64)
    for _ in range(20):
        expected = step_by_numpy(expected, 0.037, 0.06)
    fields = simulation.run(20)
    numpy.testing.assert_allclose(fields, expected, atol=1e-5)
    assert not numpy.allclose(fields, start, atol=0.01)
    assert simulation.source.transfers[1] == (1 if backend == "gpu" else 0)  # nothing is downloaded in between


def test_spots_grow(tmp_path):
    program = load("reaction_diffusion")
    start = program.make_start(60, 40)
    fields = program.Simulation(start, backend="cpu").run(1500)
    assert ((fields >= 0) & (fields <= 1)).all()
    assert (fields[..., 1] > 0.15).sum() > 3 * (start[..., 1] > 0.15).sum()
    first, second = (run("reaction_diffusion", tmp_path, "--size", "60", "40", "--steps", steps) for steps in ("0", "1500"))
    assert second[..., :3].mean() > first[..., :3].mean() + 0.1


# Bodies.


def test_bodies_attract_each_other_as_by_numpy(backend):
    program = load("nbody")
    bodies, velocities = program.make_start(60)
    away = bodies[None, :, :3].astype(float) - bodies[:, None, :3]
    cube = ((away**2).sum(-1) + program.SOFTENING**2) ** 1.5
    expected = (away * (bodies[None, :, 3] / cube)[..., None]).sum(1)
    kernel = ostra.kernel(program.KERNEL, backend=backend)
    found = kernel(count=len(bodies), softening=program.SOFTENING, bodies=bodies)
    numpy.testing.assert_allclose(found[:, :3], expected, rtol=1e-3, atol=1e-5)


def test_bodies_keep_their_momentum_and_energy():
    program = load("nbody")
    bodies, velocities = program.make_start(100)

    def measure(bodies, velocities):
        mass = bodies[:, 3].astype(float)
        distance = ((bodies[:, None, :3].astype(float) - bodies[None, :, :3]) ** 2).sum(-1)
        potential = (mass[:, None] * mass / numpy.sqrt(distance + program.SOFTENING**2))
        energy = 0.5 * (mass * (velocities**2).sum(1)).sum() - 0.5 * (potential.sum() - potential.trace())
        return (mass[:, None] * velocities).sum(0), energy

    momentum, energy = measure(bodies, velocities)
    later = program.run(bodies, velocities, 100, backend="cpu")
    assert abs(later[0][:, :3] - bodies[:, :3]).max() > 0.3
    after, later_energy = measure(*later)
    numpy.testing.assert_allclose(after, momentum, atol=1e-4)
    assert math.isclose(later_energy, energy, rel_tol=0.01)


def test_stars_are_drawn(tmp_path):
    picture = run("nbody", tmp_path, "--stars", "600", "--steps", "2")
    assert picture.shape == (240, 360, 4)
    light = picture[..., 2]
    assert 200 < (light > 0.4).sum() < 3000 and (light < 0.1).mean() > 0.7  # stars in the dark


# Sounds.


def test_the_spectrum_is_that_of_numpy(backend):
    program = load("spectrogram")
    sound = numpy.random.default_rng(3).normal(size=2000).astype(numpy.float32)
    power = program.measure(sound, hop=200, backend=backend)
    window = 0.5 - 0.5 * numpy.cos(2 * numpy.pi * numpy.arange(512) / 512)
    parts = numpy.stack([sound[k * 200:k * 200 + 512] * window for k in range(len(power))])
    expected = abs(numpy.fft.rfft(parts)[:, :256]) ** 2
    assert power.shape == (8, 256)
    numpy.testing.assert_allclose(power, expected, rtol=1e-3, atol=1e-3)


def test_a_tone_is_found_where_it_is(tmp_path):
    program = load("spectrogram")
    time = numpy.arange(4000) / 8000
    power = program.measure(numpy.sin(2 * numpy.pi * 1000 * time).astype(numpy.float32), backend="cpu")
    assert (power.argmax(1) == 1000 / (8000 / 512)).all()
    picture = run("spectrogram", tmp_path)
    rows = picture[..., :3].sum(-1)
    steady = 255 - round(3000 / (8000 / 512))  # the tone that the example makes
    assert (rows[steady] > 1).mean() > 0.95 and (rows[steady - 20] > 1).mean() < 0.1


def test_a_sound_without_a_whole_part_is_refused_and_silence_is_dark():
    program = load("spectrogram")
    with pytest.raises(ValueError, match="^the sound has 511 samples: a part has 512$"):
        program.measure(numpy.zeros(511, numpy.float32), backend="cpu")
    power = program.measure(numpy.zeros(512, numpy.float32), backend="cpu")
    with numpy.errstate(all="raise"):
        picture = program.paint(power)
    assert picture.shape == (256, 1, 3) and (picture == 0).all()


# Colours.


def test_colours_of_a_picture_are_found(backend):
    program = load("palette")
    random = numpy.random.default_rng(1)
    wanted = numpy.float32([[0.9, 0.1, 0.1, 1], [0.1, 0.8, 0.2, 1], [0.1, 0.2, 0.9, 1]])
    choice = random.integers(3, size=(20, 30))
    picture = wanted[choice] + numpy.float32([1, 1, 1, 0]) * random.normal(0, 0.02, (20, 30, 1)).astype(numpy.float32)
    colours, labels, errors = program.find_colours(picture, 3, seed=2, backend=backend)
    order = [int(((colours - colour) ** 2).sum(1).argmin()) for colour in wanted]
    assert sorted(order) == [0, 1, 2]
    numpy.testing.assert_allclose(colours[order], wanted, atol=0.01)
    numpy.testing.assert_array_equal(labels, numpy.array(order)[choice])
    assert all(later <= earlier + 1e-7 for earlier, later in zip(errors, errors[1:])) and errors[-1] < errors[0]


def test_a_picture_is_drawn_in_its_colours(tmp_path):
    picture = run("palette", tmp_path, "--colours", "4", "--shrink", "12")
    assert len(numpy.unique((picture * 255).round().astype(int).reshape(-1, 4), axis=0)) == 4
