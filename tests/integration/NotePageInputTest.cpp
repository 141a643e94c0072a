// What a person does in a note page, and the messages it sends the program.
#include "integration/NotePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

// ---------------------------------------------------------------- what a person does in the page

TEST_F(NotePage, clickingTheNoteSendsFocusAndClearSelection) {
    StickyController& note = openShown("some text");
    ASSERT_TRUE(click(note, selector(element::view)));
    EXPECT_TRUE(waitForMessage(page::message::focus));
    EXPECT_TRUE(waitForMessage(page::message::clearSelection));
}

TEST_F(NotePage, pressingTheDragStripSendsFocusButKeepsTheSelection) {
    StickyController& note = openShown("some text");
    ASSERT_TRUE(click(note, selector(element::drag)));
    EXPECT_TRUE(waitForMessage(page::message::focus));
    settle(300ms);
    EXPECT_TRUE(messagesOfType(page::message::clearSelection).empty());
}

TEST_F(NotePage, typingThenLeavingTheEditorAlwaysSavesTheFinalText) {
    for (const std::string text : {"first words", "Second, with punctuation: (a) [b] {c}!", "- [ ] a task"}) {
        received.clear();
        notes.clear();
        StickyController& note = openShown("");
        ASSERT_TRUE(click(note, selector(element::body)));
        ASSERT_TRUE(
            runMainContextUntil([&] { return run(note, "document.activeElement.id") == element::editor; }));
        type(text);
        key("Escape");
        EXPECT_TRUE(waitForSave(text))
            << "typed \"" << text << "\", last saved " << lastSaved().value_or("(nothing)");
        EXPECT_EQ(run(note, byId(element::editor) + ".hidden"), true);
    }
}

TEST_F(NotePage, typingSavesAfterAShortPauseWithoutLeavingTheEditor) {
    StickyController& note = openShown("", defaultRecord(), true);
    ASSERT_TRUE(focus(note));
    type("kept while typing");
    EXPECT_TRUE(waitForSave("kept while typing"));
    EXPECT_EQ(run(note, byId(element::editor) + ".hidden"), false);
}

TEST_F(NotePage, choosingAColourSendsItsName) {
    StickyController& note = openShown("x");
    ASSERT_TRUE(click(note, selector(element::colorButton)));
    ASSERT_TRUE(
        runMainContextUntil([&] { return run(note, byId(element::colorMenu) + ".hidden") == false; }));
    ASSERT_TRUE(click(note, "#swatches button[data-name='green']"));
    ASSERT_TRUE(waitForMessage(page::message::color));
    EXPECT_EQ(messagesOfType(page::message::color).back().body,
              json({{page::message::type, page::message::color}, {page::field::name, "green"}}));
}

TEST_F(NotePage, thePinButtonSendsPin) {
    StickyController& note = openShown("x");
    ASSERT_TRUE(click(note, selector(element::pinButton)));
    ASSERT_TRUE(waitForMessage(page::message::pin));
    EXPECT_EQ(messagesOfType(page::message::pin).back().body,
              json({{page::message::type, page::message::pin}}));
}

TEST_F(NotePage, theDeleteButtonSendsClose) {
    StickyController& note = openShown("x");
    ASSERT_TRUE(click(note, selector(element::closeButton)));
    ASSERT_TRUE(waitForMessage(page::message::close));
    EXPECT_EQ(messagesOfType(page::message::close).back().body,
              json({{page::message::type, page::message::close}}));
}

TEST_F(NotePage, snoozingForAnHourSendsTheWakeTimeInMillisecondsAndItsWords) {
    StickyController& note = openShown("x", recordAt({200, 150, 300, 260}));
    ASSERT_TRUE(click(note, selector(element::snoozeButton)));
    ASSERT_TRUE(
        runMainContextUntil([&] { return run(note, byId(element::snoozeMenu) + ".hidden") == false; }));
    const double now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    ASSERT_TRUE(click(note, "#snoozeChoices .menu-item"));
    ASSERT_TRUE(waitForMessage(page::message::snooze));
    const json body = messagesOfType(page::message::snooze).back().body;
    ASSERT_TRUE(body[page::field::at].is_number());
    EXPECT_NEAR(body[page::field::at].get<double>() / 1000, now + 3600, 10);
    ASSERT_TRUE(body[page::field::label].is_string());
    EXPECT_FALSE(body[page::field::label].get<std::string>().empty());
}

