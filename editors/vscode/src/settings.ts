// The settings of the extension, and what is said when the tool is not where they say.
import { homedir } from "node:os";
import * as vscode from "vscode";

import { findTool } from "./tool";

export const toolSetting = "ostra.path";

function readToolSetting(): string {
  return vscode.workspace.getConfiguration().get<string>(toolSetting) ?? "";
}

// The file of the tool; undefined when there is none. Programs of a workspace that is not trusted are not taken.
export function getTool(): string | undefined {
  const { isTrusted, workspaceFolders } = vscode.workspace;
  return findTool(readToolSetting(), {
    searchPath: process.env["PATH"] ?? "",
    home: homedir(),
    folder: isTrusted ? workspaceFolders?.[0]?.uri.fsPath : undefined,
  });
}

// Says that the tool is not found, with a button that opens the setting.
export function reportMissingTool(): void {
  const openSetting = "Open the setting";
  const text = `The tool "${readToolSetting() || "ostra"}" is not found. The setting "${toolSetting}" says where it is.`;
  void vscode.window.showErrorMessage(text, openSetting).then((choice) => {
    if (choice === openSetting) void vscode.commands.executeCommand("workbench.action.openSettings", toolSetting);
  });
}
