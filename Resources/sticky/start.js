function start() {
  const values = readValues();
  palette = Array.isArray(values.colors) ? values.colors.filter(isColor) : [];
  const current = palette.find((c) => c.name === values.color) ||
    { name: typeof values.color === "string" ? values.color : "yellow", bg: values.bg, fg: values.fg, bar: values.bar };
  buildSwatches();
  if (!colorFromApp) applyColor(current);
  // A note whose text did not arrive stays read-only, so typing can never overwrite the file.
  if (!readable && typeof values.content === "string") {
    readable = true;
    text = values.content;
    savedText = text;
  }
  render();
  showConflict(values.conflict);
  wireEvents();
  wireConflict();
  reportBarWidth();
  if (values.edit === true && readable) beginEditing(text.length);
}

if (document.readyState === "loading") document.addEventListener("DOMContentLoaded", start, { once: true });
else start();
