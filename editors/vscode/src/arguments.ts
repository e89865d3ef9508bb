// Arguments of a command as they are typed in one line.

export class ArgumentError extends Error {}

// Splits at blanks. Quotes of both kinds keep blanks, a backslash keeps the character behind it (between single quotes it
// is itself). There is no shell: `$NAME`, `~` and `*` stay as they are. Throws ArgumentError for a quote without its end.
export function splitArguments(line: string): string[] {
  const parts: string[] = [];
  let part: string | undefined;
  let quote = "";
  for (let i = 0; i < line.length; ++i) {
    const character = line.charAt(i);
    if (character === "\\" && quote !== "'" && i + 1 < line.length) {
      part = (part ?? "") + line.charAt(++i);
    } else if (quote !== "") {
      if (character === quote) quote = "";
      else part = (part ?? "") + character;
    } else if (character === "'" || character === '"') {
      quote = character;
      part ??= "";
    } else if (/\s/.test(character)) {
      if (part !== undefined) parts.push(part);
      part = undefined;
    } else {
      part = (part ?? "") + character;
    }
  }
  if (quote !== "") throw new ArgumentError(`a ${quote} has no end`);
  if (part !== undefined) parts.push(part);
  return parts;
}
