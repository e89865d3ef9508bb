"""The tables of docs/textures.md: every type is sampled and fetched on the CPU and the GPU, and what kernels do not have is refused.

    textures_test.py OSTRA FOLDER ROOT [CASE ...]
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

COUNT = 105  # every texel of 7 x 5 x 3
EXTENTS = {1: (7,), 2: (5, 7), 3: (3, 5, 7)}
PLACES = {
    1: ("int", "int(i % 7u)", "float", "(float(at) + 0.3) / 7.0"),
    2: ("int2", "int2(int(i % 7u), int(i / 7u % 5u))", "vec2", "(vec2(at) + 0.3) / vec2(7.0, 5.0)"),
    3: ("int3", "int3(int(i % 7u), int(i / 7u % 5u), int(i / 35u))", "vec3", "(vec3(at) + 0.3) / vec3(7.0, 5.0, 3.0)"),
}
CHANNELS = {"R": 1, "RG": 2, "RGB": 3, "RGBA": 4}


def call(*arguments):
    return subprocess.run([OSTRA, *map(str, arguments)], capture_output=True, text=True, cwd=FOLDER, check=False)


def has_device():
    devices = call("info").stdout.partition("\nGPU devices\n")[2]
    return re.search(r"^  \d+  ", devices.partition("\n\n")[0], re.MULTILINE) is not None


def read_table(heading, first):
    """The cells of the rows of the page's table that begins with `first` under a heading."""
    text = (ROOT / "docs/textures.md").read_text(encoding="utf-8").partition(f"\n## {heading}\n")[2].partition("\n## ")[0]
    lines = text.partition(f"\n| {first} |")[2].partition("\n\n")[0].splitlines()[2:]
    return [line.strip("| ").split(" | ") for line in lines]


def read_types():
    """{"R_F32_LINEAR": (sampled, fetched)}: what the table says that lookups give."""
    rows = read_table("Which textures a kernel can have on the CPU", "type in the kernel file (`<d>` is 1, 2 or 3)")
    types = {}
    for row in rows:
        kind = re.search(r"`TextureSampler_<d>D_(\w+)`", row[0]).group(1)
        types[kind] = None if row[1].startswith("none") else (row[2], row[3])
    return types


def find_foreign_words():
    rows = read_table("Words", "there")
    return {word: row[0] for row in rows for word in re.findall(r"`(\w+)`", row[0])}


def make_kernel(parameters, body, result="UInt32"):
    lines = "".join(f"({kind}) {name}, \\\n" for name, kind in parameters.items())
    return (f"#define KERNELINPUTS \\\n{lines}(Block<{result}>) results\n\nOSTRA_PARALLEL_KERNEL(Rows, KERNELINPUTS)\n"
            f"{{\n\tuint i = LinearInvocation();\n{body}}}\nOSTRA_PARALLEL_KERNEL_END\n")


def write_kernel(name, *arguments):
    file = FOLDER / f"net.example.{name}.krn"
    file.write_text(make_kernel(*arguments), encoding="utf-8")
    return file


def write_array(name, kind, shape, numbers):
    head = f"{{'descr': '{kind}', 'fortran_order': False, 'shape': {shape}, }}"
    head += " " * (-(len(head) + 11) % 64) + "\n"
    data = bytes(numbers) if kind == "|u1" else struct.pack(f"<{len(numbers)}f", *numbers)
    (FOLDER / f"{name}.npy").write_bytes(b"\x93NUMPY\x01\x00" + struct.pack("<H", len(head)) + head.encode() + data)


def as_bits(number):
    return number if isinstance(number, int) else struct.unpack("<I", struct.pack("<f", number))[0]


def as_float(bits):
    return struct.unpack("<f", struct.pack("<I", bits))[0]


