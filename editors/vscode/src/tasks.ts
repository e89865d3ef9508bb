// `ostra run` and `ostra check` as tasks: in a terminal, with their messages among the problems.
import { dirname, resolve } from "node:path";
import * as vscode from "vscode";

import { getTool, reportMissingTool } from "./settings";

interface KernelTask extends vscode.TaskDefinition {
  type: "ostra";
  command: "run" | "check";
  file: string;
  arguments?: string[];
}

type Folder = vscode.WorkspaceFolder | undefined;

// The tool is given the whole path of the kernel, so that the paths of its messages are whole, too. It runs in the
// workspace folder, or beside a kernel that is in none. Variables such as ${file} are left to VS Code.
function makeTask(tool: string, definition: KernelTask, folder: Folder): vscode.Task {
  const { command, file } = definition;
  const path = folder === undefined || file.startsWith("${") ? file : resolve(folder.uri.fsPath, file);
  const options = { cwd: folder?.uri.fsPath ?? dirname(path) };
  const execution = new vscode.ProcessExecution(tool, [command, path, ...(definition.arguments ?? [])], options);
  const scope = folder ?? vscode.TaskScope.Workspace;
  const task = new vscode.Task(definition, scope, `${command} ${file}`, "ostra", execution, ["$ostra"]);
  task.presentationOptions = { clear: true };
  return task;
}

function makeTaskOf(uri: vscode.Uri, command: "run" | "check", commandArguments: string[]): vscode.Task | undefined {
  const tool = getTool();
  if (tool === undefined) return undefined;
  const folder = vscode.workspace.getWorkspaceFolder(uri);
  const file = folder === undefined ? uri.fsPath : vscode.workspace.asRelativePath(uri, false);
  return makeTask(tool, { type: "ostra", command, file, arguments: commandArguments }, folder);
}

// Runs or checks a kernel file in a terminal; says so when there is no tool.
export async function startTask(uri: vscode.Uri, command: "run" | "check", commandArguments: string[]): Promise<void> {
  const task = makeTaskOf(uri, command, commandArguments);
  if (task === undefined) reportMissingTool();
  else await vscode.tasks.executeTask(task);
}

// The check of the open kernel file among the tasks, and tasks of the type "ostra" of tasks.json.
export class KernelTasks implements vscode.TaskProvider {
  provideTasks(): vscode.Task[] {
    const document = vscode.window.activeTextEditor?.document;
    if (document?.languageId !== "ostra-kernel" || document.uri.scheme !== "file") return [];
    const task = makeTaskOf(document.uri, "check", []);
    return task === undefined ? [] : [task];
  }

  resolveTask(task: vscode.Task): vscode.Task | undefined {
    const tool = getTool();
    const folder = typeof task.scope === "object" ? task.scope : vscode.workspace.workspaceFolders?.[0];
    return tool === undefined ? undefined : makeTask(tool, task.definition as KernelTask, folder);
  }
}
