"""Every row of docs/kernel-words.md is compiled for all targets and compared on the CPU and the GPU.

    rows_test.py OSTRA FOLDER ROOT [CASE ...]

Kernels name the rows that they are about: "// row: FIRST CELL" stands before the lines that PUT results, whose bits must be
the same on both sides, "// row 1e-5: FIRST CELL" before those that are NEAR each other, too, and "// row differs: FIRST CELL"
before those whose numbers on both sides stand here.
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
EXECUTED = "functions language types wide small groups textures outside noises quiet own method template".split()
COMPILED = "reports gradient images".split()  # run otherwise, or by other tests
# Not every language has the numbers of these.
TARGETS = {"wide": ["CPU", "GLSL"], "small": ["CPU", "GLSL", "METAL"], "images": ["GLSL", "HLSL", "METAL"]}

# Rows that say what is refused: a body, a parameter, and what all that refuse it say.
REFUSED = {
    "`%s`" % " ".join(word_table.read_words(ROOT)["Reserved"]):
        ("\tauto one = 1u;\n\tUNIFORM_BUFFER(results)[0] = one;\n", "(UInt32) scale", "'auto' : undeclared identifier"),
    "vectors of integers of 8, 16 and 64 bits and of 64-bit floats (`Vec2<Int64>`)":
        ("\tresults[0] = 1u;\n", "(Block<Vec2<Int64>>) wide", "Vec2"),
    "elements of `Bool`": ("\tUNIFORM_BUFFER(results)[0] = 1u;\n", "(Block<Bool>) flags", "Bool"),
    "a bare name in place of `UNIFORM(name)`":
        ("\tUNIFORM_BUFFER(results)[0] = scale;\n", "(UInt32) scale", "is reached with UNIFORM(scale)"),
    "`AffineMatrix32` in bodies":
        ("\tAffineMatrix32 m;\n\tUNIFORM_BUFFER(results)[0] = uint(m.off.x);\n", "(UInt32) scale", "AffineMatrix32"),
    "`CPU_PASS_BUFFER(b)`":
        ("\tUNIFORM_BUFFER(results)[0] = First(CPU_PASS_BUFFER(results));\n", "(UInt32) scale",
         "buffers cannot be passed to functions on every GPU"),
}

# Rows that the command line compiles, but has no way to run: the test that holds them, and a text in it.
HELD_BY = {
    "`GradientRenderData`, `SampleGradient(UNIFORM(g), t)`":
        ("tests/tool/render_test.cpp", "GradientsAreSampledAndEmptyOnesAreBlackToWhite"),
    "`StoreImage(i, ij, v)`": ("tests/gpu/gpu_images_test.cpp", "StoreImage(target, "),
    "texels of U32 and S32": ("tests/gpu/gpu_texture_formats_test.cpp", "I32"),
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
    """(row, bound, slots) of each part of a kernel; the bound is "" where all bits are the same."""
    text = get_path(kernel).read_text(encoding="utf-8")
    parts = re.split(r"^\s*// row(?: ([-\d.e]+|differs))?: (.*)\n", text, flags=re.MULTILINE)
    for bound, row, text in zip(parts[1::3], parts[2::3], parts[3::3]):
        slots = [(int(slot), word == "NEAR") for word, slot in re.findall(r"\b(PUT|NEAR)\((\d+)u,", text)]
        yield row, bound or "", slots


def write_inputs():
    """Numbers of all sizes and some that are special, and words."""
    rng = random.Random(5)
    special = [0.0, -0.0, 0.5, -0.5, 1.0, 1.5, 2.5, -2.5, 0.75, 100.0]
    numbers = [rng.choice(special) if rng.random() < 0.2 else rng.uniform(-10, 10) for _ in range(3 * COUNT)]
    words = [rng.choice([0, 1, 0x80000001, 0xFFFFFFFF]) if rng.random() < 0.1 else rng.getrandbits(32) for _ in range(2 * COUNT)]
    (FOLDER / "numbers.raw").write_bytes(struct.pack(f"<{len(numbers)}f", *numbers))
    (FOLDER / "words.raw").write_bytes(struct.pack(f"<{len(words)}I", *words))
    (FOLDER / "table.raw").write_bytes(struct.pack("<64I", *words[:64]))
    shape = {"image": ("<f4", (5, 9, 4)), "bytes": ("|u1", (5, 9)), "layered": ("<f4", (5, 9, 2)), "repeated": ("<f4", (5, 9, 2))}
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
    "repeated": ["--in", "repeated=repeated.npy", "--texture", "repeated:wrap=repeat"],
    "bordered": ["--in", "bordered=repeated.npy", "--texture", "bordered:wrap=border,border=0.25/0.75"],
    "shift": ["--set", "shift=3,-4"],
}


# What kernels are given beside their parameters.
MORE = {
    "noises": ["--set", "noiseMode_0=gaseous", "--set", "noiseSeed_0=7", "--set", "noiseMode_1=2", "--set", "noiseSeed_1=11"],
    "quiet": ["--set", "noiseMode_0=gaseous", "--set", "noiseSeed_0=7"],
    "template": ["--template-argument", "uint"],
}


def run(kernel, backend, slots, *more):
    parameters = re.findall(r"^(?:\([^)]*\) |\t(?:const )?[\w<>]+&? )(\w+)(?:, \\|;|$)", get_path(kernel).read_text(encoding="utf-8"),
                            re.MULTILINE)
    (FOLDER / "results.raw").write_bytes(struct.pack("<I", UNWRITTEN) * (COUNT * slots))
    arguments = ["run", get_path(kernel), "--backend", backend, "--size", COUNT, "--set", f"slots={slots}"]
    arguments += ["--in", "results=results.raw", "--out", f"results={backend}.raw", "--cache-dir", FOLDER / "cache"]
    if (kernel, backend) == ("template", "gpu"):
        parameters.remove("fine")  # the GPU has no such parameter
    for name in parameters:
        arguments += ["--in", "bytes=bytes.npy"] if (kernel, name) == ("textures", "bytes") else GIVEN.get(name, [])
    done = call(*arguments, *MORE.get(kernel, []), *more)
    if done.returncode != 0:
        return done.stdout + done.stderr, None
    return "", struct.unpack(f"<{COUNT * slots}I", (FOLDER / f"{backend}.raw").read_bytes())


def as_float(bits):
    return struct.unpack("<f", struct.pack("<I", bits))[0]


def read_repeated(channel):
    """A channel of the texture of 9 x 5 texels, as bits."""
    return struct.unpack("<90I", (FOLDER / "repeated.npy").read_bytes()[-360:])[channel::2]


def list_outside_places():
    return [(i % 40 - 20, i // 40 - 5) for i in range(COUNT)]


def wrap_on_cpu(place, extent):
    """Exact multiples of the extent below 0 read one texel too far."""
    return extent if place < 0 and place % extent == 0 else place % extent


def expect_repeated():
    texels = read_repeated(0) + (0,) * 10
    cpu = [texels[wrap_on_cpu(y, 5) * 9 + wrap_on_cpu(x, 9)] for x, y in list_outside_places()]
    return cpu, [texels[y % 5 * 9 + x % 9] for x, y in list_outside_places()]


def expect_bordered():
    texels = read_repeated(1)
    border = struct.unpack("<I", struct.pack("<f", 0.75))[0]
    inside = [texels[y * 9 + x] if 0 <= x < 9 and 0 <= y < 5 else None for x, y in list_outside_places()]
    return [border if texel is None else texel for texel in inside], [texel or 0 for texel in inside]


def expect_noise():
    error, like_that = run("quiet", "cpu", 1, "--set", "noiseMode_1=0", "--set", "noiseSeed_1=42")
    assert like_that, error
    return [0] * COUNT, list(like_that)


# Rows whose sides differ: what they put on the CPU and on the GPU.
EXPECTED = {
    "outside, with `REPEAT`": expect_repeated,
    "outside, with `BORDER`": expect_bordered,
    "a noise that was given none": expect_noise,
}


def find_words(cell):
    """The names between backquotes of a cell, before the arguments that stand there."""
    return {word for part in re.findall(r"`([^`]*)`", cell) for word in re.findall(r"\w+", re.split(r"[(\[]", part)[0])}


class RowsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        write_inputs()

    def test_every_row_of_the_page_has_a_kernel_or_a_test(self):
        rows = read_rows()
        self.assertGreater(len(rows), 70)
        self.assertEqual(sorted(rows), sorted(set(rows)), "a row stands there twice")
        named = {row for kernel in EXECUTED + COMPILED for row, _, _ in read_sections(kernel)}
        self.assertEqual(sorted(set(rows) - named - set(REFUSED)), [], "rows without a kernel")
        self.assertEqual(sorted((named | set(REFUSED) | set(HELD_BY)) - set(rows)), [], "rows that the page has not")
        self.assertEqual({path.name.split(".")[3] for path in KERNELS.glob("*.krn")}, set(EXECUTED + COMPILED))

    def test_every_word_of_the_table_is_on_the_page(self):
        page = (ROOT / "docs/kernel-words.md").read_text(encoding="utf-8")
        named = set().union(*map(find_words, re.findall(r"^\| (.*?) \|.*\n", page, re.MULTILINE)))
        words = {name for names in word_table.read_words(ROOT).values() for name in names}
        self.assertGreater(len(words), 300)
        self.assertEqual(sorted((words | set(word_table.read_keywords(ROOT))) - named), [], "words without a row")

    def test_every_word_of_a_row_is_used_by_its_kernels(self):
        words = {name for names in word_table.read_words(ROOT).values() for name in names} | set(word_table.read_keywords(ROOT))
        used = {}
        for kernel in EXECUTED + COMPILED:
            code = set(re.findall(r"\w+", re.sub(r"//.*", "", get_path(kernel).read_text(encoding="utf-8"))))
            for row, _, _ in read_sections(kernel):
                used.setdefault(row, set()).update(code)
        for row, code in used.items():
            self.assertEqual(sorted(words & find_words(row) - code), [], row)

    def test_every_row_puts_results(self):
        for kernel in EXECUTED:
            slots, wanted = [], {}
            for row, bound, places in read_sections(kernel):
                wanted.setdefault(row, []).extend(places)
                slots += [slot for slot, _ in places]
                self.assertEqual(bound in ("", "differs"), not any(is_near for _, is_near in places), f"{kernel}: {row}: a bound")
                self.assertEqual(bound == "differs", row in EXPECTED, f"{kernel}: {row}")
            self.assertEqual(sorted(slots), list(range(len(slots))), kernel)
            self.assertEqual([row for row, places in wanted.items() if not places], [], kernel)

    def test_rows_of_other_tests_are_there(self):
        for row, (file, text) in HELD_BY.items():
            self.assertIn(text, (ROOT / file).read_text(encoding="utf-8"), row)

    def test_all_targets_take_every_kernel(self):
        for kernel in EXECUTED + COMPILED:
            targets = TARGETS.get(kernel, ["CPU", "GLSL", "HLSL", "METAL"])
            more = MORE[kernel] if kernel == "template" else []
            with self.subTest(kernel):
                done = call("check", get_path(kernel), *more, *(word for target in targets for word in ("--target", target)))
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
                        self.compare(f"{kernel}, {slot}: {row}", row, cpu[slot::slots], other[slot::slots], bound if is_near else "")
                        compared += 1
        return compared

    def compare(self, what, row, cpu, other, bound):
        self.assertNotIn(UNWRITTEN, cpu, what)
        self.assertNotIn(UNWRITTEN, other, what)
        if row in EXPECTED:
            self.assertEqual((list(cpu), list(other)), EXPECTED[row](), what)
        elif not bound:
            self.assertEqual(cpu, other, what)
        for one, two in zip(map(as_float, cpu), map(as_float, other)):
            if bound and not (math.isnan(one) and math.isnan(two)):
                self.assertLessEqual(abs(one - two), float(bound) * max(1.0, abs(one)), what)

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
            same = [row for row, values in found.items() if len(values) < 2]
            self.assertEqual(same, ["a noise that was given none"] if kernel == "quiet" else [], kernel)

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
