// The Markdown page the app keeps for all notes turns the text into clean
// HTML; the answer comes back later, and only the newest request is shown.
let renderSerial = 0;

function showPlainText(source) {
  const block = document.createElement("p");
  block.className = "plain";
  block.textContent = source;
  view.replaceChildren(block);
}

function requestHTML(source) {
  try {
    return Promise.resolve(window.webkit.messageHandlers.markdown.postMessage(source));
  } catch (error) {
    return Promise.reject(error);
  }
}

function render(then) {
  view.classList.toggle("unreadable", !readable);
  const serial = ++renderSerial;
  if (!readable) {
    view.removeAttribute("aria-busy");
    view.replaceChildren();
    return;
  }
  const source = text;
  view.setAttribute("aria-busy", "true");
  const show = (html) => {
    if (serial !== renderSerial) return;
    view.removeAttribute("aria-busy");
    if (typeof html === "string") view.innerHTML = html;
    else showPlainText(source);
    if (then) then();
  };
  requestHTML(source).then(show, () => show(null));
}
