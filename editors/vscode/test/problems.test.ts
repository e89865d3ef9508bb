import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { test } from "node:test";

import { contributions } from "./contributions";
import { brokenKernel, realTool, skip } from "./real_tool";

const { pattern } = contributions.problemMatchers[0];

interface Problem {
  file: string | undefined;
  line: string | undefined;
  column: string | undefined;
  severity: string | undefined;
  message: string | undefined;
}

function readProblem(line: string): Problem | undefined {
  const match = new RegExp(pattern.regexp).exec(line);
  if (match === null) return undefined;
  return {
    file: match[pattern.file],
    line: match[pattern.line],
    column: match[pattern.column],
    severity: match[pattern.severity],
    message: match[pattern.message],
  };
}

test("messages with and without a column are problems", () => {
  assert.deepEqual(readProblem('/a b/k.krn:9:10: error: unknown name "x: y"'), {
    file: "/a b/k.krn",
    line: "9",
    column: "10",
    severity: "error",
    message: 'unknown name "x: y"',
  });
  assert.deepEqual(readProblem("/k.krn:9: warning: text"), {
    file: "/k.krn",
    line: "9",
    column: undefined,
    severity: "warning",
    message: "text",
  });
});

test("other lines are no problems", () => {
  for (const line of ["ostra: the check found 4 errors", "\tif (i < cont)", "1 file, 4 targets: 4 errors", "k.krn: note: wide"])
    assert.equal(readProblem(line), undefined, line);
});

test("the problems of a check are those that the tool tells", { skip }, () => {
  const folder = mkdtempSync(join(tmpdir(), "ostra-problems-"));
  const file = join(folder, "net.example.broken.krn");
  writeFileSync(file, brokenKernel);
  const { stdout, stderr } = spawnSync(realTool ?? "", ["check", "--target", "CPU", "--target", "GLSL", file], { encoding: "utf8" });
  rmSync(folder, { recursive: true });
  const lines = `${stdout}\n${stderr}`.split("\n").filter((line) => line.startsWith(file));
  const problems = lines.map(readProblem);
  assert.ok(problems.every((problem) => problem?.file === file), lines.join("\n"));
  assert.ok(problems.some((problem) => problem?.line === "8" && problem.column === "10" && problem.severity === "error"));
  assert.ok(problems.some((problem) => problem?.line === "10" && problem.severity === "warning"));
});
