// The extension between a VS Code that is played and programs that are empty files.
import { fake, Uri } from "./fake_vscode";

import assert from "node:assert/strict";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, beforeEach, test } from "node:test";
import type * as vscode from "vscode";

import { activate, deactivate } from "../src/extension";
import { contributions } from "./contributions";

const root = mkdtempSync(join(tmpdir(), "ostra-extension-"));
const tool = join(root, "ostra");
const otherTool = join(root, "ostra-debug");
const kernel = new Uri(join(root, "kernels/net.example.a.krn"));
const otherKernel = new Uri(join(root, "kernels/net.example.b.krn"));
const memory = new Map<string, unknown>();
const context = {
  subscriptions: [],
  workspaceState: {
    get: (key: string, otherwise: unknown) => memory.get(key) ?? otherwise,
    update: (key: string, value: unknown) => Promise.resolve(memory.set(key, value)),
  },
} as unknown as vscode.ExtensionContext;

function open(uri: Uri, isDirty = false, canSave = true): void {
  fake.activeDocument = { uri, languageId: "ostra-kernel", isDirty, canSave };
}

async function run(command: string, ...values: unknown[]): Promise<void> {
  await fake.commands.get(command)?.(...values);
}

// What was started after a change of the setting has come up.
async function settle(): Promise<void> {
  await new Promise((resolve) => setTimeout(resolve, 20));
}

before(async () => {
  for (const file of [tool, otherTool]) writeFileSync(file, "", { mode: 0o755 });
  fake.settings.set("ostra.path", tool);
  await activate(context);
  assert.deepEqual(fake.servers, [`start ${tool} language-server`]);
});

beforeEach(async () => {
  fake.failingServer = undefined;
  fake.chosenButton = undefined;
  fake.folders = [];
  fake.change("ostra.path", tool);
  await settle();
  fake.forget();
  memory.clear();
});

after(async () => {
  fake.forget();
  await deactivate();
  assert.deepEqual(fake.servers, [`stop ${tool} language-server`]);
  rmSync(root, { recursive: true });
});

test("package.json and the extension name the same commands, task types and settings", () => {
  assert.deepEqual(contributions.commands.map(({ command }) => command).sort(), [...fake.commands.keys()].sort());
  assert.deepEqual(contributions.taskDefinitions.map(({ type }) => type), fake.taskTypes);
  assert.deepEqual(Object.keys(contributions.configuration.properties), [...fake.settings.keys()]);
});

test("another tool in the setting restarts the server, another setting does not", async () => {
  fake.change("editor.fontSize", "12");
  fake.settings.delete("editor.fontSize");
  await settle();
  assert.deepEqual(fake.servers, []);
  fake.change("ostra.path", otherTool);
  await settle();
  assert.deepEqual(fake.servers, [`stop ${tool} language-server`, `start ${otherTool} language-server`]);
});

test("a tool that is not there is told, with a button to the setting", async () => {
  fake.chosenButton = "Open the setting";
  fake.change("ostra.path", join(root, "missing"));
  await settle();
  assert.deepEqual(fake.errors, [`The tool "${join(root, "missing")}" is not found. The setting "ostra.path" says where it is.`]);
  assert.deepEqual(fake.executed, [["workbench.action.openSettings", "ostra.path"]]);
  open(kernel);
  await run("ostra.checkKernel");
  assert.equal(fake.errors.length, 2, "and again when a command needs it");
  assert.equal(fake.tasks.length, 0);
});

test("after a server that does not start the next one is started all the same", async (t) => {
  const log = t.mock.method(console, "error", () => undefined);
  fake.failingServer = otherTool;
  fake.change("ostra.path", otherTool);
  await settle();
  fake.change("ostra.path", tool);
  await settle();
  assert.deepEqual(fake.servers.slice(1), [`start ${otherTool} language-server`, `start ${tool} language-server`]);
  assert.equal(log.mock.callCount(), 1);
});

test("a tool of the workspace is started once the workspace is trusted", async () => {
  fake.folders = [{ uri: new Uri(root) }];
  fake.isTrusted = false;
  fake.change("ostra.path", "./ostra-debug");
  await settle();
  assert.deepEqual([fake.servers, fake.errors.length], [[`stop ${tool} language-server`], 1]);
  fake.isTrusted = true;
  fake.trust();
  await settle();
  assert.equal(fake.servers.at(-1), `start ${otherTool} language-server`);
});

test("a kernel runs with the arguments that are typed, which are remembered per file", async () => {
  open(kernel);
  fake.typedLine = `--in "source=my photo.png" --size 8`;
  await run("ostra.runKernel");
  const [task] = fake.tasks;
  assert.equal(task?.execution.process, tool);
  assert.deepEqual(task.execution.args, ["run", kernel.fsPath, "--in", "source=my photo.png", "--size", "8"]);
  assert.deepEqual(task.execution.options, { cwd: join(root, "kernels") });
  assert.deepEqual(task.matchers, [`$${contributions.problemMatchers[0].name}`]);
  await run("ostra.runKernel");
  await run("ostra.runKernel", otherKernel);
  assert.deepEqual(fake.inputBoxes.map(({ value }) => value), ["", fake.typedLine, ""]);
  assert.equal(fake.tasks[2]?.execution.args[1], otherKernel.fsPath, "the file of a menu");
});

test("a line with an open quote is told while it is typed; without a line nothing runs", async () => {
  open(kernel);
  fake.typedLine = undefined;
  await run("ostra.runKernel");
  assert.equal(fake.inputBoxes[0]?.validateInput(`--in "a`), 'a " has no end');
  assert.equal(fake.inputBoxes[0].validateInput("--in a"), undefined);
  assert.deepEqual([fake.tasks.length, memory.size], [0, 0]);
});

test("a check runs in the folder of the workspace, on a file that was saved before", async () => {
  fake.folders = [{ uri: new Uri(root) }];
  open(kernel, true);
  await run("ostra.checkKernel");
  assert.deepEqual(fake.saved, [kernel]);
  assert.equal(fake.tasks[0]?.name, "check kernels/net.example.a.krn");
  assert.deepEqual(fake.tasks[0].execution.args, ["check", kernel.fsPath]);
  assert.deepEqual(fake.tasks[0].execution.options, { cwd: root });
});

test("nothing runs on a file that cannot be saved, lies elsewhere or is not open", async () => {
  open(kernel, true, false);
  await run("ostra.checkKernel");
  open(new Uri("/a.krn", "git"));
  await run("ostra.checkKernel");
  fake.activeDocument = undefined;
  await run("ostra.runKernel");
  assert.deepEqual([fake.tasks.length, fake.inputBoxes.length, fake.errors.length], [0, 0, 2]);
});
