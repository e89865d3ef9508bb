// Where the tool `ostra` is.
import { accessSync, constants, statSync } from "node:fs";
import { delimiter, join, resolve } from "node:path";

export interface Surroundings {
  searchPath: string; // as in PATH
  home: string;
  folder: string | undefined; // of the workspace
}

export function isProgram(file: string): boolean {
  try {
    accessSync(file, constants.X_OK);
    return statSync(file).isFile();
  } catch {
    return false;
  }
}

// The file that the setting `ostra.path` names, undefined if it is none that can be run. A name without a slash is looked
// for in the search path, the empty one counts as "ostra"; `~/` is the home folder; other relative files are those of the
// workspace's folder, and not found without one.
export function findTool(setting: string, around: Surroundings): string | undefined {
  const name = setting.trim() || "ostra";
  if (!name.includes("/")) {
    const folders = around.searchPath.split(delimiter).filter((folder) => folder !== "");
    return folders.map((folder) => join(folder, name)).find(isProgram);
  }
  let file: string;
  if (name.startsWith("~/")) file = join(around.home, name.slice(2));
  else if (name.startsWith("/")) file = name;
  else if (around.folder !== undefined) file = resolve(around.folder, name);
  else return undefined;
  return isProgram(file) ? file : undefined;
}
