"""Kernels in the style of other languages, called with numpy arrays: the cases of tests/porting."""

import pathlib
import sys
import unittest

import ostra
from conftest import no_gpu

sys.path.append(str(pathlib.Path(__file__).parents[1] / "porting"))
from porting_cases import KERNELS, PortingCases  # noqa: E402


class Client:
    """Calls kernels on one side; arrays in, arrays out."""

    def __init__(self, backend):
        self.backend = backend

    def run(self, kernel, size, ins, outs, sets=None, type=None):
        arrays = {name: value.copy() for name, value in ins.items()}
        made = ostra.kernel(KERNELS / f"net.example.{kernel}.krn", backend=self.backend, type=type)
        results = made(tuple(map(int, str(size).split("x"))), **arrays, **(sets or {}))
        if not isinstance(results, dict):
            results = {name: results for name in outs if name not in arrays}
        return [arrays[name] if name in arrays else results[name] for name in outs]


class TestOnTheCpu(PortingCases, unittest.TestCase):
    backend = Client("cpu")


@no_gpu
class TestOnAGpu(PortingCases, unittest.TestCase):
    backend = Client("gpu")
