// Rules of the note's Markdown source that the editor and the rendered view
// follow: lists, tasks and lines. Pure: text in, text out.

// A task box at the start of a line, after any quote markers and list marker.
const TASK_SOURCE = /^(\s*(?:>\s?)*\s*(?:(?:[-*+]|\d{1,9}[.)])\s+)?)\[([ xX])\]/;
// A list item: indent, marker, space, an optional task box, the rest.
const LIST_LINE = /^(\s*)([-*+]|\d{1,9}[.)])(\s+)(\[[ xX]\]\s+)?(.*)$/;

function isListItem(line) {
  return LIST_LINE.test(line);
}

// What Enter does at `caret` (an offset into `line`): null when the line is
// no list item or the caret is inside its marker; { endsList: true } on an
// empty item with the caret at its end; otherwise the start of the next item
// to insert, numbered one up and with an empty task box if this one has one.
function listContinuation(line, caret) {
  const match = LIST_LINE.exec(line);
  if (!match || caret < match[1].length + match[2].length + match[3].length) return null;
  const [, indent, marker, space, task, rest] = match;
  if (!rest.trim() && caret === line.length) return { endsList: true };
  const ordered = /^(\d+)([.)])$/.exec(marker);
  const nextMarker = ordered ? `${Number(ordered[1]) + 1}${ordered[2]}` : marker;
  return { insert: `\n${indent}${nextMarker}${space}${task ? "[ ] " : ""}` };
}

// How many spaces Shift+Tab takes from the start of a line: those there, at most two.
function outdentWidth(line) {
  return Math.min(2, line.length - line.trimStart().length);
}

// The text with the task box on line `index` (from 0) ticked or cleared; null
// when that line holds no task box.
function toggledTask(text, index) {
  const lines = text.split("\n");
  const match = TASK_SOURCE.exec(lines[index] || "");
  if (!match) return null;
  const mark = match[2] === " " ? "x" : " ";
  lines[index] = `${match[1]}[${mark}]${lines[index].slice(match[0].length)}`;
  return lines.join("\n");
}

// The offset of the end of line `index` (from 0) in `text`; past the last line, the text's end.
function lineEndOffset(text, index) {
  let at = 0;
  for (let i = 0; i < index; i++) {
    const next = text.indexOf("\n", at);
    if (next < 0) return text.length;
    at = next + 1;
  }
  const end = text.indexOf("\n", at);
  return end < 0 ? text.length : end;
}
