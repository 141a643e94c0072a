// The note page shows its note, and answers the calls the program makes.
#include "integration/NotePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

// ---------------------------------------------------------------- what the page shows

TEST_F(NotePage, loadsTheBuiltPageAndReportsItsButtonStrip) {
    StickyController& note = openLoaded("hello");
    ASSERT_TRUE(waitForMessage(page::message::bar));
    const json bar = messagesOfType(page::message::bar).front().body;
    ASSERT_TRUE(bar["w"].is_number());
    EXPECT_GT(bar["w"].get<double>(), 20);
    EXPECT_EQ(run(note, byId(element::view) + ".innerText.trim()"), "hello");
}

TEST_F(NotePage, showsTheNoteAsRenderedMarkdown) {
    StickyController& note = openLoaded("# Shopping\n\n- milk\n- **bread**");
    EXPECT_EQ(run(note, "document.querySelector('" + selector(element::view, "h1") + "').textContent"),
              "Shopping");
    EXPECT_EQ(run(note, "document.querySelectorAll('" + selector(element::view, "li") + "').length"), 2);
    EXPECT_EQ(run(note, "document.querySelector('" + selector(element::view, "li strong") + "').textContent"),
              "bread");
}

TEST_F(NotePage, showsItsTextAsItIsWhenNoMarkdownPageWasGiven) {
    // A factory of its own, never given the Markdown page.
    GtkNoteWindowFactory bare;
    const Platform::Services shared = Platform::current();
    Platform::Services platform = shared;
    platform.noteWindowFactory = &bare;
    Platform::install(platform);
    const std::string text = "# Shopping\n\n- milk <b>now</b>";
    {
        StickyController note("sticky-bare", text, defaultRecord(), false, NoteDesk::get().pageTemplate,
                              [](StickyController&, const std::string&, const json&) {});
        Platform::install(shared);
        ASSERT_TRUE(loaded(note));
        EXPECT_EQ(
            run(note, "document.querySelector('" + selector(element::view, ".plain") + "').textContent"),
            text);
        EXPECT_EQ(run(note, "document.querySelectorAll('" + selector(element::view, "h1") + ", " +
                                selector(element::view, "li") + ", " + selector(element::view, "b") +
                                "').length"),
                  0);
        EXPECT_EQ(run(note, "currentText()"), text);
    }
    Platform::install(shared);
}

TEST_F(NotePage, showsAClosingScriptTagInTheNoteLiterally) {
    const std::string text = "before </script><script>window.__pwned = 1</script> after";
    StickyController& note = openLoaded(text);
    EXPECT_EQ(run(note, byId(element::view) + ".innerText.trim()"), text);
    EXPECT_EQ(run(note, "typeof window.__pwned"), "undefined");
    EXPECT_EQ(run(note, "document.querySelectorAll('script').length"), 2);   // the page's own two
}

TEST_F(NotePage, keepsAPlaceholderWrittenInTheNoteAsTheNoteSaysIt) {
    const std::string text = "__CONTENT__ and __BG__ and __EDIT__";
    StickyController& note = openLoaded(text, defaultRecord(), true);
    EXPECT_EQ(run(note, byId(element::editor) + ".value"), text);
    run(note, byId(element::editor) + ".blur()");
    // Rendered as Markdown (double underscores make bold), never filled in.
    EXPECT_EQ(run(note, byId(element::view) + ".innerText.trim()"), "CONTENT and BG and EDIT");
    EXPECT_EQ(run(note, "document.querySelectorAll('" + selector(element::view, "strong") + "').length"), 3);
}

TEST_F(NotePage, showsAnHtmlCommentOpenerBeforeAScriptTagLiterally) {
    const std::string text = "<!--<script> still text";
    StickyController& note = openLoaded(text);
    EXPECT_EQ(run(note, byId(element::view) + ".innerText.trim()"), text);
    note.sendContent("changed");
    EXPECT_TRUE(runMainContextUntil(
        [&] { return run(note, byId(element::view) + ".innerText.trim()") == "changed"; }));
}

TEST_F(NotePage, opensTheEditorAtOnceForANewNote) {
    StickyController& note = openLoaded("draft", defaultRecord(), true);
    EXPECT_EQ(run(note, "!" + byId(element::editor) + ".hidden"), true);
    EXPECT_EQ(run(note, byId(element::editor) + ".value"), "draft");
}

TEST_F(NotePage, keepsTheEditorClosedForANoteThatIsNotNew) {
    StickyController& note = openLoaded("draft");
    EXPECT_EQ(run(note, byId(element::editor) + ".hidden"), true);
}

