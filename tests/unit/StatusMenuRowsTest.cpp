// The tray menu's rows as a pure function of what the menu shows.
#include "menubar/StatusMenu.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

using namespace marrowleaf;
using ::testing::ElementsAre;

namespace {


// Actions that write down what was chosen.
struct Chosen {
    std::vector<std::string> calls;

    MenuActions actions() {
        MenuActions a;
        auto record = [this](std::string what) { return [this, what] { calls.push_back(what); }; };
        a.newSticky = record("new");
        a.toggleHere = record("toggle");
        a.jump = [this](const std::string& id) { calls.push_back("jump " + id); };
        a.unsnooze = [this](const std::string& id) { calls.push_back("unsnooze " + id); };
        a.undoDelete = record("undo");
        a.openNotesFolder = record("folder");
        a.openTrash = record("trash");
        a.toggleAltClick = record("alt-click");
        a.toggleLoginItem = record("login");
        a.explainDesktopFeatures = record("desktop features");
        a.about = record("about");
        a.leaveTip = record("tip");
        a.quit = record("quit");
        return a;
    }
};

MenuState onADesktop() {
    MenuState state;
    state.locationKnown = true;
    state.loginItemAvailable = true;
    return state;
}

// "---" for a separator, else the title.
std::vector<std::string> titles(const std::vector<MenuRow>& rows) {
    std::vector<std::string> result;
    for (const auto& row : rows)
        result.push_back(row.separator ? "---" : row.title);
    return result;
}

const MenuRow& rowTitled(const std::vector<MenuRow>& rows, const std::string& title) {
    for (const auto& row : rows)
        if (!row.separator && row.title == title) return row;
    throw std::out_of_range("no row " + title);
}

bool hasRow(const std::vector<MenuRow>& rows, const std::string& title) {
    return std::ranges::any_of(rows,
                               [&](const MenuRow& row) { return !row.separator && row.title == title; });
}

}

TEST(StatusMenuRows, aDesktopWithNotesListsThemIndentedUnderAHeading) {
    MenuState state = onADesktop();
    state.here = {{"a", "Shopping"}, {"b", "Call the plumber"}};
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    EXPECT_THAT(titles(rows),
                ElementsAre("New Sticky", "Hide Stickies on This Desktop", "---", "On This Desktop",
                            "Shopping", "Call the plumber", "---", "Open Stickies Folder", "Open Trash",
                            "---", "Alt-Click Desktop for New Sticky", "Open at Login", "---",
                            "About Marrowleaf", "Leave a Tip\u2026", "Quit Marrowleaf"));
    const MenuRow& heading = rowTitled(rows, "On This Desktop");
    EXPECT_FALSE(heading.enabled);
    EXPECT_FALSE(heading.action);
    EXPECT_EQ(heading.indent, 0);
    EXPECT_EQ(rowTitled(rows, "Shopping").indent, 1);
    EXPECT_TRUE(rowTitled(rows, "Shopping").enabled);
}

TEST(StatusMenuRows, choosingANotesTitleJumpsToThatNote) {
    MenuState state = onADesktop();
    state.here = {{"a", "Shopping"}, {"b", "Call the plumber"}};
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    rowTitled(rows, "Call the plumber").action();
    EXPECT_THAT(chosen.calls, ElementsAre("jump b"));
}

TEST(StatusMenuRows, theHotKeysLabelTheRowsThatDoTheSame) {
    Chosen chosen;
    const auto rows = StatusMenu::rows(onADesktop(), chosen.actions());
    EXPECT_EQ(rowTitled(rows, "New Sticky").key, "<Control><Alt>n");
    EXPECT_EQ(rowTitled(rows, "Hide Stickies on This Desktop").key, "<Control><Alt>s");
    EXPECT_EQ(rowTitled(rows, "Quit Marrowleaf").key, "<Control>q");
    EXPECT_EQ(rowTitled(rows, "Open Trash").key, "");
}

