import assert from "node:assert/strict";
import { describe, test } from "node:test";
import { loadPart } from "./loadPart.mjs";

const { listContinuation, isListItem, outdentWidth, toggledTask, lineEndOffset } = loadPart("text-rules.js", [
  "listContinuation", "isListItem", "outdentWidth", "toggledTask", "lineEndOffset",
]);

const atEnd = (line) => listContinuation(line, line.length);

describe("Enter in a list", () => {
  test("a bullet item starts the next bullet with the same marker and spacing", () => {
    assert.deepEqual(atEnd("- milk"), { insert: "\n- " });
    assert.deepEqual(atEnd("*   eggs"), { insert: "\n*   " });
    assert.deepEqual(atEnd("+ bread"), { insert: "\n+ " });
  });

  test("a numbered item counts one up and keeps its delimiter", () => {
    assert.deepEqual(atEnd("1. first"), { insert: "\n2. " });
    assert.deepEqual(atEnd("9) ninth"), { insert: "\n10) " });
  });

  test("an indented item keeps its indent", () => {
    assert.deepEqual(atEnd("    - nested"), { insert: "\n    - " });
  });

  test("a task item starts an empty task, whether its box was ticked or not", () => {
    assert.deepEqual(atEnd("- [x] done"), { insert: "\n- [ ] " });
    assert.deepEqual(atEnd("2. [ ] open"), { insert: "\n3. [ ] " });
  });

  test("Enter in the middle of an item's text still starts the next item", () => {
    assert.deepEqual(listContinuation("- milk and eggs", 6), { insert: "\n- " });
  });

  test("an empty item with the caret at its end ends the list", () => {
    assert.deepEqual(atEnd("- "), { endsList: true });
    assert.deepEqual(atEnd("3.   "), { endsList: true });
    assert.deepEqual(atEnd("- [ ] "), { endsList: true });
  });

  test("a caret inside the marker, or a line that is no list item, is left to the editor", () => {
    assert.equal(listContinuation("- milk", 1), null);
    assert.equal(listContinuation("12. twelve", 2), null);
    assert.equal(atEnd("plain text"), null);
    assert.equal(atEnd("-no space"), null);
    assert.equal(atEnd(""), null);
    assert.equal(atEnd("1234567890. too long a number"), null);
  });
});

describe("Tab in a list", () => {
  test("list items are told from other lines", () => {
    assert.equal(isListItem("  - item"), true);
    assert.equal(isListItem("10. item"), true);
    assert.equal(isListItem("# heading"), false);
  });

  test("Shift+Tab takes at most two spaces, and only spaces that are there", () => {
    assert.equal(outdentWidth("    - deep"), 2);
    assert.equal(outdentWidth(" - one"), 1);
    assert.equal(outdentWidth("- none"), 0);
  });
});

describe("ticking a task in the rendered note", () => {
  test("an open box is ticked and a ticked one, either case, is cleared", () => {
    assert.equal(toggledTask("- [ ] milk", 0), "- [x] milk");
    assert.equal(toggledTask("- [x] milk", 0), "- [ ] milk");
    assert.equal(toggledTask("- [X] milk", 0), "- [ ] milk");
  });

  test("only the named line changes", () => {
    const text = "# Shopping\n- [ ] milk\n- [ ] eggs\n";
    assert.equal(toggledTask(text, 2), "# Shopping\n- [ ] milk\n- [x] eggs\n");
  });

  test("boxes in numbered items, quotes and nested lists are found", () => {
    assert.equal(toggledTask("1. [ ] first", 0), "1. [x] first");
    assert.equal(toggledTask("> - [ ] quoted", 0), "> - [x] quoted");
    assert.equal(toggledTask("  * [x] nested", 0), "  * [ ] nested");
  });

  test("a line without a box, or past the end, gives nothing to save", () => {
    assert.equal(toggledTask("- milk", 0), null);
    assert.equal(toggledTask("see [x] here", 0), null);
    assert.equal(toggledTask("- [ ] milk", 5), null);
  });
});

describe("where a line ends", () => {
  const text = "first\nsecond\n\nfourth";

  test("each line's end is found, an empty line's too", () => {
    assert.equal(lineEndOffset(text, 0), 5);
    assert.equal(lineEndOffset(text, 1), 12);
    assert.equal(lineEndOffset(text, 2), 13);
    assert.equal(lineEndOffset(text, 3), text.length);
  });

  test("a line past the last one is the end of the text", () => {
    assert.equal(lineEndOffset(text, 9), text.length);
    assert.equal(lineEndOffset("", 0), 0);
  });
});