class Textures:
    """The textures of one number of dimensions, and the kernel that reads all of them."""

    def __init__(self, dimensions):
        self.dimensions, self.numbers, self.slots, body = dimensions, {}, [], ""
        rng = random.Random(dimensions)
        at, place, uv, middle = PLACES[dimensions]
        body = f"\tif (i >= {COUNT}u)\n\t\treturn;\n\t{at} at = {place};\n\t{uv} uv = {middle};\n"
        parameters = {}
        for kind, results in read_types().items():
            if results is None:
                continue
            channels = CHANNELS[kind.split("_")[0]]
            name, is_bytes = kind.lower().replace("_", ""), "U8" in kind
            parameters[name] = f"const TextureSampler_{dimensions}D_{kind}"
            shape = (*EXTENTS[dimensions], channels)
            size = math.prod(shape)
            texels = [rng.getrandbits(8) if is_bytes else as_float(as_bits(rng.random())) for _ in range(size)]
            self.numbers[name] = texels
            write_array(f"{name}{dimensions}", "|u1" if is_bytes else "<f4", shape, texels)
            # As the table names them: a float, a vector, a number.
            for word, value, place in (("SampleTexture", results[0], "uv"), ("FetchTexture", results[1], "at")):
                if value != "-":
                    body += self.add(name, word, {"float": "float", "0 to 255": "uint"}.get(value, value), place, channels)
        body = re.sub(r"@", str(len(self.slots)), body)
        self.parameters = list(parameters)
        self.file = write_kernel(f"textures{dimensions}", parameters, body)

    def add(self, name, word, kind, place, channels):
        value = f"{word}_{name}"
        lines = f"\t{kind} {value} = {word}({name}, {place});\n"
        for channel in range(channels):
            number = value if channels == 1 else f"{value}.{'xyzw'[channel]}"
            bits = number if kind == "uint" else f"floatBitsToUint({number})"
            lines += f"\tUNIFORM_BUFFER(results)[i * @u + {len(self.slots)}u] = {bits};\n"
            self.slots.append((name, word, channel, channels))
        return lines

    def run(self, backend):
        arguments = ["run", self.file, "--backend", backend, "--size", COUNT, "--cache-dir", FOLDER / "cache"]
        for name in self.parameters:
            arguments += ["--in", f"{name}={name}{self.dimensions}.npy", "--texture", f"{name}:wrap=repeat"]
        arguments += ["--in", f"results=zeros:{COUNT * len(self.slots)}", "--out", f"results={backend}.raw"]
        done = call(*arguments)
        if done.returncode != 0:
            raise AssertionError(done.stdout + done.stderr)
        return struct.unpack(f"<{COUNT * len(self.slots)}I", (FOLDER / f"{backend}.raw").read_bytes())

    def fetch(self, name, channel, channels):
        """What FetchTexture gives to each invocation, as bits."""
        texels = self.numbers[name][channel::channels]
        return [as_bits(texels[i % len(texels)]) for i in range(COUNT)]