TEST(StatusMenuRows, aHiddenDesktopOffersToShowItsNotes) {
    MenuState state = onADesktop();
    state.hiddenHere = true;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    EXPECT_FALSE(hasRow(rows, "Hide Stickies on This Desktop"));
    rowTitled(rows, "Show Stickies on This Desktop").action();
    EXPECT_THAT(chosen.calls, ElementsAre("toggle"));
}

TEST(StatusMenuRows, aFullScreenWindowInFrontLeavesOutTheDesktopRowsAndSaysWhy) {
    MenuState state = onADesktop();
    state.locationKnown = false;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    EXPECT_THAT(titles(rows),
                ElementsAre("Full-screen app: stickies live on desktops", "---", "Open Stickies Folder",
                            "Open Trash", "---", "Alt-Click Desktop for New Sticky", "Open at Login", "---",
                            "About Marrowleaf", "Leave a Tip\u2026", "Quit Marrowleaf"));
    EXPECT_FALSE(rowTitled(rows, "Full-screen app: stickies live on desktops").enabled);
}

TEST(StatusMenuRows, aDesktopWithoutNotesSaysSoWithoutAHeading) {
    Chosen chosen;
    const auto rows = StatusMenu::rows(onADesktop(), chosen.actions());
    EXPECT_FALSE(hasRow(rows, "On This Desktop"));
    const MenuRow& none = rowTitled(rows, "No stickies on this desktop");
    EXPECT_FALSE(none.enabled);
    EXPECT_FALSE(none.action);
    EXPECT_EQ(none.indent, 0);
}

TEST(StatusMenuRows, withoutSnoozedNotesThereIsNeitherTheirSeparatorNorTheirHeading) {
    Chosen chosen;
    const auto rows = StatusMenu::rows(onADesktop(), chosen.actions());
    EXPECT_FALSE(hasRow(rows, "Snoozed (click to bring back)"));
    EXPECT_THAT(titles(rows),
                ElementsAre("New Sticky", "Hide Stickies on This Desktop", "---",
                            "No stickies on this desktop", "---", "Open Stickies Folder", "Open Trash", "---",
                            "Alt-Click Desktop for New Sticky", "Open at Login", "---", "About Marrowleaf",
                            "Leave a Tip\u2026", "Quit Marrowleaf"));
}

TEST(StatusMenuRows, snoozedNotesShowTheirTitleAndWhenTheyWakeUnderAHeading) {
    MenuState state = onADesktop();
    state.snoozed = {{"s", "Dentist", "until 3 PM"}, {"t", "Taxes", "until Monday"}};
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    EXPECT_THAT(titles(rows),
                ElementsAre("New Sticky", "Hide Stickies on This Desktop", "---",
                            "No stickies on this desktop", "---", "Snoozed (click to bring back)",
                            "Dentist  \u00b7  until 3 PM", "Taxes  \u00b7  until Monday", "---",
                            "Open Stickies Folder", "Open Trash", "---", "Alt-Click Desktop for New Sticky",
                            "Open at Login", "---", "About Marrowleaf", "Leave a Tip\u2026",
                            "Quit Marrowleaf"));
    EXPECT_FALSE(rowTitled(rows, "Snoozed (click to bring back)").enabled);
    EXPECT_EQ(rowTitled(rows, "Taxes  \u00b7  until Monday").indent, 1);
    rowTitled(rows, "Taxes  \u00b7  until Monday").action();
    EXPECT_THAT(chosen.calls, ElementsAre("unsnooze t"));
}

TEST(StatusMenuRows, snoozedNotesAreListedOverAFullScreenWindowToo) {
    MenuState state;
    state.snoozed = {{"s", "Dentist", "until 3 PM"}};
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    EXPECT_TRUE(hasRow(rows, "Dentist  \u00b7  until 3 PM"));
    EXPECT_FALSE(hasRow(rows, "New Sticky"));
}

