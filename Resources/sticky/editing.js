// The editor: entering and leaving it, the caret, lists and tasks.

function beginEditing(caret) {
  if (!readable) return;
  closeMenus();
  if (!editing) {
    editing = true;
    note.classList.add("editing");
    if (editor.value !== text) editor.value = text;   // same text keeps the undo history
    view.hidden = true;
    editor.hidden = false;
  }
  editor.focus();
  if (typeof caret === "number") {
    const at = Math.max(0, Math.min(caret, editor.value.length));
    editor.setSelectionRange(at, at);
    revealCaret();
  }
}

function endEditing() {
  if (!editing) return;
  flushSave();
  editing = false;
  note.classList.remove("editing");
  const scrolled = editor.scrollTop;
  editor.hidden = true;
  view.hidden = false;
  render(() => {
    view.scrollTop = scrolled;
  });
}

// Scrolls the editor so the caret's line is in view (setSelectionRange alone does not).
function revealCaret() {
  const before = editor.value.slice(0, editor.selectionStart);
  const lines = before.split("\n").length;
  const lineHeight = parseFloat(getComputedStyle(editor).lineHeight) || 19;
  const y = (lines - 1) * lineHeight;
  if (y < editor.scrollTop || y > editor.scrollTop + editor.clientHeight - 2 * lineHeight) {
    editor.scrollTop = Math.max(0, y - editor.clientHeight / 3);
  }
}

// Where a click on the rendered note puts the caret: the end of the block's first
// line, or of a paragraph's last line; below everything, the end of the text.
function caretForClick(target) {
  const block = target.closest ? target.closest("[data-line]") : null;
  if (!block || !view.contains(block)) return text.length;
  const first = Number(block.getAttribute("data-line"));
  const last = Number(block.getAttribute("data-line-end")) - 1;
  return lineEndOffset(text, block.nodeName === "P" ? Math.max(first, last) : first);
}

function insertText(value) {
  if (!document.execCommand("insertText", false, value)) {
    editor.setRangeText(value, editor.selectionStart, editor.selectionEnd, "end");
    onEditorInput();
  }
}

// An empty insertText may swallow a neighbouring line break in WebKit; delete does not.
function deleteSelection() {
  if (!document.execCommand("delete")) {
    editor.setRangeText("", editor.selectionStart, editor.selectionEnd, "end");
    onEditorInput();
  }
}

function onEditorInput() {
  text = editor.value;
  scheduleSave();
}

function currentLine() {
  const value = editor.value;
  const caret = editor.selectionStart;
  const start = value.lastIndexOf("\n", caret - 1) + 1;
  const newline = value.indexOf("\n", caret);
  const end = newline < 0 ? value.length : newline;
  return { start, end, caret, text: value.slice(start, end) };
}

// Enter in a list item starts the next item; Enter on an empty item ends the list.
function continueList() {
  if (editor.selectionStart !== editor.selectionEnd) return false;
  const line = currentLine();
  const next = listContinuation(line.text, line.caret - line.start);
  if (!next) return false;
  if (next.endsList && line.start > 0) {
    editor.setSelectionRange(line.start - 1, line.end);
    insertText("\n");
  } else if (next.endsList) {
    editor.setSelectionRange(0, line.end);
    deleteSelection();
  } else {
    insertText(next.insert);
  }
  return true;
}

// Tab indents a list item by two spaces (Shift+Tab outdents); elsewhere it types two spaces.
function indent(outdent) {
  const line = currentLine();
  const start = editor.selectionStart;
  const end = editor.selectionEnd;
  if (!isListItem(line.text) || start !== end) {
    if (!outdent) insertText("  ");
    return;
  }
  if (outdent) {
    const remove = outdentWidth(line.text);
    if (!remove) return;
    editor.setSelectionRange(line.start, line.start + remove);
    deleteSelection();
    editor.setSelectionRange(Math.max(line.start, start - remove), Math.max(line.start, start - remove));
  } else {
    editor.setSelectionRange(line.start, line.start);
    insertText("  ");
    editor.setSelectionRange(start + 2, start + 2);
  }
}

function toggleTask(line) {
  const toggled = toggledTask(text, line);
  if (toggled === null) return;
  text = toggled;
  render();
  flushSave();
}
