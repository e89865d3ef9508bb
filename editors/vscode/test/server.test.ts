// The language server of the tool, through the library with which the extension talks to it.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { test } from "node:test";
import {
  createProtocolConnection,
  DidOpenTextDocumentNotification,
  ExitNotification,
  InitializedNotification,
  type InitializeResult,
  PublishDiagnosticsNotification,
  type PublishDiagnosticsParams,
  ShutdownRequest,
} from "vscode-languageserver-protocol/node";

import { brokenKernel, realTool, skip } from "./real_tool";

test("the server tells the mistakes of a kernel and ends when it is asked to", { skip, timeout: 60_000 }, async () => {
  const server = spawn(realTool ?? "", ["language-server"], { stdio: ["pipe", "pipe", "inherit"] });
  const connection = createProtocolConnection(server.stdout, server.stdin);
  connection.listen();
  const told = new Promise<PublishDiagnosticsParams>((resolve) => {
    connection.onNotification(PublishDiagnosticsNotification.type, resolve);
  });
  const { capabilities } = await connection.sendRequest<InitializeResult>("initialize", {
    processId: process.pid,
    capabilities: {},
  });
  assert.ok(capabilities.hoverProvider);
  await connection.sendNotification(InitializedNotification.type, {});
  const uri = "file:///net.example.broken.krn";
  const textDocument = { uri, languageId: "ostra-kernel", version: 1, text: brokenKernel };
  await connection.sendNotification(DidOpenTextDocumentNotification.type, { textDocument });
  const { diagnostics } = await told;
  assert.deepEqual(diagnostics[0]?.range.start, { line: 7, character: 9 });
  assert.match(diagnostics[0].message, /cuont/);
  await connection.sendRequest(ShutdownRequest.type);
  const ended = once(server, "exit");
  await connection.sendNotification(ExitNotification.type);
  assert.deepEqual(await ended, [0, null]);
  connection.dispose();
});
