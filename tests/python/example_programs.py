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


def run(name, folder, *arguments):
    """The picture that a program leaves."""
    file = folder / f"{name}.png"
    command = [sys.executable, "-B", str(EXAMPLES / name / f"{name}.py"), "--out", str(file), "--backend", "cpu", *arguments]
    done = subprocess.run(command, capture_output=True, text=True, check=False, timeout=120)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    return ostra.read_picture(file)


def run_built(name, folder, *arguments):
    """The picture that a program in C++ leaves."""
    built = [path for path in os.environ.get("OSTRA_EXAMPLES", "").split(":") if path.endswith(f"example_{name}")]
    if not built or not pathlib.Path(built[0]).is_file():
        pytest.skip(f"The program example_{name} is not built, or OSTRA_EXAMPLES does not name it.")
    file = folder / f"{name}.png"
    done = subprocess.run([built[0], str(file), *arguments], capture_output=True, text=True, check=False, timeout=120)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
    return ostra.read_picture(file)
