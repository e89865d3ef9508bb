import assert from "node:assert/strict";
import { chmodSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, test } from "node:test";

import { findTool } from "../src/tool";

const root = mkdtempSync(join(tmpdir(), "ostra-tool-"));
after(() => {
  rmSync(root, { recursive: true });
});

function write(name: string, mode: number): string {
  const file = join(root, name);
  mkdirSync(join(file, ".."), { recursive: true });
  writeFileSync(file, "");
  chmodSync(file, mode);
  return file;
}

const first = write("first/ostra", 0o755);
const second = write("second/ostra", 0o755);
const other = write("second/ostra-debug", 0o755);
const text = write("text/ostra", 0o644);
mkdirSync(join(root, "folder/ostra"), { recursive: true });

function find(setting: string, folders: string[], folder?: string): string | undefined {
  const searchPath = folders.map((name) => name && join(root, name)).join(":");
  return findTool(setting, { searchPath, home: join(root, "first"), folder });
}

test("a name is the first program of that name in the search path", () => {
  assert.equal(find("ostra", ["first", "second"]), first);
  assert.equal(find("ostra", ["second", "first"]), second);
  assert.equal(find("ostra-debug", ["first", "second"]), other);
  assert.equal(find("", ["second"]), second);
  assert.equal(find(" ostra ", ["second"]), second);
});

test("files that cannot be run, folders and empty parts of the search path are passed over", () => {
  assert.equal(find("ostra", ["text", "folder", "", "missing", "second"]), second);
  assert.equal(find("ostra", ["text", "folder"]), undefined);
  assert.equal(find("ostra", []), undefined);
});

test("a path is that file, whatever the search path is", () => {
  assert.equal(find(first, []), first);
  assert.equal(find("~/ostra", []), first);
  assert.equal(find("second/ostra", [], root), second);
  assert.equal(find("../second/ostra", [], join(root, "first")), second);
  assert.equal(find("second/ostra", []), undefined, "relative to no folder");
  assert.equal(find(text, []), undefined);
  assert.equal(find(join(root, "folder"), []), undefined);
});
