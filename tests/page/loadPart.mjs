// Loads one piece of the note page's script, the way the page runs it (strict,
// in a scope of its own), and hands back the functions a test names.
import { readFileSync } from "node:fs";

const folder = new URL("../../Resources/sticky/", import.meta.url);

export function loadPart(file, names) {
  const code = readFileSync(new URL(file, folder), "utf8");
  return new Function(`"use strict";\n${code}\nreturn { ${names.join(", ")} };`)();
}
