// Loads the extension from a folder with the packed files alone, VS Code being played: tells whether a file is missing.
//   load_packed.js FOLDER
import assert from "node:assert/strict";
import Module from "node:module";
import { resolve } from "node:path";

class Played {
  readonly isPlayed = true;
}

// Any name of VS Code is a class, whose members are such classes again.
const anything: object = new Proxy(Played, { get: (played, name) => (name === "prototype" ? played.prototype : anything) });

const loader = Module as unknown as { _load: (name: string, ...rest: unknown[]) => unknown };
const load = loader._load;
loader._load = (name, ...rest) => (name === "vscode" ? anything : load(name, ...rest));

const folder = resolve(process.argv[2] ?? ".");
const { main } = load(resolve(folder, "package.json")) as { main: string };
const { activate, deactivate } = load(resolve(folder, main)) as Record<string, unknown>;
assert.deepEqual([typeof activate, typeof deactivate], ["function", "function"]);
console.log(`${folder}: the extension loads`);
