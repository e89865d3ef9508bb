// What VS Code calls when a kernel file is opened.
import * as vscode from "vscode";

import { KernelClient } from "./client";
import { checkKernel, runKernel } from "./commands";
import { toolSetting } from "./settings";
import { KernelTasks } from "./tasks";

let client: KernelClient | undefined;

export async function activate(context: vscode.ExtensionContext): Promise<void> {
  const started = (client = new KernelClient());
  context.subscriptions.push(
    started,
    vscode.commands.registerCommand("ostra.runKernel", (uri?: vscode.Uri) => runKernel(context.workspaceState, uri)),
    vscode.commands.registerCommand("ostra.checkKernel", (uri?: vscode.Uri) => checkKernel(uri)),
    vscode.tasks.registerTaskProvider("ostra", new KernelTasks()),
    vscode.workspace.onDidChangeConfiguration((change) => {
      if (change.affectsConfiguration(toolSetting)) void started.restart();
    }),
    vscode.workspace.onDidGrantWorkspaceTrust(() => void started.restart()),
  );
  await started.restart();
}

export async function deactivate(): Promise<void> {
  await client?.stop();
}
