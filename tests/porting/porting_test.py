"""Kernels in the style of other languages give what numpy gives, on the CPU and on the GPU, and are accepted for every target.

    porting_test.py OSTRA FOLDER [CASE ...]
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

try:
    import numpy as np
except ImportError:
    print("skipped: there is no numpy; Debian's package is python3-numpy")
    sys.exit(77)

from porting_cases import KERNELS, PortingCases

OSTRA = pathlib.Path(sys.argv.pop(1)).resolve()
FOLDER = pathlib.Path(sys.argv.pop(1)).resolve()


def call(*arguments):
    return subprocess.run([OSTRA, *map(str, arguments)], capture_output=True, text=True, cwd=FOLDER, check=False)


def has_device():
    devices = call("info").stdout.partition("\nGPU devices\n")[2]
    return re.search(r"^  \d+  ", devices.partition("\n\n")[0], re.MULTILINE) is not None


class Backend:
    """Runs kernels on one side; arrays in, arrays out."""

    def __init__(self, name):
        self.name = name

    def run(self, kernel, size, ins, outs, sets=None, type=None):
        arguments = ["run", KERNELS / f"net.example.{kernel}.krn", "--backend", self.name, "--size", size]
        arguments += ["--cache-dir", FOLDER / "cache" / "ostra"]
        with tempfile.TemporaryDirectory(dir=FOLDER) as folder:
            for name, value in ins.items():
                np.save(f"{folder}/{name}.npy", value)
                arguments += ["--in", f"{name}={folder}/{name}.npy"]
            for name in outs:
                arguments += ["--out", f"{name}={folder}/{name}_out.npy"]
            for name, value in (sets or {}).items():
                text = ",".join(map(repr, np.asarray(value).tolist())) if np.ndim(value) else value
                arguments += ["--set", f"{name}={text}"]
            done = call(*arguments, *(["--template-argument", type] if type else []))
            if done.returncode != 0:
                raise AssertionError(f"{kernel} on {self.name}: {done.stdout}{done.stderr}")
            return [np.load(f"{folder}/{name}_out.npy") for name in outs]


class OnCpu(PortingCases, unittest.TestCase):
    backend = Backend("cpu")


@unittest.skipUnless(has_device(), "there is no Vulkan device: nothing runs on a GPU")
class OnGpu(PortingCases, unittest.TestCase):
    backend = Backend("gpu")


class Files(unittest.TestCase):
    def test_every_kernel_has_a_case(self):
        cases = {name.removeprefix("test_") for name in dir(PortingCases) if name.startswith("test_")}
        kernels = {path.name.split(".")[2] for path in KERNELS.glob("*.krn")}
        self.assertEqual(kernels, cases)

    def test_every_target_takes_every_kernel(self):
        for path in sorted(KERNELS.glob("*.krn")):
            # Metal has no 64-bit floats.
            kernel = path.name.split(".")[2]
            targets = ["CPU", "GLSL", "HLSL"] if kernel == "doublesum" else ["CPU", "GLSL", "HLSL", "METAL"]
            more = ["--template-argument", "vec3"] if kernel == "convolve" else []
            with self.subTest(path.name):
                done = call("check", path, *more, *(word for target in targets for word in ("--target", target)))
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
                self.assertIn(": 0 errors", done.stdout + done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
