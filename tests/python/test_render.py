"""ostra.render: scenes as arrays."""

import json
import pathlib
import threading

import numpy
import pytest

import ostra

from conftest import make_kernel, no_gpu

VERTEX = """
#define KERNELINPUTS \\
(attribute Vector2d32) position

OSTRA_PARALLEL_KERNEL(FlatVertex, KERNELINPUTS)
{
	OutPosition = vec4(position.x, position.y, 0.5, 1.0);
}
OSTRA_PARALLEL_KERNEL_END
"""
FRAGMENT = """
#define KERNELINPUTS \\
(Vector4d32) tint, \\
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(FlatFragment, KERNELINPUTS)
{
	color = UNIFORM(tint);
}
OSTRA_PARALLEL_KERNEL_END
"""


@pytest.fixture
def folder(tmp_path):
    (tmp_path / "flat.vert").write_text(VERTEX)
    (tmp_path / "flat.frag").write_text(FRAGMENT)
    return tmp_path


def make_scene(**changes):
    """The lower left half of the picture in the colour of the value "tint", the rest black."""
    draw = {
        "stages": ["flat.vert", "flat.frag"],
        "vertices": {"attributes": {"position": [[-1, -1], [1, -1], [-1, 1]]}},
        "uniforms": {"tint": "tint"},
        "state": {"useAlphaBlending": False},
        **changes,
    }
    return {
        "size": [8, 6],
        "values": {"tint": [1, 0, 0, 1]},
        "passes": [{"clear": {"color": [0, 0, 0, 1]}, "colors": ["rgba.f32"], "draws": [draw]}],
    }


@no_gpu
def test_a_scene_becomes_an_array_of_its_size(folder):
    picture = ostra.render(make_scene(), folder=folder)
    assert picture.dtype == numpy.float32 and picture.shape == (6, 8, 4)
    assert picture[5, 0].tolist() == [1, 0, 0, 1] and picture[0, 7].tolist() == [0, 0, 0, 1]


@no_gpu
def test_a_scene_file_is_the_same_as_its_dict(folder):
    (folder / "scene.json").write_text(json.dumps(make_scene()))
    from_file = ostra.render(folder / "scene.json")
    numpy.testing.assert_array_equal(from_file, ostra.render(make_scene(), folder=folder))


@no_gpu
def test_values_and_the_size_of_a_scene_are_replaced(folder):
    picture = ostra.render(make_scene(), (4, 2), values={"tint": (0, 0.25, 0.5, 1)}, folder=folder)
    assert picture.shape == (2, 4, 4) and picture[1, 0].tolist() == [0, 0.25, 0.5, 1]


@no_gpu
def test_a_scene_runs_its_kernels_and_draws_their_buffers():
    scenes = pathlib.Path(__file__).parents[2] / "scripts" / "demo" / "scenes"
    picture = ostra.render(scenes / "points.json", (32, 18))
    assert picture.shape == (18, 32, 4) and picture[..., :3].std() > 0.01


@no_gpu
def test_kernels_and_scenes_take_turns(folder):
    invert = ostra.kernel(make_kernel("Invert", ["(const Block<Vector4d32>) source", "(Block<Vector4d32>) target"],
                                      "UNIFORM_BUFFER(target)[i] = vec4(1.0) - UNIFORM_BUFFER(source)[i];"),
                          backend="gpu")
    for shade in (0.25, 0.5):
        picture = ostra.render(make_scene(), values={"tint": (shade,) * 4}, folder=folder)
        assert picture[5, 0, 0] == shade
        assert invert(source=picture)[5, 0, 0] == 1 - shade


@no_gpu
def test_a_scene_is_drawn_in_a_thread(folder):
    pictures = []
    thread = threading.Thread(target=lambda: pictures.append(ostra.render(make_scene(), folder=folder)))
    thread.start()
    thread.join()
    numpy.testing.assert_array_equal(pictures[0], ostra.render(make_scene(), folder=folder))


@pytest.mark.parametrize("change, message", [
    ({"uniforms": {"tnit": [1, 0, 0, 1]}}, 'passes\\[0\\].draws\\[0\\].uniforms.tnit: .* did you mean "tint"'),
    ({"stages": ["flat.vert", "none.frag"]}, "stages"),
    ({"vertices": {"shap": "quad"}}, 'did you mean "shape"'),
])
def test_a_mistake_in_a_scene_names_its_place(folder, change, message):
    with pytest.raises(ostra.Error, match=message):
        ostra.render(make_scene(**change), folder=folder)


def test_a_mistake_in_a_stage_file_names_its_line(folder):
    (folder / "flat.frag").write_text(FRAGMENT.replace("(Vector4d32) tint", "(Vector4d32 tint"))
    with pytest.raises(ostra.Error, match="flat.frag:[0-9]+: error"):
        ostra.render(make_scene(), folder=folder)


def test_a_scene_that_is_not_there_is_an_error(tmp_path):
    with pytest.raises(ostra.Error, match="none.json"):
        ostra.render(tmp_path / "none.json")


@pytest.mark.parametrize("error, arguments, message", [
    (TypeError, {"scene": 3}, '"scene" is a path, or a dict, not 3'),
    (TypeError, {"scene": {"size": {1, 2}}}, '"scene" is not made of'),
    (TypeError, {"scene": {"size": [float("nan"), 2]}}, '"scene" is not made of'),
    (TypeError, {"scene": "a.json", "folder": "."}, '"folder" is for a scene that is a dict'),
    (TypeError, {"size": 3}, '"size" is a tuple of two whole numbers'),
    (TypeError, {"size": (3, 4, 5)}, '"size" is a tuple of two whole numbers'),
    (ValueError, {"size": (0, 4)}, "at least one pixel"),
    (ValueError, {"size": (20000, 4)}, "1 to 16384 pixels"),
    (TypeError, {"values": [1]}, '"values" is a dict'),
    (TypeError, {"values": {3: 1}}, 'a name in "values" is a str, not 3'),
    (TypeError, {"values": {"tint": "red"}}, '"tint"'),
    (ValueError, {"values": {"tint": float("nan")}}, '"tint" is made of finite numbers'),
    (ValueError, {"values": {"tin": 1}}, 'the scene has no value "tin"; did you mean "tint"'),
])
def test_wrong_arguments_are_refused(folder, error, arguments, message):
    arguments = {"scene": make_scene(), **arguments}
    if isinstance(arguments["scene"], dict):
        arguments["folder"] = folder
    with pytest.raises(error, match=message):
        ostra.render(**arguments)


def test_a_scene_in_itself_is_refused(folder):
    scene = make_scene()
    scene["passes"].append(scene)
    with pytest.raises(TypeError, match='"scene" is not made of'):
        ostra.render(scene, folder=folder)