TEST(StatusMenuRows, undoDeleteIsAbsentWhenNothingCanBeUndone) {
    Chosen chosen;
    EXPECT_FALSE(hasRow(StatusMenu::rows(onADesktop(), chosen.actions()), "Undo Delete"));
}

TEST(StatusMenuRows, undoDeleteLeadsTheFolderRowsAfterADelete) {
    MenuState state = onADesktop();
    state.canUndoDelete = true;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    const auto all = titles(rows);
    const auto undo = std::ranges::find(all, "Undo Delete");
    ASSERT_NE(undo, all.end());
    EXPECT_EQ(*(undo - 1), "---");
    EXPECT_EQ(*(undo + 1), "Open Stickies Folder");
    rowTitled(rows, "Undo Delete").action();
    EXPECT_THAT(chosen.calls, ElementsAre("undo"));
}

TEST(StatusMenuRows, theSettingsRowsCarryACheckThatFollowsTheSettings) {
    MenuState state = onADesktop();
    state.altClickEnabled = false;
    state.loginItemEnabled = true;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    EXPECT_EQ(rowTitled(rows, "Alt-Click Desktop for New Sticky").check, MenuRow::Check::off);
    EXPECT_EQ(rowTitled(rows, "Open at Login").check, MenuRow::Check::on);
    EXPECT_EQ(rowTitled(rows, "New Sticky").check, MenuRow::Check::none);
}

TEST(StatusMenuRows, openAtLoginIsAbsentWhenTheProgramCantBeStartedAtLogin) {
    MenuState state = onADesktop();
    state.loginItemAvailable = false;
    Chosen chosen;
    EXPECT_FALSE(hasRow(StatusMenu::rows(state, chosen.actions()), "Open at Login"));
}

TEST(StatusMenuRows, theRowsWithAnActionAreNumberedInMenuOrder) {
    MenuState state = onADesktop();
    state.here = {{"a", "Shopping"}};
    state.snoozed = {{"s", "Dentist", "until 3 PM"}};
    state.canUndoDelete = true;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    int expected = 0;
    for (const auto& row : rows) {
        if (row.action)
            EXPECT_EQ(row.tag, expected++) << row.title;
        else
            EXPECT_EQ(row.tag, -1) << (row.separator ? "---" : row.title);
    }
    EXPECT_EQ(expected, 12);
}

TEST(StatusMenuRows, everyRowDoesWhatItSays) {
    MenuState state = onADesktop();
    state.canUndoDelete = true;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    for (const auto& row : rows)
        if (row.action) row.action();
    EXPECT_THAT(chosen.calls, ElementsAre("new", "toggle", "undo", "folder", "trash", "alt-click", "login",
                                          "about", "tip", "quit"));
}

TEST(StatusMenuRows, withoutTheDesktopFeaturesARowAfterTheSettingsLeadsToWhy) {
    MenuState state = onADesktop();
    state.desktopFeaturesOn = false;
    Chosen chosen;
    const auto rows = StatusMenu::rows(state, chosen.actions());
    const auto all = titles(rows);
    const auto row = std::ranges::find(all, "\u26a0\ufe0f Desktop Features Unavailable\u2026");
    ASSERT_NE(row, all.end());
    EXPECT_EQ(*(row - 1), "Open at Login");
    EXPECT_EQ(*(row + 1), "---");
    rowTitled(rows, "\u26a0\ufe0f Desktop Features Unavailable\u2026").action();
    EXPECT_THAT(chosen.calls, ElementsAre("desktop features"));
}

TEST(StatusMenuRows, theDesktopFeaturesRowIsAbsentWhileTheyRun) {
    Chosen chosen;
    EXPECT_FALSE(hasRow(StatusMenu::rows(onADesktop(), chosen.actions()),
                        "\u26a0\ufe0f Desktop Features Unavailable\u2026"));
}
