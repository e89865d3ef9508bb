"""Every row of docs/kernel-words.md is compiled for all targets and compared on the CPU and the GPU.

    rows_test.py OSTRA FOLDER ROOT [CASE ...]

Kernels name the rows that they are about: "// row: FIRST CELL" stands before the lines that PUT results, whose bits must be
the same on both sides, "// row 1e-5: FIRST CELL" before those that are NEAR each other, too.
"""

import math
import pathlib
import random
import re
import struct
import subprocess
import sys
import unittest

OSTRA = pathlib.Path(sys.argv.pop(1)).resolve()
FOLDER = pathlib.Path(sys.argv.pop(1)).resolve()
ROOT = pathlib.Path(sys.argv.pop(1)).resolve()
KERNELS = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(ROOT / "editors"))

import word_table  # noqa: E402

COUNT = 500  # no whole groups or lanes
UNWRITTEN = 0xA5A5A5A5
EXECUTED = "functions language wide small groups textures noises own".split()
# Not every language has the numbers of these.
TARGETS = {"wide": ["CPU", "GLSL"], "small": ["CPU", "GLSL", "METAL"], "language": ["CPU", "GLSL", "HLSL", "METAL"]}

# Rows that say what is refused: a body, a parameter, and what all that refuse it say.
REFUSED = {
    "vectors of integers of 8, 16 and 64 bits and of 64-bit floats (`Vec2<Int64>`)":
        ("\tresults[0] = 1u;\n", "(Block<Vec2<Int64>>) wide", "Vec2"),
    "elements of `Bool`": ("\tUNIFORM_BUFFER(results)[0] = 1u;\n", "(Block<Bool>) flags", "Bool"),
    "a bare name in place of `UNIFORM(name)`":
        ("\tUNIFORM_BUFFER(results)[0] = scale;\n", "(UInt32) scale", "is reached with UNIFORM(scale)"),
    "`CPU_PASS_BUFFER(b)`":
        ("\tUNIFORM_BUFFER(results)[0] = First(CPU_PASS_BUFFER(results));\n", "(UInt32) scale",
         "buffers cannot be passed to functions on every GPU"),
}

# Rows that the command line has no way to, or that are about one side: the test that holds them, and a text in it.
HELD_BY = {
    "`KERNEL_RETURN;`": ("tests/drawport/shader_words_test.cpp", '"KERNEL_RETURN;"'),
    "`(GradientRenderData) g`, `SampleGradient(UNIFORM(g), t)`":
        ("tests/tool/render_test.cpp", "GradientsAreSampledAndEmptyOnesAreBlackToWhite"),
    "outside, with `REPEAT`": ("conformance/resource_differences.cpp", "REPEAT"),
    "outside, with `BORDER`": ("conformance/resource_differences.cpp", "`BORDER`"),
    "`StoreImage(i, ij, v)`": ("tests/gpu/gpu_images_test.cpp", "StoreImage(target, "),
    "texels of U32 and S32": ("tests/gpu/gpu_texture_formats_test.cpp", "I32"),
    "a noise that was given none": ("tests/parallelprogram/noise_kernel_test.cpp", "KernelFilesWithoutNoisesReadZeros"),
}


def call(*arguments):
    return subprocess.run([OSTRA, *map(str, arguments)], capture_output=True, text=True, cwd=FOLDER, check=False)


def has_device():
    devices = call("info").stdout.partition("\nGPU devices\n")[2]
    return re.search(r"^  \d+  ", devices.partition("\n\n")[0], re.MULTILINE) is not None


def read_rows():
    """The first cells of the page's tables, but for those of graphics stages."""
    page = (ROOT / "docs/kernel-words.md").read_text(encoding="utf-8").partition("\n## Graphics stages")[0]
    rows = re.findall(r"^\| (.*?) \|.*\n", page, re.MULTILINE)
    return [row for row in rows if row not in ("word", "---")]


def get_path(kernel):
    return KERNELS / f"net.example.rows.{kernel}.krn"


def read_sections(kernel):
    """(row, bound, slots) of each part of a kernel; the bound is None where all bits are the same."""
    text = get_path(kernel).read_text(encoding="utf-8")
    parts = re.split(r"^\s*// row(?: ([-\d.e]+))?: (.*)\n", text, flags=re.MULTILINE)
    for bound, row, text in zip(parts[1::3], parts[2::3], parts[3::3]):
        slots = [(int(slot), word == "NEAR") for word, slot in re.findall(r"\b(PUT|NEAR)\((\d+)u,", text)]
        yield row, float(bound) if bound else None, slots