// Opens the snooze menu's date and time picker and fills it with the local
// time `daysAhead` days from now at 07:30; returns that time in milliseconds.
static const std::string fillPicker =
    "(() => { const d = new Date(Date.now() + DAYS * 86400000); d.setHours(7, 30, 0, 0);"
    " const pad = (n) => String(n).padStart(2, '0');"
    " " +
    byId(element::pickDate) +
    ".value = `${d.getFullYear()}-${pad(d.getMonth() + 1)}-${pad(d.getDate())}`;"
    " " +
    byId(element::pickTime) + ".value = '07:30'; return d.getTime(); })()";

static std::string fillPickerScript(int daysAhead) {
    std::string script = fillPicker;
    script.replace(script.find("DAYS"), 4, std::to_string(daysAhead));
    return script;
}

TEST_F(NotePage, snoozingUntilAPickedDateAndTimeSendsThatTime) {
    StickyController& note = openShown("x", recordAt({200, 150, 300, 260}));
    ASSERT_TRUE(openPicker(note));
    const json expected = run(note, fillPickerScript(2));
    ASSERT_TRUE(expected.is_number());
    ASSERT_TRUE(click(note, selector(element::pickGo)));
    ASSERT_TRUE(waitForMessage(page::message::snooze));
    const json body = messagesOfType(page::message::snooze).back().body;
    EXPECT_EQ(body[page::field::at], expected);
    ASSERT_TRUE(body[page::field::label].is_string());
    EXPECT_NE(body[page::field::label].get<std::string>().find("7:30"), std::string::npos)
        << body[page::field::label];
}

TEST_F(NotePage, aPickedTimeInThePastIsRefusedWithAMessage) {
    StickyController& note = openShown("x", recordAt({200, 150, 300, 260}));
    ASSERT_TRUE(openPicker(note));
    ASSERT_TRUE(run(note, fillPickerScript(-2)).is_number());
    ASSERT_TRUE(click(note, selector(element::pickGo)));
    EXPECT_TRUE(
        runMainContextUntil([&] { return run(note, byId(element::pickError) + ".hidden") == false; }));
    settle(300ms);
    EXPECT_TRUE(messagesOfType(page::message::snooze).empty());
}

TEST_F(NotePage, clickingALinkSendsItsAddressAndNeverNavigatesTheNote) {
    StickyController& note = openShown("see [the site](https://example.org/page?q=1) now");
    ASSERT_TRUE(click(note, "#view a"));
    ASSERT_TRUE(waitForMessage(page::message::link));
    EXPECT_EQ(messagesOfType(page::message::link).back().body,
              json({{page::message::type, page::message::link},
                    {page::field::url, "https://example.org/page?q=1"}}));
    settle(300ms);
    EXPECT_STREQ(webkit_web_view_get_uri(view(note)), "about:blank");
    EXPECT_EQ(run(note, "document.querySelector('" + selector(element::view, "a") + "').textContent"),
              "the site");
}

TEST_F(NotePage, aScriptThatSetsTheLocationNeverNavigatesTheNote) {
    StickyController& note = openLoaded("x");
    run(note, "location.href = 'https://example.org/'; 1");
    run(note, "window.open('https://example.org/') === null");
    settle(500ms);
    EXPECT_STREQ(webkit_web_view_get_uri(view(note)), "about:blank");
    EXPECT_EQ(run(note, "typeof window.setContent"), "function");
}

TEST_F(NotePage, copyingSendsTheSelectedText) {
    StickyController& note = openShown("copy me please", defaultRecord(), true);
    ASSERT_TRUE(focus(note));
    key("ctrl+a");
    key("ctrl+c");
    ASSERT_TRUE(waitForMessage(page::message::copy));
    EXPECT_EQ(messagesOfType(page::message::copy).back().body,
              json({{page::message::type, page::message::copy}, {page::field::copied, "copy me please"}}));
}

TEST_F(NotePage, pastingAsksTheAppForTheClipboardAndInsertsItsAnswer) {
    StickyController& note = openShown("start ", defaultRecord(), true);
    ASSERT_TRUE(focus(note));
    key("End");
    key("ctrl+v");
    ASSERT_TRUE(waitForMessage(page::message::paste));
    EXPECT_EQ(messagesOfType(page::message::paste).back().body,
              json({{page::message::type, page::message::paste}}));
    note.sendPaste("pasted");
    EXPECT_TRUE(waitForSave("start pasted"));
}
