import assert from "node:assert/strict";
import { test } from "node:test";

import { ArgumentError, splitArguments } from "../src/arguments";

test("a line is split at blanks of any number", () => {
  assert.deepEqual(splitArguments("  --in source=a.png\t --set  strength=1 "), ["--in", "source=a.png", "--set", "strength=1"]);
  assert.deepEqual(splitArguments(""), []);
  assert.deepEqual(splitArguments("   "), []);
});

test("quotes and backslashes keep blanks", () => {
  assert.deepEqual(splitArguments(`--in source="my photo.png"`), ["--in", "source=my photo.png"]);
  assert.deepEqual(splitArguments(`'a b'c "d e"`), ["a bc", "d e"]);
  assert.deepEqual(splitArguments("a\\ b"), ["a b"]);
  assert.deepEqual(splitArguments(`"" ''`), ["", ""]);
});

test("quotes and backslashes themselves can be given", () => {
  assert.deepEqual(splitArguments(`"a\\"b" 'a"b' "a'b"`), [`a"b`, `a"b`, `a'b`]);
  assert.deepEqual(splitArguments(`'a\\b' a\\\\b`), ["a\\b", "a\\b"]);
  assert.deepEqual(splitArguments("a\\"), ["a\\"]);
});

test("what a shell would replace stays", () => {
  assert.deepEqual(splitArguments("$HOME ~/a.png *.png ;rm"), ["$HOME", "~/a.png", "*.png", ";rm"]);
});

test("a quote without its end is an error", () => {
  assert.throws(() => splitArguments(`--in "a b`), new ArgumentError('a " has no end'));
  assert.throws(() => splitArguments("it's"), new ArgumentError("a ' has no end"));
});
