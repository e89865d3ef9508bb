"""The examples that look at something: a scene, a cloud, a photo."""

import math

import numpy

from example_programs import load, run

# The scene.


def test_rays_end_where_the_ball_is(backend):
    picture, depth = load("raymarch").draw(61, 41, 0.0, backend)
    # The eye is at (0, 2.4, -6) and looks at (0, 0.8, 0); the ball of radius 1 is at (0, 1, 0).
    eye, ahead = numpy.array([0, 2.4, -6]), numpy.array([0, -1.6, 6]) / math.hypot(1.6, 6)
    to_centre = numpy.array([0, 1, 0]) - eye
    along = to_centre @ ahead
    expected = along - math.sqrt(1 - (to_centre @ to_centre - along**2))
    assert abs(depth[20, 30] - expected) < 0.01
    red, green, blue = picture[20, 30, :3]
    assert red > 1.5 * green and red > 1.5 * blue
    numpy.testing.assert_array_equal(depth[0], 40)  # the sky is far
    assert (picture[0, :, 2] > picture[0, :, 0]).all()


def test_the_floor_is_where_rays_meet_it():
    _, depth = load("raymarch").draw(60, 40, 0.0, "cpu")
    pixel = numpy.array([-29.5 + 0, -19.5 + 0]) / 40  # the lower left corner
    ahead = numpy.array([0, -1.6, 6]) / math.hypot(1.6, 6)
    up = numpy.array([0, ahead[2], -ahead[1]])
    along = 1.4 * ahead + pixel[0] * numpy.array([1, 0, 0]) + pixel[1] * up
    along /= numpy.linalg.norm(along)
    assert abs(depth[39, 0] - 2.4 / -along[1]) < 0.02


def test_the_scene_is_drawn_from_the_command_line(tmp_path):
    first, second = (run("raymarch", tmp_path, "--size", "32", "24", "--turn", turn) for turn in ("0", "1"))
    assert first.shape == (24, 32, 4) and not numpy.array_equal(first, second)


# The cloud.


def test_an_even_cloud_dims_as_it_is_long(backend):
    cloud = numpy.full((8, 8, 8), 0.5, numpy.float32)
    light = load("volume").draw(cloud, 9, 9, turn=0.0, dimming=1.5, steps=400, backend=backend)
    assert abs(light[4, 4, 3] - (1 - math.exp(-0.5 * 1.5 * 2))) < 2e-3  # the cube is 2 long
    assert (light[0] == 0).all()  # beside the cube


def test_the_cloud_is_that_of_the_atom(tmp_path):
    program = load("volume")
    cloud = program.make_cloud(33)
    assert cloud.max() == 1
    assert cloud[16].max() > 0.4 and cloud[:, 16].max() < 1e-6 and cloud[:, :, 16].max() < 1e-6  # planes without light
    numpy.testing.assert_allclose(cloud, cloud[:, ::-1], atol=1e-5)
    picture = run("volume", tmp_path, "--size", "40", "30")[..., :3].sum(-1)
    assert picture.max() > 0.5 and picture[0].max() < 0.01
    numpy.testing.assert_allclose(picture, picture[::-1], atol=0.02)


# The photo.


def measure_error(picture, truth):
    return float(((picture - truth)[..., :3] ** 2).mean())


def test_noise_is_removed_and_edges_stay(backend):
    program = load("denoise")
    truth = numpy.ones((24, 32, 4), numpy.float32)
    truth[:, :16, :3] = [0.2, 0.3, 0.6]
    truth[:, 16:, :3] = [0.8, 0.6, 0.3]
    noisy = program.add_noise(truth, 0.08)
    result = program.denoise(noisy, radius=4, strength=0.12, backend=backend)
    assert measure_error(result, truth) < measure_error(noisy, truth) / 6
    numpy.testing.assert_allclose(result[:, 16:17, 0].mean() - result[:, 15:16, 0].mean(), 0.6, atol=0.06)
    numpy.testing.assert_array_equal(result[..., 3], 1)


def test_an_even_picture_stays_as_it_is():
    picture = numpy.full((6, 8, 4), 0.25, numpy.float32)
    numpy.testing.assert_allclose(load("denoise").denoise(picture, backend="cpu"), picture, rtol=1e-6)


def test_a_photo_is_shown_beside_its_noise(tmp_path):
    program = load("denoise")
    picture = run("denoise", tmp_path, "--size", "40", "30")
    assert picture.shape == (30, 80, 4)
    truth = program.ostra.read_picture(program.PICTURE)[310:340, 140:180]
    assert measure_error(picture[:, 40:], truth) < measure_error(picture[:, :40], truth) / 2
