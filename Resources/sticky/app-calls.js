// The functions the app calls on the page.

function setPinnedLook(on) {
  pinButton.classList.add("known");
  pinButton.classList.toggle("on", on);
  pinButton.title = on ? "Stop keeping on top" : "Keep on top";
}

window.setContent = (value) => {
  if (typeof value !== "string") return;
  // Every text the app sends counts, even an unchanged one: saves name the
  // last one they saw, so a save overtaken by a newer file is dropped.
  contentVersion += 1;
  if (readable && value === text) {
    savedText = value;
    return;
  }
  // The file changed elsewhere: it replaces the page, and typing the app had
  // not seen yet is dropped with its pending save.
  clearTimeout(saveTimer);
  saveTimer = 0;
  readable = true;
  text = value;
  savedText = value;
  if (editing) {
    const caret = editor.selectionStart;
    editor.value = value;
    editor.setSelectionRange(Math.min(caret, value.length), Math.min(caret, value.length));
  } else {
    render();
  }
};

// The text the page holds now, typing included (null while it holds none).
window.currentText = () => (readable ? text : null);

window.setColor = (name, bg, fg, bar) => {
  colorFromApp = true;
  applyColor({ name: String(name), bg, fg, bar });
};

window.pasteText = (value) => {
  if (typeof value !== "string" || !value || !readable) return;
  beginEditing();
  insertText(value.replace(/\r\n?/g, "\n"));
};

window.setSelected = (on) => {
  note.classList.toggle("selected", Boolean(on));
};

window.flash = () => {
  note.classList.remove("flash");
  void note.offsetWidth;   // restarts the animation when flashed again
  note.classList.add("flash");
};

window.setTrash = (on) => {
  note.classList.toggle("over-trash", Boolean(on));
};

window.setPinned = (on) => setPinnedLook(Boolean(on));

window.setConflict = (title) => showConflict(title);

note.addEventListener("animationend", (event) => {
  if (event.animationName === "flash") note.classList.remove("flash");
});
