#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

constexpr const char* copyId = "Note (conflicted copy 2026-11-22)";

class StickiesConflicts : public RegistryFixture {
protected:
    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        Record original = record(2, {300, 200, 300, 180});
        original.color = "blue";
        original.pinned = true;
        state.stickies["Note"] = original;
        saveState(state);
        writeNote("Note", "# Groceries\nmilk");
    }

    void startWithCopy(const std::string& text = "# Groceries\nmilk\neggs") {
        writeNote(copyId, text);
        registry->start();
    }

    void choose(const std::string& choice) {
        post(copyId, {{"t", "conflict"}, {"choice", choice}});
        platform.clock.advance(0);   // the choice is carried out after the page's callback
    }
};

}

TEST_F(StickiesConflicts, aCopyShowsBesideItsOriginalOnItsDesktopInItsColourAndSize) {
    startWithCopy();
    const Record& copy = registry->appState().stickies.at(copyId);
    EXPECT_EQ(copy.screen, "MAIN");
    EXPECT_EQ(copy.desktop, 2);
    EXPECT_EQ(copy.color, "blue");
    EXPECT_EQ(copy.frame, (Frame{324, 224, 300, 180}));
    EXPECT_FALSE(copy.pinned.value_or(false));
}

TEST_F(StickiesConflicts, aCopyIsNamedInAWarningWithItsOriginal) {
    startWithCopy();
    EXPECT_EQ(
        log.count("WARN Note (conflicted copy 2026-11-22).md is a sync tool's conflicting copy of Note.md; "
                  "it shows beside that note"),
        1u);
}

TEST_F(StickiesConflicts, aCopysPageNamesTheOriginalByItsTitle) {
    startWithCopy();
    EXPECT_EQ(controller(copyId).conflictTitle(), "Groceries");
    EXPECT_FALSE(controller("Note").conflictTitle());
}

TEST_F(StickiesConflicts, aCopyWrittenWhileTheProgramRunsShowsBesideItsOriginal) {
    registry->start();
    writeNote("Note.sync-conflict-20261122-101010-ABCDEFG", "other");
    folderChanged({"Note.sync-conflict-20261122-101010-ABCDEFG.md"});
    const Record& copy = registry->appState().stickies.at("Note.sync-conflict-20261122-101010-ABCDEFG");
    EXPECT_EQ(copy.desktop, 2);
    EXPECT_EQ(copy.frame, (Frame{324, 224, 300, 180}));
    EXPECT_EQ(window("Note.sync-conflict-20261122-101010-ABCDEFG").scripts,
              std::vector<std::string>{});   // its first page already carries the banner
    EXPECT_EQ(controller("Note.sync-conflict-20261122-101010-ABCDEFG").conflictTitle(), "Groceries");
}

TEST_F(StickiesConflicts, aCopyWithoutItsOriginalIsAnOrdinaryNote) {
    writeNote("Plans (Case Conflict)", "plans");
    registry->start();
    EXPECT_FALSE(controller("Plans (Case Conflict)").conflictTitle());
    EXPECT_FALSE(controller("Plans (Case Conflict)").copyOf);
    EXPECT_EQ(registry->appState().stickies.at("Plans (Case Conflict)").color, "yellow");
    EXPECT_EQ(log.count("WARN"), 0u);
}

TEST_F(StickiesConflicts, keepingTheCopyGivesTheOriginalItsTextAndTrashesTheCopy) {
    startWithCopy();
    choose("keep");
    EXPECT_EQ(noteText("Note"), "# Groceries\nmilk\neggs");
    EXPECT_EQ(readFile(notes / ".trash" / (std::string(copyId) + ".md")), "# Groceries\nmilk\neggs");
    EXPECT_FALSE(registry->controller(copyId));
    EXPECT_EQ(window("Note").scripts.back(), StickyController::setContentScript("# Groceries\nmilk\neggs"));
    EXPECT_EQ(registry->appState().stickies.at("Note").color, "blue");
}

TEST_F(StickiesConflicts, keepingTheCopyTakesWhatWasLastTypedInIt) {
    startWithCopy();
    post(copyId, {{"t", "save"}, {"c", "typed just now"}, {"v", 0}});
    choose("keep");
    EXPECT_EQ(noteText("Note"), "typed just now");
}