def write_inputs():
    """Numbers of all sizes and some that are special, and words."""
    rng = random.Random(5)
    special = [0.0, -0.0, 0.5, -0.5, 1.0, 1.5, 2.5, -2.5, 0.75, 100.0]
    numbers = [rng.choice(special) if rng.random() < 0.2 else rng.uniform(-10, 10) for _ in range(3 * COUNT)]
    words = [rng.choice([0, 1, 0x80000001, 0xFFFFFFFF]) if rng.random() < 0.1 else rng.getrandbits(32) for _ in range(2 * COUNT)]
    (FOLDER / "numbers.raw").write_bytes(struct.pack(f"<{len(numbers)}f", *numbers))
    (FOLDER / "words.raw").write_bytes(struct.pack(f"<{len(words)}I", *words))
    (FOLDER / "table.raw").write_bytes(struct.pack("<64I", *words[:64]))
    shape = {"image": ("<f4", (5, 9, 4)), "bytes": ("|u1", (5, 9)), "layered": ("<f4", (5, 9, 2))}
    for name, (kind, extents) in shape.items():
        size = math.prod(extents)
        data = bytes(rng.getrandbits(8) for _ in range(size))
        if kind == "<f4":
            data = struct.pack(f"<{size}f", *(rng.uniform(0, 1) for _ in range(size)))
        head = f"{{'descr': '{kind}', 'fortran_order': False, 'shape': {extents}, }}"
        head += " " * (-(len(head) + 11) % 64) + "\n"
        (FOLDER / f"{name}.npy").write_bytes(b"\x93NUMPY\x01\x00" + struct.pack("<H", len(head)) + head.encode() + data)


# What kernels are given beside `results`, by the names of their parameters.
GIVEN = {
    "count": ["--set", f"count={COUNT}"],
    "far": ["--set", "far=-123456789012"],
    "fine": ["--set", "fine=0.3"],
    "step": ["--set", "step=-3"],
    "scale": ["--set", "scale=0.3"],
    "tint": ["--set", "tint=0.1,0.2,0.3,0.4"],
    "numbers": ["--in", "numbers=numbers.raw"],
    "words": ["--in", "words=words.raw"],
    "table": ["--in", "table=table.raw"],
    "cells": ["--in", f"cells=ones:{COUNT}"],
    "sums": ["--in", f"sums=ones:{9 * COUNT}"],
    "doubles": ["--in", f"doubles=zeros:{COUNT}"],
    "bytes": ["--in", f"bytes=zeros:{COUNT}"],
    "shorts": ["--in", f"shorts=zeros:{COUNT}"],
    "packed": ["--in", f"packed=zeros:{COUNT}"],
    "image": ["--in", "image=image.npy"],
    "layered": ["--in", "layered=layered.npy"],
}


def run(kernel, backend, slots):
    parameters = re.findall(r"^\([^)]*\) (\w+)", get_path(kernel).read_text(encoding="utf-8"), re.MULTILINE)
    (FOLDER / "results.raw").write_bytes(struct.pack("<I", UNWRITTEN) * (COUNT * slots))
    arguments = ["run", get_path(kernel), "--backend", backend, "--size", COUNT, "--set", f"slots={slots}"]
    arguments += ["--in", "results=results.raw", "--out", f"results={backend}.raw", "--cache-dir", FOLDER / "cache"]
    for name in parameters:
        arguments += ["--in", "bytes=bytes.npy"] if (kernel, name) == ("textures", "bytes") else GIVEN.get(name, [])
    if kernel == "noises":
        arguments += ["--set", "noiseMode_0=gaseous", "--set", "noiseSeed_0=7", "--set", "noiseMode_1=2", "--set", "noiseSeed_1=11"]
    done = call(*arguments)
    if done.returncode != 0:
        return done.stdout + done.stderr, None
    return "", struct.unpack(f"<{COUNT * slots}I", (FOLDER / f"{backend}.raw").read_bytes())


def as_float(bits):
    return struct.unpack("<f", struct.pack("<I", bits))[0]


class RowsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        write_inputs()

    def test_every_row_of_the_page_has_a_kernel_or_a_test(self):
        rows = read_rows()
        self.assertGreater(len(rows), 70)
        self.assertEqual(sorted(rows), sorted(set(rows)), "a row stands there twice")
        named = {row for kernel in EXECUTED + ["reports"] for row, _, _ in read_sections(kernel)}
        self.assertEqual(sorted(set(rows) - named - set(REFUSED) - set(HELD_BY)), [], "rows without a kernel")
        self.assertEqual(sorted((named | set(REFUSED) | set(HELD_BY)) - set(rows)), [], "rows that the page has not")
        self.assertEqual({path.name.split(".")[3] for path in KERNELS.glob("*.krn")}, set(EXECUTED + ["reports"]))

    def test_every_word_of_a_row_is_used_by_its_kernel(self):
        words = {name for names in word_table.read_words(ROOT).values() for name in names}
        for kernel in EXECUTED + ["reports"]:
            code = set(re.findall(r"\w+", re.sub(r"//.*", "", get_path(kernel).read_text(encoding="utf-8"))))
            for row, _, _ in read_sections(kernel):
                named = words & {word for part in re.findall(r"`([^`]*)`", row) for word in re.findall(r"\w+", part)}
                self.assertEqual(sorted(named - code), [], f"{kernel}: {row}")

    def test_every_row_puts_results(self):
        for kernel in EXECUTED:
            slots, wanted = [], {}
            for row, bound, places in read_sections(kernel):
                wanted.setdefault(row, []).extend(places)
                slots += [slot for slot, _ in places]
                self.assertEqual(bound is None, not any(is_near for _, is_near in places), f"{kernel}: {row}: a bound")
            self.assertEqual(sorted(slots), list(range(len(slots))), kernel)
            self.assertEqual([row for row, places in wanted.items() if not places], [], kernel)

    def test_rows_of_other_tests_are_there(self):
        for row, (file, text) in HELD_BY.items():
            self.assertIn(text, (ROOT / file).read_text(encoding="utf-8"), row)

    def test_all_targets_take_every_kernel(self):
        for kernel in EXECUTED + ["reports"]:
            targets = TARGETS.get(kernel, ["CPU", "GLSL", "HLSL", "METAL"])
            with self.subTest(kernel):
                done = call("check", get_path(kernel), *(word for target in targets for word in ("--target", target)))
                self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_what_a_row_refuses_is_refused(self):
        for row, (body, parameter, text) in REFUSED.items():
            with self.subTest(row):
                function = "uint First(Block<UInt32> b)\n{\n\treturn b[0];\n}\n\n" if "CPU_PASS" in row else ""
                file = FOLDER / "net.example.refused.krn"
                file.write_text(f"#define KERNELINPUTS \\\n{parameter}, \\\n(Block<UInt32>) results\n\n{function}"
                                f"OSTRA_PARALLEL_KERNEL(Refused, KERNELINPUTS)\n{{\n{body}}}\nOSTRA_PARALLEL_KERNEL_END\n")
                done = call("check", file, "--target", "GLSL")
                self.assertIn(text, done.stdout + done.stderr)

    def run_on(self, backend):
        compared = 0
        for kernel in EXECUTED:
            with self.subTest(kernel):
                sections = list(read_sections(kernel))
                slots = sum(len(places) for _, _, places in sections)
                error, cpu = run(kernel, "cpu", slots)
                self.assertEqual(error, "")
                error, other = run(kernel, backend, slots)
                if "which the GPU device does not support" in error:
                    self.skipTest(error)
                self.assertEqual(error, "")
                for row, bound, places in sections:
                    for slot, is_near in places:
                        self.compare(f"{kernel}, {slot}: {row}", cpu[slot::slots], other[slot::slots], bound if is_near else None)
                        compared += 1
        return compared

    def compare(self, what, cpu, other, bound):
        self.assertNotIn(UNWRITTEN, cpu, what)
        self.assertNotIn(UNWRITTEN, other, what)
        if bound is None:
            self.assertEqual(cpu, other, what)
        for one, two in zip(map(as_float, cpu), map(as_float, other)):
            if bound is not None and not (math.isnan(one) and math.isnan(two)):
                self.assertLessEqual(abs(one - two), bound * max(1.0, abs(one)), what)

    @unittest.skipUnless(has_device(), "there is no Vulkan device: nothing runs on a GPU")
    def test_the_gpu_gives_what_the_cpu_gives(self):
        self.assertGreater(self.run_on("gpu"), 100)

    def test_the_results_of_a_row_are_not_all_the_same(self):
        for kernel in EXECUTED:
            sections = list(read_sections(kernel))
            slots = sum(len(places) for _, _, places in sections)
            error, cpu = run(kernel, "cpu", slots)
            self.assertEqual(error, "", kernel)
            found = {}
            for row, _, places in sections:
                found.setdefault(row, set()).update(value for slot, _ in places for value in cpu[slot::slots])
            self.assertEqual([row for row, values in found.items() if len(values) < 2], [], kernel)

    @unittest.skipUnless(has_device(), "there is no Vulkan device: nothing runs on a GPU")
    def test_reports_are_the_same(self):
        shown = {}
        for backend in ("cpu", "gpu"):
            for limit in (-1000, 0):
                done = call("run", get_path("reports"), "--backend", backend, "--size", 64, "--set", f"limit={limit}",
                            "--in", "numbers=numbers.raw", "--in", "results=zeros:64", "--cache-dir", FOLDER / "cache")
                self.assertEqual(done.returncode, 1 if limit == 0 else 0, done.stderr)
                lines = [line for line in (done.stdout + done.stderr).splitlines() if " invocation " in line]
                shown.setdefault(limit, []).append(lines)
        self.assertEqual(*shown[-1000])
        self.assertEqual(*shown[0])
        self.assertEqual(len(shown[-1000][0]), 40)
        self.assertIn("the ASSERT does not hold: x is above the limit, in invocation ", shown[0][0][-1])


if __name__ == "__main__":
    unittest.main(verbosity=2)
