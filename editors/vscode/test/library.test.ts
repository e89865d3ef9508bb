// The grammar over all kernels and stages of the library.
import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import { join } from "node:path";
import { before, test } from "node:test";
import { createOnigScanner, createOnigString, loadWASM } from "vscode-oniguruma";
import { type IGrammar, INITIAL, parseRawGrammar, Registry } from "vscode-textmate";

const extension = join(__dirname, "../..");
const library = join(extension, "../../kernels");
const files = [library, join(library, "stages")].flatMap((folder) =>
  readdirSync(folder)
    .filter((name) => /\.(krn|vert|frag|tsc|tse)$/.test(name))
    .map((name) => join(folder, name)),
);

interface Piece {
  text: string;
  scopes: string[]; // without that of the grammar and the ending of all
}

let grammar: IGrammar;

before(async () => {
  const engine = readFileSync(require.resolve("vscode-oniguruma/release/onig.wasm"));
  await loadWASM(new Uint8Array(engine).buffer);
  const path = join(extension, "syntaxes/ostra-kernel.tmLanguage.json");
  const registry = new Registry({
    onigLib: Promise.resolve({ createOnigScanner, createOnigString }),
    loadGrammar: () => Promise.resolve(parseRawGrammar(readFileSync(path, "utf8"), path)),
  });
  const loaded = await registry.loadGrammar("source.ostra-kernel");
  assert.ok(loaded);
  grammar = loaded;
});

// The pieces of all lines, blanks left out; fails when a comment or a list of parameters is open at the end.
function read(text: string): Piece[] {
  const pieces: Piece[] = [];
  let state = INITIAL;
  for (const line of text.split("\n")) {
    const { tokens, ruleStack } = grammar.tokenizeLine(line, state);
    state = ruleStack;
    for (const { startIndex, endIndex, scopes } of tokens) {
      const piece = line.slice(startIndex, endIndex).trim();
      if (piece !== "") pieces.push({ text: piece, scopes: scopes.slice(1).map((scope) => scope.replace(".ostra-kernel", "")) });
    }
  }
  assert.equal(state.depth, 1, "nothing is open at the end");
  return pieces;
}

test("there are files, and an open comment would be found", () => {
  assert.ok(files.length > 30);
  assert.throws(() => read("uint i; /* open"), /nothing is open/);
});

test("each file is read to its end, and only names have no scope", () => {
  for (const file of files)
    for (const { text, scopes } of read(readFileSync(file, "utf8")))
      if (scopes.length === 0) assert.match(text, /^[A-Za-z_]\w*(\s+[A-Za-z_]\w*)*$/, file);
});

test("what is declared as a parameter has the scope of one, there and within UNIFORM", () => {
  for (const file of files) {
    const text = readFileSync(file, "utf8");
    const pieces = read(text);
    const names = new Set(Array.from(text.matchAll(/^\([^()]+\) (\w+)/gm), ([, name]) => name));
    const uses = Array.from(text.matchAll(/\bUNIFORM(?:_BUFFER)?\((\w+)\)/g), ([, name]) => name);
    const scoped = pieces.filter(({ scopes }) => scopes.includes("variable.parameter")).map((piece) => piece.text);
    for (const name of names) assert.ok(scoped.includes(name ?? ""), `${file}: ${name ?? ""}`);
    for (const name of uses) {
      const count = uses.filter((use) => use === name).length + (names.has(name) ? 1 : 0);
      assert.ok(scoped.filter((piece) => piece === name).length >= count, `${file}: ${name ?? ""}`);
    }
  }
});