TEST_F(StickiesConflicts, undoAfterKeepingBringsBackTheCopyAndTheOriginalsText) {
    startWithCopy();
    choose("keep");
    registry->undoDelete();
    EXPECT_EQ(noteText("Note"), "# Groceries\nmilk");
    EXPECT_EQ(controller("Note").content, "# Groceries\nmilk");
    EXPECT_EQ(noteText(copyId), "# Groceries\nmilk\neggs");
    EXPECT_EQ(controller(copyId).conflictTitle(), "Groceries");
    EXPECT_EQ(registry->appState().stickies.at(copyId).frame, (Frame{324, 224, 300, 180}));
}

TEST_F(StickiesConflicts, dismissingTheCopyTrashesItAndLeavesTheOriginal) {
    startWithCopy();
    choose("dismiss");
    EXPECT_EQ(noteText("Note"), "# Groceries\nmilk");
    EXPECT_TRUE(std::filesystem::exists(notes / ".trash" / (std::string(copyId) + ".md")));
    EXPECT_FALSE(registry->controller(copyId));
    EXPECT_EQ(hudText(), "🗑  Sticky deleted (undo from the menu bar)");
}

TEST_F(StickiesConflicts, undoAfterDismissingBringsTheCopyBackWithItsBanner) {
    startWithCopy();
    choose("dismiss");
    registry->undoDelete();
    EXPECT_EQ(noteText(copyId), "# Groceries\nmilk\neggs");
    EXPECT_EQ(controller(copyId).conflictTitle(), "Groceries");
}

TEST_F(StickiesConflicts, aLaterDeletionCannotUndoAKeptCopysReplacement) {
    writeNote("other", "other");
    startWithCopy();
    choose("keep");
    registry->deleteNotes({"other"}, false);
    registry->undoDelete();
    EXPECT_EQ(noteText("Note"), "# Groceries\nmilk\neggs");
}

TEST_F(StickiesConflicts, aCopyThatCannotGoToTheTrashLeavesTheOriginalAsItWas) {
    startWithCopy();
    FaultyFiles faulty;
    faulty.failMove = "Permission denied";
    Store::useFiles(&faulty);
    choose("keep");
    Store::useFiles(nullptr);
    EXPECT_EQ(noteText("Note"), "# Groceries\nmilk");
    EXPECT_TRUE(registry->controller(copyId));
}

TEST_F(StickiesConflicts, theBannerFollowsTheOriginalsTitle) {
    startWithCopy();
    writeNote("Note", "# Shopping\nmilk");
    folderChanged({"Note.md"});
    EXPECT_EQ(controller(copyId).conflictTitle(), "Shopping");
    EXPECT_EQ(window(copyId).scripts.back(), StickyController::setConflictScript("Shopping"));
}

TEST_F(StickiesConflicts, theBannerGoesWhenTheOriginalIsRemoved) {
    startWithCopy();
    std::filesystem::remove(notes / "Note.md");
    folderChanged({"Note.md"});
    platform.clock.advance(Stickies::vanishGrace);
    EXPECT_FALSE(registry->controller("Note"));
    EXPECT_FALSE(controller(copyId).conflictTitle());
    EXPECT_EQ(window(copyId).scripts.back(), "setConflict(null)");
}

TEST_F(StickiesConflicts, aChoiceFromAnOrdinaryNoteDoesNothing) {
    startWithCopy();
    post("Note", {{"t", "conflict"}, {"choice", "dismiss"}});
    platform.clock.advance(0);
    EXPECT_TRUE(registry->controller("Note"));
    EXPECT_TRUE(std::filesystem::exists(notes / "Note.md"));
}

TEST_F(StickiesConflicts, anUnknownOrMissingChoiceDoesNothing) {
    startWithCopy();
    post(copyId, {{"t", "conflict"}, {"choice", "Keep"}});
    post(copyId, {{"t", "conflict"}});
    post(copyId, {{"t", "conflict"}, {"choice", 1}});
    platform.clock.advance(0);
    EXPECT_TRUE(registry->controller(copyId));
    EXPECT_EQ(noteText("Note"), "# Groceries\nmilk");
}
