// The note's colour: applying a palette entry, and the colour menu.

function isColor(entry) {
  return entry && typeof entry.name === "string" &&
    HEX_COLOR.test(entry.bg) && HEX_COLOR.test(entry.fg) && HEX_COLOR.test(entry.bar);
}

function rgbOf(hex) {
  const n = parseInt(hex.slice(1), 16);
  return [(n >> 16) & 255, (n >> 8) & 255, n & 255];
}

function isDark(hex) {
  const [r, g, b] = rgbOf(hex);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b < 128;
}

function applyColor(entry) {
  if (!isColor(entry)) return;
  const style = document.documentElement.style;
  style.setProperty("--bg", entry.bg);
  style.setProperty("--fg", entry.fg);
  style.setProperty("--bar", entry.bar);
  style.setProperty("--fg-rgb", rgbOf(entry.fg).join(", "));
  note.classList.toggle("dark", isDark(entry.bg));
  colorName = entry.name;
  markCurrentSwatch();
}

function buildSwatches() {
  const box = $("swatches");
  if (palette.length > 1) {
    const stops = palette.map((c, i) => `${c.bg} ${(i * 360) / palette.length}deg ${((i + 1) * 360) / palette.length}deg`);
    colorButton.querySelector(".swatch").style.background = `conic-gradient(${stops.join(", ")})`;
  }
  box.replaceChildren();
  for (const entry of palette) {
    const swatch = document.createElement("button");
    swatch.type = "button";
    swatch.dataset.name = entry.name;
    swatch.title = entry.name.charAt(0).toUpperCase() + entry.name.slice(1);
    swatch.setAttribute("aria-label", swatch.title);
    swatch.style.background = `linear-gradient(${entry.bar} 0 32%, ${entry.bg} 32%)`;
    box.append(swatch);
  }
  markCurrentSwatch();
}

function markCurrentSwatch() {
  for (const swatch of $("swatches").children) {
    swatch.classList.toggle("current", swatch.dataset.name === colorName);
  }
}

function chooseColor(name) {
  closeMenus();
  const entry = palette.find((c) => c.name === name);
  if (!entry) return;
  applyColor(entry);
  post({ t: "color", name });
}
