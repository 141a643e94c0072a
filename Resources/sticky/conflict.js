// The banner of a sync tool's conflicting copy: which note it conflicts with,
// and the two ways out of it.

function showConflict(title) {
  const banner = $("conflict");
  if (typeof title !== "string") {
    banner.hidden = true;
    return;
  }
  $("conflictText").textContent = "Conflicting copy of \u201c" + title + "\u201d";
  banner.hidden = false;
}

function chooseConflict(choice) {
  // The copy's latest typing reaches the app before the choice does.
  flushSave();
  post({ t: "conflict", choice });
}

function wireConflict() {
  $("conflict").addEventListener("mousedown", (event) => event.preventDefault());
  $("keepCopy").addEventListener("click", () => chooseConflict("keep"));
  $("dismissCopy").addEventListener("click", () => chooseConflict("dismiss"));
}
