// What package.json tells VS Code.
import { readFileSync } from "node:fs";
import { join } from "node:path";

interface Contributions {
  commands: { command: string }[];
  configuration: { properties: Record<string, { default: string }> };
  taskDefinitions: { type: string }[];
  problemMatchers: [
    {
      name: string;
      pattern: { regexp: string; file: number; line: number; column: number; severity: number; message: number };
    },
  ];
}

const file = join(__dirname, "../../package.json");
export const { contributes: contributions } = JSON.parse(readFileSync(file, "utf8")) as { contributes: Contributions };
