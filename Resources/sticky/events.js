// What presses, clicks and keys do.

function wireEvents() {
  // Every press on the note focuses it; one outside the drag strip also ends a box
  // selection (a press on the strip may be the start of moving the selection).
  // Presses in the transparent margin around the note are not on the note.
  document.addEventListener("mousedown", (event) => {
    if (!note.contains(event.target)) return;
    post({ t: "focus" });
    if (!drag.contains(event.target)) post({ t: "clearSelection" });
    const inMenu = event.target.closest(".popover") || event.target.closest("#colorButton, #snoozeButton");
    if (!inMenu) closeMenus();
  }, true);

  // Presses on the header keep the editor's focus and never start a text selection.
  $("header").addEventListener("mousedown", (event) => event.preventDefault());
  $("grip").addEventListener("mousedown", (event) => event.preventDefault());
  for (const menu of [colorMenu, snoozeMenu]) {
    menu.addEventListener("mousedown", (event) => {
      if (!event.target.closest("input")) event.preventDefault();
    });
  }

  colorButton.addEventListener("click", () => openMenu(colorMenu, colorButton));
  snoozeButton.addEventListener("click", () => openMenu(snoozeMenu, snoozeButton));
  pinButton.addEventListener("click", () => {
    if (pinButton.classList.contains("known")) setPinnedLook(!pinButton.classList.contains("on"));
    post({ t: "pin" });
  });
  $("closeButton").addEventListener("click", () => {
    flushSave();
    post({ t: "close" });
  });
  $("swatches").addEventListener("click", (event) => {
    const swatch = event.target.closest("button");
    if (swatch) chooseColor(swatch.dataset.name);
  });
  $("pickGo").addEventListener("click", submitPicker);

  // Links open in the default browser through the app; the note never navigates.
  document.addEventListener("click", (event) => {
    const link = event.target.closest && event.target.closest("a");
    if (link) {
      event.preventDefault();
      if (link.hasAttribute("href") && view.contains(link)) post({ t: "link", url: link.href });
    }
  }, true);
  document.addEventListener("auxclick", (event) => {
    if (event.target.closest && event.target.closest("a")) event.preventDefault();
  }, true);

  view.addEventListener("click", (event) => {
    const box = event.target.closest("input.task");
    if (box) {
      event.preventDefault();
      toggleTask(Number(box.dataset.task));
      return;
    }
    if (event.target.closest("a[href]")) return;
    const selection = window.getSelection();
    if (selection && !selection.isCollapsed && view.contains(selection.anchorNode)) return;
    beginEditing(caretForClick(event.target));
  });
  // Clicks in the empty body below a short note land on the body, not the view.
  $("body").addEventListener("click", (event) => {
    if (event.target === $("body")) beginEditing(text.length);
  });

  editor.addEventListener("input", onEditorInput);
  editor.addEventListener("blur", () => {
    flushSave();
    endEditing();
  });
  window.addEventListener("pagehide", flushSave);
  document.addEventListener("visibilitychange", () => {
    if (document.visibilityState === "hidden") flushSave();
  });

  document.addEventListener("keydown", onKeyDown, true);

  // Dropped files would otherwise make the view try to open them.
  document.addEventListener("drop", (event) => {
    if (!(editing && event.target === editor)) event.preventDefault();
  }, true);

  new ResizeObserver(reportBarWidth).observe(buttons);
  window.addEventListener("resize", reportBarWidth);
}

function onKeyDown(event) {
  const ctrl = event.ctrlKey && !event.altKey && !event.metaKey;
  const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
  const inEditor = editing && event.target === editor;
  const inPicker = event.target.closest && event.target.closest(".picker");

  if (key === "Escape") {
    if (!colorMenu.hidden || !snoozeMenu.hidden) closeMenus();
    else if (editing) editor.blur();
    event.preventDefault();
    return;
  }
  if (inPicker) return;
  if (ctrl && !event.shiftKey && (key === "c" || key === "Insert")) {
    copySelection(false);
    event.preventDefault();
  } else if (ctrl && !event.shiftKey && key === "x") {
    copySelection(true);
    event.preventDefault();
  } else if ((ctrl && !event.shiftKey && key === "v") || (event.shiftKey && !event.ctrlKey && key === "Insert")) {
    requestPaste();
    event.preventDefault();
  } else if (event.shiftKey && !event.ctrlKey && key === "Delete" && inEditor) {
    copySelection(true);
    event.preventDefault();
  } else if (ctrl && !event.shiftKey && key === "a") {
    selectAllOfNote();
    event.preventDefault();
  } else if (ctrl && key === "z" && inEditor) {
    document.execCommand(event.shiftKey ? "redo" : "undo");
    event.preventDefault();
  } else if (ctrl && !event.shiftKey && key === "y" && inEditor) {
    document.execCommand("redo");
    event.preventDefault();
  } else if (inEditor && key === "Enter" && !event.shiftKey && !event.ctrlKey && !event.altKey && !event.isComposing) {
    if (continueList()) event.preventDefault();
  } else if (inEditor && key === "Tab" && !event.ctrlKey && !event.altKey) {
    indent(event.shiftKey);
    event.preventDefault();
  } else if (!editing && key === "Enter" && !event.target.closest("button, a, input")) {
    beginEditing(text.length);
    event.preventDefault();
  }
}
