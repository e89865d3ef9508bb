# measure_gpu_test.py SCRIPT [BUILD]: what scripts/measure_gpu.sh leaves behind, with programs that stand in for those of
# a build: figures, failures, steps that take too long or find no device. With BUILD also two steps with its programs.
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = os.path.abspath(sys.argv[1])
BUILD = sys.argv[2] if len(sys.argv) > 2 else None

BENCH = """#!/bin/sh
for name; do :; done
figure() {
  echo "{\\"peer\\":\\"$1\\",\\"workload\\":\\"$name\\",\\"size\\":\\"2^24\\",\\"metric\\":\\"throughput\\",\\"value\\":$2,\\"unit\\":\\"GB/s\\",\\"runs\\":1,\\"min\\":$2,\\"median\\":$2,\\"max\\":$2}"
}
case $name in
  saxpy) figure ours-gpu 9.5; figure vulkan 10 ;;
  store) echo "no memory" >&2; exit 1 ;;
  terrain) figure ours-gpu 1; printf '{"peer":"half'; exec sleep 60 ;;
  draws) echo "There is no GPU device." >&2 ;;
  *) figure ours-gpu 1 ;;
esac
"""


class MeasureGpuTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        programs = self.root / "build with spaces" / "bin"
        programs.mkdir(parents=True)
        for name, text in (("ostra", '#!/bin/sh\necho "$1 of a device"\n'), ("ostra-bench", BENCH)):
            (programs / name).write_text(text)
            (programs / name).chmod(0o755)

    def run_script(self, *arguments, build=None):
        self.out = self.root / "out"
        build = build or self.root / "build with spaces"
        return subprocess.run([SCRIPT, *arguments, str(self.out), str(build)], capture_output=True, text=True, timeout=200)

    def read_lines(self):
        return [json.loads(line) for line in (self.out / "figures.jsonl").read_text().splitlines()]

    def statuses(self):
        return {line["step"]: line["status"] for line in self.read_lines() if "step" in line}

    def test_figures_are_set_side_by_side_with_the_device(self):
        done = self.run_script("--runs", "1", "--only", "info,parity,saxpy")
        self.assertEqual(done.returncode, 0, done.stderr)
        report = (self.out / "report.txt").read_text()
        for part in ("info of a device", "parity of a device", "saxpy 2^24 throughput", "ours-gpu / vulkan: 0.950",
                     "Everything was measured."):
            self.assertIn(part, report)
        self.assertEqual([line["peer"] for line in self.read_lines() if "peer" in line], ["ours-gpu", "vulkan"])

    def test_what_fails_or_finds_no_device_is_named_and_the_rest_is_measured(self):
        done = self.run_script("--only", "draws,store,saxpy")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.statuses(), {"saxpy": 0, "draws": "no figures", "store": 1})
        self.assertIn("  store: 1\n", (self.out / "report.txt").read_text())
        self.assertIn("no memory", (self.out / "messages.txt").read_text())

    def test_a_step_that_takes_too_long_is_ended_and_later_ones_are_left_out(self):
        done = self.run_script("--seconds", "2", "--only", "terrain,shader_compile")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.statuses(), {"terrain": "out of time", "shader_compile": "left out"})
        self.assertEqual(len([line for line in self.read_lines() if "peer" in line]), 1)  # no half line

    def test_bad_usage_is_refused_with_the_reason(self):
        for arguments, message in ((("--runs", "0"), '--runs is "0"'), (("--seconds", "1h"), '--seconds is "1h"'),
                                   (("--only", "saxpy,nothing"), 'there is no step "nothing"')):
            done = self.run_script(*arguments)
            self.assertEqual(done.returncode, 2)
            self.assertIn(message, done.stderr)
        done = self.run_script(build=self.root)
        self.assertEqual(done.returncode, 2)
        self.assertIn("build the release first", done.stderr)

    @unittest.skipUnless(BUILD, "no build is given")
    def test_the_programs_of_a_build_are_run(self):
        done = self.run_script("--runs", "1", "--seconds", "120", "--only", "info,gpu_submit", build=BUILD)
        report = (self.out / "report.txt").read_text()
        if "no figures" in report:
            self.skipTest("There is no GPU device: " + (self.out / "messages.txt").read_text())
        self.assertEqual(done.returncode, 0, report + done.stderr)
        self.assertIn("gpu_submit", report)
        self.assertTrue(any(line.get("peer") == "vulkan" for line in self.read_lines()), report)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
