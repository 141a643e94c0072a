// The values the app wrote into the page's data block.

function readValues() {
  const block = $("data");
  let raw = block ? block.textContent : "";
  // The app escapes every end-tag opener in the values, so the first one here is
  // the block's real end, even when a note holding an HTML comment opener followed
  // by a script start tag made the parser run on past it to the end of the page.
  const end = raw.search(/<\/script/i);
  if (end >= 0) raw = raw.slice(0, end);
  try {
    const values = JSON.parse(raw);
    return values && typeof values === "object" ? values : {};
  } catch (error) {
    return {};
  }
}
