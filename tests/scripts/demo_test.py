"""scripts/demo.sh with programs that stand in for those of a build: times of hand-written loops beside those of kernels."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv.pop()
# Every kernel takes 2 ms, on a machine without a GPU.
TOOL = """#!/bin/sh
case $1 in
  info) echo "  no device: none is pretended" ;;
  run) printf 'size  8x8\\ntime  2.0 ms\\n' ;;
esac
"""


def run_demo(references):
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for program, text in (("ostra", TOOL), ("ostra-demo-references", "#!/bin/sh\n" + references)):
            (folder / program).write_text(text)
            (folder / program).chmod(0o755)
        done = subprocess.run([SCRIPT, folder / "ostra", folder / "out"], capture_output=True, text=True, timeout=60)
        return done, (folder / "out" / "times.txt").read_text()


def find_cells(times, label):
    return next(line for line in times.splitlines() if line.startswith(label + "  "))[len(label):].split("  ")


class Demo(unittest.TestCase):
    def test_a_kernel_is_compared_with_the_loop_of_its_label(self):
        done, times = run_demo("printf 'blur, 25 weights\\t1.5\\n'")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("75 %", [cell.strip() for cell in find_cells(times, "blur, 25 weights")])
        self.assertNotIn("%", " ".join(find_cells(times, "mandelbrot, 1000 steps")))
        self.assertNotIn("note:", done.stdout)
        self.assertIn("hand-written loop", times)

    def test_a_loop_whose_label_no_kernel_has_is_noted(self):
        done, _ = run_demo("printf 'blur, 25 weights\\t1.5\\nblur, 49 weights\\t1.5\\n'")
        self.assertEqual(done.returncode, 0, done.stderr)
        notes = [line for line in done.stdout.splitlines() if line.startswith("note:")]
        self.assertEqual(len(notes), 1, notes)
        self.assertIn('"blur, 49 weights"', notes[0])

    def test_without_times_of_loops_nothing_is_compared(self):
        done, times = run_demo("echo 'too large' >&2; exit 2")
        self.assertEqual((done.returncode, done.stderr), (0, "too large\n"))
        self.assertIn("note: nothing is compared with hand-written loops", done.stdout)
        self.assertNotIn("%", times)

    def test_loops_with_other_results_end_the_demo(self):
        self.assertEqual(run_demo("exit 1")[0].returncode, 1)


if __name__ == "__main__":
    unittest.main()
