// The clipboard goes through the app: the page has no access of its own.

function selectedText() {
  if (editing && document.activeElement === editor) {
    return editor.value.slice(editor.selectionStart, editor.selectionEnd);
  }
  const selection = window.getSelection();
  return selection && view.contains(selection.anchorNode) ? selection.toString() : "";
}

function copySelection(cut) {
  const value = selectedText();
  if (!value) return;
  post({ t: "copy", text: value });
  if (cut && editing && document.activeElement === editor) deleteSelection();
}

function requestPaste() {
  if (!readable) return;
  if (!editing) beginEditing(text.length);
  post({ t: "paste" });
}

function selectAllOfNote() {
  if (editing) {
    editor.select();
    return;
  }
  const range = document.createRange();
  range.selectNodeContents(view);
  const selection = window.getSelection();
  selection.removeAllRanges();
  selection.addRange(range);
}
