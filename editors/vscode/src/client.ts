// The language server of `ostra` and its connection with the editor.
import * as vscode from "vscode";
import { LanguageClient } from "vscode-languageclient/node";

import { getTool, reportMissingTool } from "./settings";

export class KernelClient implements vscode.Disposable {
  private readonly output = vscode.window.createOutputChannel("Ostra kernels");
  private client: LanguageClient | undefined;
  private last: Promise<void> = Promise.resolve();

  // Starts the server, or starts it anew with the settings of now. Calls run one after the other; none of them throws.
  restart(): Promise<void> {
    return this.enqueue(async () => {
      await this.stopNow();
      const tool = getTool();
      if (tool === undefined) {
        reportMissingTool();
        return;
      }
      this.client = new LanguageClient(
        "ostra",
        "Ostra kernels",
        { command: tool, args: ["language-server"] },
        {
          documentSelector: [{ scheme: "file", language: "ostra-kernel", pattern: "**/*.krn" }],
          outputChannel: this.output,
        },
      );
      await this.client.start();
    });
  }

  stop(): Promise<void> {
    return this.enqueue(() => this.stopNow());
  }

  dispose(): void {
    this.output.dispose();
  }

  // The client itself shows why a server does not start or stop; what is left is for the log of extensions.
  private enqueue(step: () => Promise<void>): Promise<void> {
    this.last = this.last.then(step).catch((error: unknown) => {
      console.error(error);
    });
    return this.last;
  }

  private async stopNow(): Promise<void> {
    const client = this.client;
    this.client = undefined;
    // A client whose server did not start has nothing to stop, and refuses to.
    if (client?.isRunning() === true) await client.dispose();
  }
}
