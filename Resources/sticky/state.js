// What the whole page shares: its elements, what it holds of the note, and the one way to the app.

const SAVE_PAUSE_MS = 250;
const HEX_COLOR = /^#[0-9a-fA-F]{6}$/;

const $ = (id) => document.getElementById(id);
const note = $("note");
const drag = $("drag");
const buttons = $("buttons");
const view = $("view");
const editor = $("editor");
const colorButton = $("colorButton");
const pinButton = $("pinButton");
const snoozeButton = $("snoozeButton");
const colorMenu = $("colorMenu");
const snoozeMenu = $("snoozeMenu");

let text = "";           // the note's Markdown source as the page holds it
let savedText = "";      // the text the app last had from us or gave us
let readable = false;    // false until the page holds the note's real text
let editing = false;
let saveTimer = 0;
let contentVersion = 0;  // how many texts the app has sent since the page loaded
let palette = [];
let colorName = "yellow";
let colorFromApp = false; // setColor came before the page started
let lastBarWidth = -1;

function post(message) {
  try {
    window.webkit.messageHandlers.sticky.postMessage(message);
  } catch (error) {
    // No app around (the page opened on its own): nothing to tell.
  }
}
