// The commands "Ostra: Run kernel" and "Ostra: Check kernel".
import * as vscode from "vscode";

import { ArgumentError, splitArguments } from "./arguments";
import { startTask } from "./tasks";

// The kernel file of a menu or of the active editor, saved.
async function takeKernel(uri: vscode.Uri | undefined): Promise<vscode.Uri | undefined> {
  const kernel = uri ?? vscode.window.activeTextEditor?.document.uri;
  if (kernel?.scheme !== "file") {
    void vscode.window.showErrorMessage("Open a kernel file first, and save it to a folder of this machine.");
    return undefined;
  }
  const document = await vscode.workspace.openTextDocument(kernel);
  if (document.isDirty && !(await document.save())) return undefined;
  return kernel;
}

function findMistake(line: string): string | undefined {
  try {
    splitArguments(line);
    return undefined;
  } catch (error) {
    if (error instanceof ArgumentError) return error.message;
    throw error;
  }
}

// Asks for the arguments of `ostra run`, those of the last time first, and runs the kernel.
export async function runKernel(memory: vscode.Memento, uri?: vscode.Uri): Promise<void> {
  const kernel = await takeKernel(uri);
  if (kernel === undefined) return;
  const key = `arguments of ${kernel.toString()}`;
  const line = await vscode.window.showInputBox({
    title: "ostra run",
    prompt: "Arguments, Enter to run",
    placeHolder: "--in source=photo.png --out target=result.png --set strength=1",
    value: memory.get<string>(key, ""),
    validateInput: findMistake,
    ignoreFocusOut: true,
  });
  if (line === undefined) return;
  await memory.update(key, line);
  await startTask(kernel, "run", splitArguments(line));
}

export async function checkKernel(uri?: vscode.Uri): Promise<void> {
  const kernel = await takeKernel(uri);
  if (kernel !== undefined) await startTask(kernel, "check", []);
}
