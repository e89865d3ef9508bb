"""The examples that change a terrain and a flow."""

import numpy
import pytest

from example_programs import load, run

# The terrain.


def test_soil_is_neither_made_nor_lost(backend):
    program = load("erosion")
    before = program.make_terrain(48)
    after = program.erode(before, 200, backend=backend)
    assert abs(after[..., 0] - before).max() > 1
    assert abs(after[..., 0].sum(dtype=float) - before.sum(dtype=float)) < 1e-4 * before.sum(dtype=float)
    # Each step takes a fiftieth of the water and adds the rain.
    expected = 0.01 / 0.02 * (1 - 0.98**200)
    assert abs(after[..., 1].mean(dtype=float) - expected) < 1e-3 * expected
    assert (after[..., 1] > 0).all()


def test_rain_makes_slopes_gentler_and_fills_hollows():
    program = load("erosion")
    before = program.make_terrain(48)
    after = program.erode(before, 200, backend="cpu")

    def roughness(heights):
        return sum((abs(heights - numpy.roll(heights, 1, axis)) ** 2).mean() for axis in (0, 1))

    assert roughness(after[..., 0]) < 0.7 * roughness(before)
    assert before.min() < after[..., 0].min() and after[..., 0].max() < before.max()
    level = after.sum(-1)
    low, high = (after[..., 1][mask].mean() for mask in (level < numpy.median(level), level > numpy.median(level)))
    assert low > 1.2 * high  # water gathers below


def test_an_even_terrain_stays_as_it_is():
    heights = numpy.full((16, 16), 3, numpy.float32)
    numpy.testing.assert_array_equal(load("erosion").erode(heights, 20, backend="cpu")[..., 0], heights)


def test_the_terrain_is_shown_before_and_after(tmp_path):
    picture = run("erosion", tmp_path, "--side", "40", "--steps", "50")
    assert picture.shape == (40, 80, 4) and not numpy.array_equal(picture[:, :40], picture[:, 40:])


# The flow.


def measure_spread(flow):
    """What leaves the cells inside, less what comes in."""
    return 0.5 * (flow[1:-1, 2:, 0] - flow[1:-1, :-2, 0] + flow[2:, 1:-1, 1] - flow[:-2, 1:-1, 1])


def test_the_pressure_evens_out_what_gathers(backend):
    program = load("fluid")
    fluid = program.Fluid(32, 32, backend)
    flow = numpy.zeros((32, 32, 4), numpy.float32)
    y, x = numpy.mgrid[:32, :32] - 15.5
    flow[..., 0], flow[..., 1] = (side * numpy.exp(-(x * x + y * y) / 20) for side in (x, y))  # a burst
    fluid.flow.write(flow)
    before = numpy.abs(measure_spread(flow)).mean()
    fluid.relax(400)
    assert numpy.abs(measure_spread(fluid.flow.numpy())).mean() < 0.15 * before


def test_a_steady_flow_carries_dye_along(backend):
    program = load("fluid")
    fluid = program.Fluid(40, 24, backend)
    flow = numpy.zeros((24, 40, 4), numpy.float32)
    flow[..., 0] = 2  # cells a step
    flow[10:14, 8:12, 2] = 1
    fluid.flow.write(flow)
    for _ in range(5):
        fluid.advect(step=1.0, source=fluid.flow, target=fluid.next, **fluid.size)
        fluid.flow, fluid.next = fluid.next, fluid.flow
    expected = numpy.zeros((24, 40), numpy.float32)
    expected[10:14, 18:22] = 1
    numpy.testing.assert_allclose(fluid.flow.numpy()[..., 2], expected, atol=1e-4)


@pytest.mark.parametrize("sides", [(1, 8), (8, 1)])
def test_a_flow_of_one_row_is_refused(sides):
    with pytest.raises(ValueError, match="^a fluid needs sides of at least 2$"):
        load("fluid").Fluid(*sides, "cpu")


def test_jets_meet_in_the_middle():
    program = load("fluid")
    fluid = program.Fluid(48, 32, "cpu")
    for _ in range(25):
        program.blow(fluid)
        fluid.run()
    flow = fluid.flow.numpy()
    red, blue = flow[..., 2], flow[..., 3]
    assert numpy.isfinite(flow).all() and ((red >= 0) & (red <= 1)).all()
    numpy.testing.assert_allclose(blue, red[::-1, ::-1], atol=0.02)  # the basin is the same from both sides
    assert red[:, 12:].sum() > red[:, :12].sum() * 0.2 and red[:, 40:].sum() < red[:, :8].sum()


def test_the_flow_is_drawn(tmp_path):
    first, later = (run("fluid", tmp_path, "--size", "48", "32", "--steps", steps) for steps in ("1", "20"))
    assert (later[..., 0] > 0.3).sum() > 1.5 * (first[..., 0] > 0.3).sum()
