"""The snippets of editors are kernels and parts of kernels that `ostra check` accepts as they are put in.

    snippets_test.py ROOT TOOL
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

TOOL = sys.argv.pop(2)
ROOT = pathlib.Path(sys.argv.pop(1)).resolve()
SNIPPETS = json.loads((ROOT / "editors/vscode/snippets/ostra-kernel.json").read_text(encoding="utf-8"))

KERNELS = ["Kernel over elements", "Kernel over pixels"]
PARAMETERS = ["Value parameter", "Buffer parameter", "Texture parameter", "Counter parameter"]
STATEMENTS = ["Group memory", "Texture", "Noise", "Atomic addition"]


def expand(name):
    """The text that an editor puts in before anything is typed: defaults, and the first of what is to choose from."""
    text = "\n".join(SNIPPETS[name]["body"])
    values = {}
    for number, choice, default in re.findall(r"\$\{(\d+)(?:\|([^,|]*)[^|]*\||:([^}]*))\}", text):
        values[number] = choice or default
    text = re.sub(r"\$\{(\d+)[|:][^}]*\}|\$(\d+)", lambda match: values.get(match[1] or match[2], ""), text)
    return text.replace("\\\\", "\\")


class SnippetsTest(unittest.TestCase):
    def check(self, text):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "net.example.snippet.krn"
            file.write_text(text, encoding="utf-8")
            return subprocess.run([TOOL, "check", "--target", "CPU", "--target", "GLSL", file],
                                  capture_output=True, text=True, check=False)

    def expect_no_messages(self, text):
        result = self.check(text)
        self.assertEqual((result.returncode, result.stderr), (0, ""), text)

    def test_whole_kernels_compile(self):
        for name in KERNELS:
            self.expect_no_messages(expand(name) + "\n")

    def test_parts_compile_where_they_belong(self):
        parameters = "".join(expand(name) + "\n" for name in PARAMETERS)
        statements = "".join(expand(name) + "\n" for name in STATEMENTS)
        self.expect_no_messages("#define KERNELINPUTS \\\n" + parameters + "(Block<Float32>) target\n\n"
                                + expand("Group size") + expand("Function")
                                + "\nOSTRA_PARALLEL_KERNEL(Parts, KERNELINPUTS)\n{\n" + statements
                                + "UNIFORM_BUFFER(target)[0] = Square(UNIFORM(factor)) + noise + texel.x + values[0];\n"
                                + "}\nOSTRA_PARALLEL_KERNEL_END\n")

    def test_a_mistake_in_a_snippet_would_be_told(self):
        text = expand(KERNELS[0]).replace("UNIFORM(count)", "count")
        self.assertIn("error: ", self.check(text).stdout + self.check(text).stderr)

    def test_every_snippet_is_tried_here_and_has_a_description(self):
        self.assertEqual(sorted(SNIPPETS), sorted(KERNELS + PARAMETERS + STATEMENTS + ["Group size", "Function"]))
        for name, snippet in SNIPPETS.items():
            self.assertTrue(snippet["prefix"] and snippet["description"], name)


if __name__ == "__main__":
    unittest.main()
