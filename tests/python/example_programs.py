"""The programs of examples/, for tests."""

import importlib.util
import os
import pathlib
import subprocess
import sys

import pytest

import ostra

EXAMPLES = pathlib.Path(__file__).parents[2] / "examples"


def load(name):
    """The program as a module."""
    description = importlib.util.spec_from_file_location(name, EXAMPLES / name / f"{name}.py")
    module = importlib.util.module_from_spec(description)
    description.loader.exec_module(module)
    return module


def start(command):
    """What a program that has ended leaves: its exit status and what it wrote."""
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=120)


def start_python(name, *arguments):
    return start([sys.executable, "-B", str(EXAMPLES / name / f"{name}.py"), "--backend", "cpu", *arguments])


def run(name, folder, *arguments):
    """The picture that a program leaves."""
    file = folder / f"{name}.png"
    done = start_python(name, "--out", str(file), *arguments)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    return ostra.read_picture(file)


def start_built(name, *arguments):
    """A program in C++."""
    built = [path for path in os.environ.get("OSTRA_EXAMPLES", "").split(":") if path.endswith(f"example_{name}")]
    if not built or not pathlib.Path(built[0]).is_file():
        pytest.skip(f"The program example_{name} is not built, or OSTRA_EXAMPLES does not name it.")
    return start([built[0], *arguments])


def run_built(name, folder, *arguments):
    """The picture that a program in C++ leaves."""
    file = folder / f"{name}.png"
    done = start_built(name, str(file), *arguments)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    return ostra.read_picture(file)