TEST_F(NotePage, paintsTheNoteInItsColour) {
    StickyController& note = openLoaded("x", recordAt({200, 150, 260, 220}, "blue"));
    EXPECT_EQ(run(note, "getComputedStyle(" + byId(element::note) + ").backgroundColor"),
              "rgb(207, 230, 255)");
    EXPECT_EQ(run(note, "getComputedStyle(" + byId(element::header) + ").backgroundColor"),
              "rgb(172, 210, 251)");
}

TEST_F(NotePage, paintsANoteWithAnUnknownColourYellow) {
    StickyController& note = openLoaded("x", recordAt({200, 150, 260, 220}, "teal"));
    EXPECT_EQ(run(note, "getComputedStyle(" + byId(element::note) + ").backgroundColor"),
              "rgb(255, 244, 163)");
}

// ---------------------------------------------------------------- calls into the page

TEST_F(NotePage, setContentReplacesTheTextWithoutSavingIt) {
    StickyController& note = openLoaded("old");
    note.sendContent("new **text** </script>");
    EXPECT_TRUE(runMainContextUntil(
        [&] { return run(note, byId(element::view) + ".innerText.trim()") == "new text </script>"; }));
    settle(400ms);
    EXPECT_TRUE(messagesOfType(page::message::save).empty());
}

TEST_F(NotePage, aSaveSaysHowManyTextsThePageHadBeenSent) {
    StickyController& note = openLoaded("one", defaultRecord(), true);
    note.sendContent("two");
    note.sendContent("three");
    run(note, byId(element::editor) + ".value += ' and more'; " + byId(element::editor) +
                  ".dispatchEvent(new Event('input')); 1");
    ASSERT_TRUE(waitForSave("three and more"));
    EXPECT_EQ(messagesOfType(page::message::save).back().body[page::field::version], note.contentVersion);
    EXPECT_EQ(note.contentVersion, 2);
}

TEST_F(NotePage, setColorRepaintsTheNote) {
    StickyController& note = openLoaded("x");
    note.sendColor(StickyColor::named("mocha"));
    EXPECT_TRUE(runMainContextUntil([&] {
        return run(note, "getComputedStyle(" + byId(element::note) + ").backgroundColor") ==
               "rgb(49, 50, 68)";
    }));
    EXPECT_EQ(run(note, "getComputedStyle(" + byId(element::header) + ").backgroundColor"),
              "rgb(69, 71, 90)");
    EXPECT_EQ(run(note, "getComputedStyle(" + byId(element::view) + ").color"), "rgb(205, 214, 244)");
}

TEST_F(NotePage, pasteTextInsertsAtTheCaretAndSavesTheText) {
    StickyController& note = openLoaded("one  three", defaultRecord(), true);
    run(note, byId(element::editor) + ".setSelectionRange(4, 4)");
    note.sendPaste("two");
    EXPECT_TRUE(waitForSave("one two three"));
}

TEST_F(NotePage, setSelectedShowsAndDropsTheSelectedRing) {
    StickyController& note = openShown("x");
    const std::string shadow = "getComputedStyle(" + byId(element::note) + ").boxShadow";
    const std::string before = run(note, shadow);
    note.sendSelected(true);
    EXPECT_TRUE(runMainContextUntil(
        [&] { return run(note, shadow).get<std::string>().find("47, 124, 246") != std::string::npos; }));
    note.sendSelected(false);
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, shadow) == before; }));
}

TEST_F(NotePage, flashPlaysAnAnimationOnTheNote) {
    StickyController& note = openLoaded("x");
    EXPECT_EQ(run(note, byId(element::note) + ".getAnimations().length"), 0);
    note.sendFlash();
    EXPECT_TRUE(
        runMainContextUntil([&] { return run(note, byId(element::note) + ".getAnimations().length") != 0; }));
}

TEST_F(NotePage, setTrashShowsAndDropsTheDeleteLook) {
    StickyController& note = openShown("x");
    const std::string transform = "getComputedStyle(" + byId(element::note) + ").transform";
    EXPECT_EQ(run(note, transform), "none");
    note.sendTrash(true);
    EXPECT_TRUE(
        runMainContextUntil([&] { return run(note, transform) == "matrix(0.94, 0, 0, 0.94, 0, 0)"; }));
    note.sendTrash(false);
    EXPECT_TRUE(runMainContextUntil([&] { return run(note, transform) == "none"; }));
}
