// Saving: the whole text goes to the app once typing pauses.

function scheduleSave() {
  clearTimeout(saveTimer);
  saveTimer = setTimeout(flushSave, SAVE_PAUSE_MS);
}

function flushSave() {
  clearTimeout(saveTimer);
  saveTimer = 0;
  if (!readable || text === savedText) return;
  savedText = text;
  post({ t: "save", c: text, v: contentVersion });
}

function hasUnsavedTyping() {
  return readable && text !== savedText;
}