class TextureTablesTest(unittest.TestCase):
    def test_every_type_is_fetched_and_sampled_on_the_cpu(self):
        for dimensions in EXTENTS:
            textures = Textures(dimensions)
            self.assertEqual(len(textures.slots), 22, "10 channels of LINEAR types twice, and of POINT types once")
            results = textures.run("cpu")
            for slot, (name, word, channel, channels) in enumerate(textures.slots):
                got = results[slot :: len(textures.slots)]
                if word == "FetchTexture":
                    self.assertEqual(list(got), textures.fetch(name, channel, channels), f"{dimensions}D {name}")
                else:
                    self.assertGreater(len(set(got)), 4, f"{dimensions}D {name}")

    @unittest.skipUnless(has_device(), "there is no Vulkan device: nothing runs on a GPU")
    def test_every_type_gives_the_same_on_the_gpu(self):
        for dimensions in EXTENTS:
            textures = Textures(dimensions)
            cpu, gpu = textures.run("cpu"), textures.run("gpu")
            for slot, (name, word, _, _) in enumerate(textures.slots):
                pair = cpu[slot :: len(textures.slots)], gpu[slot :: len(textures.slots)]
                if word == "FetchTexture":
                    self.assertEqual(*pair, f"{dimensions}D {name}")
                else:
                    for one, two in zip(*(map(as_float, bits) for bits in pair)):
                        self.assertAlmostEqual(one, two, delta=1e-2, msg=f"{dimensions}D {name}")

    def test_every_target_takes_every_type(self):
        done = call("check", *(Textures(dimensions).file for dimensions in EXTENTS))
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_types_for_gpus_alone_are_taken_there_and_refused_on_the_cpu(self):
        kinds = [kind for kind, results in read_types().items() if results is None]
        self.assertEqual(kinds, ["R_U16_POINT", "R_S32_POINT"])
        for kind in kinds:
            body = "\tUNIFORM_BUFFER(results)[i] = uint(FetchTexture(image, int2(int(i), 0)));\n"
            file = write_kernel("forgpus", {"image": f"const TextureSampler_2D_{kind}"}, body)
            done = call("check", file, "--target", "GLSL", "--target", "HLSL", "--target", "METAL")
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            done = call("run", file, "--in", "image=zeros:4x4", "--size", 4, "--out", "results=results.raw")
            self.assertEqual(done.returncode, 2, done.stdout + done.stderr)

    def test_a_point_type_is_not_sampled(self):
        for kind, results in read_types().items():
            if results and results[0] == "-":
                body = "\tUNIFORM_BUFFER(results)[i] = uint(SampleTexture(image, vec2(0.5, 0.5)));\n"
                file = write_kernel("sampled", {"image": f"const TextureSampler_2D_{kind}"}, body)
                done = call("check", file)
                self.assertEqual(done.returncode, 1)
                self.assertIn("which has no filtered value: read it with FetchTexture", done.stdout + done.stderr)

    def test_words_that_kernels_do_not_have_are_answered(self):
        words = find_foreign_words()
        self.assertGreater(len(words), 12)
        for word, row in words.items():
            with self.subTest(word, row=row):
                is_type = word.startswith(("sampler", "Texture"))
                image = word if is_type else "const TextureSampler_2D_RGBA_F32_LINEAR"
                body = "" if is_type else f"\tvec4 c = {word}(image, vec2(0.5, 0.5));\n"
                body += "\tUNIFORM_BUFFER(results)[i] = 1u;\n"
                done = call("check", write_kernel("foreign", {"image": image}, body), "--target", "CPU")
                self.assertEqual(done.returncode, 1)
                self.assertIn(f'error: "{word}" is not a word of kernels: ', done.stdout + done.stderr)

    def test_the_four_texels_of_a_footprint_are_what_the_page_says(self):
        recipe = re.search(r"`(ivec2\(floor\(.*?\)\))`", next(row[1] for row in read_table("Words", "there") if "textureGather" in row[0]))
        body = (f"\tvec2 uv = (vec2(float(i % 7u), float(i / 7u % 5u)) + 0.8) / vec2(7.0, 5.0);\n"
                f"\tivec2 at = {recipe.group(1).replace('(t)', '(image)')};\n"
                "\tUNIFORM_BUFFER(results)[i] = vec4(FetchTexture(image, at), FetchTexture(image, at + ivec2(1, 0)), "
                "FetchTexture(image, at + ivec2(0, 1)), FetchTexture(image, at + 1));\n")
        file = write_kernel("footprint", {"image": "const TextureSampler_2D_R_F32_LINEAR"}, body, "Vector4d32")
        texels = [float(k) for k in range(35)]
        write_array("footprint", "<f4", (5, 7), texels)
        expected = [texels[min(y, 4) * 7 + min(x, 6)] for i in range(35)
                    for x, y in ((i % 7 + dx, i // 7 + dy) for dy in (0, 1) for dx in (0, 1))]
        for backend in ["cpu", "gpu"] if has_device() else ["cpu"]:
            done = call("run", file, "--backend", backend, "--in", "image=footprint.npy", "--size", 35, "--out", "results=results.raw",
                        "--cache-dir", FOLDER / "cache")
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
            self.assertEqual(list(struct.unpack("<140f", (FOLDER / "results.raw").read_bytes())), expected, backend)


if __name__ == "__main__":
    unittest.main(verbosity=2)
