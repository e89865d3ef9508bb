// The parts of VS Code and of the client library that the extension uses, as far as its tests ask. Import it before the
// extension: it takes the place of the modules "vscode" and "vscode-languageclient/node".
import Module from "node:module";

type Listener = (change: { affectsConfiguration(section: string): boolean }) => void;
type Handler = (...values: unknown[]) => unknown;

// A file of a scheme.
export class Uri {
  readonly scheme: string;
  constructor(readonly fsPath: string, scheme = "file") {
    this.scheme = scheme;
  }
  toString(): string {
    return `${this.scheme}://${this.fsPath}`;
  }
}

export interface Folder {
  uri: Uri;
}

export interface Document {
  uri: Uri;
  languageId: string;
  isDirty: boolean;
  canSave: boolean;
}

interface InputBox {
  value: string;
  validateInput: (line: string) => string | undefined;
}

class ProcessExecution {
  constructor(
    readonly process: string,
    readonly args: string[],
    readonly options: { cwd: string },
  ) {}
}

class Task {
  presentationOptions = {};
  constructor(
    readonly definition: unknown,
    readonly scope: unknown,
    readonly name: string,
    readonly source: string,
    readonly execution: ProcessExecution,
    readonly matchers: string[],
  ) {}
}

// What the tests set, and what the extension has done.
export const fake = {
  settings: new Map<string, string>(),
  folders: [] as Folder[],
  activeDocument: undefined as Document | undefined,
  chosenButton: undefined as string | undefined,
  typedLine: undefined as string | undefined,
  commands: new Map<string, Handler>(),
  taskTypes: [] as string[],
  listeners: [] as Listener[],
  isTrusted: true,
  trust: (): void => undefined, // what is called when the workspace becomes trusted
  errors: [] as string[],
  executed: [] as unknown[][],
  inputBoxes: [] as InputBox[],
  saved: [] as Uri[],
  tasks: [] as Task[],
  servers: [] as string[],
  failingServer: undefined as string | undefined,

  change(section: string, value: string): void {
    fake.settings.set(section, value);
    for (const listener of fake.listeners) listener({ affectsConfiguration: (asked) => asked === section });
  },

  forget(): void {
    for (const list of [fake.errors, fake.executed, fake.inputBoxes, fake.saved, fake.tasks, fake.servers]) list.length = 0;
  },
};

function getFolder(uri: Uri): Folder | undefined {
  return fake.folders.find((folder) => uri.fsPath.startsWith(folder.uri.fsPath + "/"));
}

const vscode = {
  Task,
  ProcessExecution,
  TaskScope: { Workspace: 2 },
  commands: {
    registerCommand: (name: string, handler: Handler) => fake.commands.set(name, handler),
    executeCommand: (...values: unknown[]) => fake.executed.push(values),
  },
  tasks: {
    registerTaskProvider: (type: string) => fake.taskTypes.push(type),
    executeTask: (task: Task) => Promise.resolve(fake.tasks.push(task)),
  },
  window: {
    get activeTextEditor() {
      return fake.activeDocument && { document: fake.activeDocument };
    },
    createOutputChannel: () => ({ dispose: () => undefined }),
    showErrorMessage: (text: string, ...buttons: string[]) => {
      fake.errors.push(text);
      return Promise.resolve(buttons.find((button) => button === fake.chosenButton));
    },
    showInputBox: (box: InputBox) => {
      fake.inputBoxes.push(box);
      return Promise.resolve(fake.typedLine);
    },
  },
  workspace: {
    get isTrusted() {
      return fake.isTrusted;
    },
    onDidGrantWorkspaceTrust: (listener: () => void) => (fake.trust = listener),
    get workspaceFolders() {
      return fake.folders.length === 0 ? undefined : fake.folders;
    },
    getConfiguration: () => ({ get: (section: string) => fake.settings.get(section) }),
    getWorkspaceFolder: getFolder,
    asRelativePath: (uri: Uri) => uri.fsPath.slice((getFolder(uri)?.uri.fsPath.length ?? -1) + 1),
    onDidChangeConfiguration: (listener: Listener) => fake.listeners.push(listener),
    openTextDocument: (uri: Uri) => {
      const document = fake.activeDocument;
      const save = (): Promise<boolean> => {
        if (document?.canSave === true) fake.saved.push(uri);
        return Promise.resolve(document?.canSave === true);
      };
      return Promise.resolve({ isDirty: document?.isDirty, save });
    },
  },
};

class LanguageClient {
  private isStarted = false;
  constructor(
    _id: string,
    _name: string,
    private readonly server: { command: string; args: string[] },
  ) {}
  private get line(): string {
    return [this.server.command, ...this.server.args].join(" ");
  }
  start(): Promise<void> {
    fake.servers.push(`start ${this.line}`);
    if (this.server.command === fake.failingServer) return Promise.reject(new Error("it ended"));
    this.isStarted = true;
    return Promise.resolve();
  }
  isRunning(): boolean {
    return this.isStarted;
  }
  dispose(): Promise<void> {
    if (!this.isStarted) return Promise.reject(new Error("it is not running"));
    fake.servers.push(`stop ${this.line}`);
    this.isStarted = false;
    return Promise.resolve();
  }
}

const replaced = new Map<string, unknown>([
  ["vscode", vscode],
  ["vscode-languageclient/node", { LanguageClient }],
]);
const loader = Module as unknown as { _load: (name: string, ...rest: unknown[]) => unknown };
const load = loader._load;
loader._load = (name, ...rest) => replaced.get(name) ?? load(name, ...rest);
