#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesDeletion : public RegistryFixture {
protected:
    void SetUp() override {
        RegistryFixture::SetUp();
        for (auto id : {"a", "b", "c"})
            writeNote(id, std::string("note ") + id);
        registry->start();
    }
};

}

TEST_F(StickiesDeletion, deletedNotesGoToTheTrashFolderAndTheirWindowsClose) {
    registry->deleteNotes({"a"}, false);
    EXPECT_FALSE(registry->controllers().count("a"));
    EXPECT_FALSE(std::filesystem::exists(notes / "a.md"));
    EXPECT_EQ(readFile(notes / ".trash/a.md"), "note a");
    EXPECT_FALSE(stateOnDisk().stickies.count("a"));
}

TEST_F(StickiesDeletion, aTrashDropPlaysTheTrashSound) {
    registry->deleteNotes({"a"}, true);
    EXPECT_EQ(platform.sounds.trashPlayed, 1);
}

TEST_F(StickiesDeletion, aDeleteFromThePageIsSilent) {
    registry->deleteNotes({"a"}, false);
    EXPECT_EQ(platform.sounds.trashPlayed, 0);
}

TEST_F(StickiesDeletion, deletingOneNoteSaysSticky) {
    registry->deleteNotes({"a"}, false);
    EXPECT_EQ(hudText(), "🗑  Sticky deleted (undo from the menu bar)");
}

TEST_F(StickiesDeletion, deletingTwoNotesSaysHowMany) {
    registry->deleteNotes({"a", "b"}, false);
    EXPECT_EQ(hudText(), "🗑  2 stickies deleted (undo from the menu bar)");
}

TEST_F(StickiesDeletion, idsWithoutRecordsCountAsNone) {
    registry->deleteNotes({"nothing", "else"}, false);
    EXPECT_EQ(hudText(), "🗑  0 stickies deleted (undo from the menu bar)");
}

TEST_F(StickiesDeletion, undoBringsTheNotesBackAtTheirPlaces) {
    post("a", {{"t", "color"}, {"name", "green"}});
    registry->deleteNotes({"a"}, false);
    registry->undoDelete();
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(noteText("a"), "note a");
    EXPECT_EQ(stateOnDisk().stickies.at("a").color, "green");
    EXPECT_FALSE(std::filesystem::exists(notes / ".trash/a.md"));
    EXPECT_TRUE(registry->lastDeletion().empty());
}

TEST_F(StickiesDeletion, undoAfterTwoSeparateDeletionsRestoresOnlyTheSecond) {
    registry->deleteNotes({"a"}, false);
    registry->deleteNotes({"b"}, false);
    registry->undoDelete();
    EXPECT_FALSE(registry->controllers().count("a"));
    EXPECT_TRUE(registry->controllers().count("b"));
    EXPECT_TRUE(std::filesystem::exists(notes / ".trash/a.md"));
}

TEST_F(StickiesDeletion, undoWithNothingDeletedOnlySavesAndSyncs) {
    std::filesystem::remove(notes / ".stickies.json");
    writeNote("d", "new");
    registry->undoDelete();
    EXPECT_TRUE(std::filesystem::exists(notes / ".stickies.json"));
    EXPECT_TRUE(registry->controllers().count("d"));
}

TEST_F(StickiesDeletion, aSelectedNoteDeletedIsNotSelectedAfterUndo) {
    registry->setSelected("a", true);
    registry->deleteNotes({"a"}, false);
    registry->undoDelete();
    EXPECT_TRUE(registry->selection().empty());
}

TEST_F(StickiesDeletion, undoSkipsANoteWhoseNameWasTakenMeanwhile) {
    registry->deleteNotes({"a"}, false);
    writeNote("a", "a new note with the old name");
    registry->undoDelete();
    EXPECT_EQ(noteText("a"), "a new note with the old name");
    EXPECT_EQ(readFile(notes / ".trash/a.md"), "note a");
}

TEST_F(StickiesDeletion, aNoteWhoseFileCantGoToTheTrashStaysWithItsWindowAndRecord) {
    FaultyFiles locked;
    locked.failMove = "Permission denied";
    Store::useFiles(&locked);
    post("a", {{"t", "color"}, {"name", "green"}});
    registry->deleteNotes({"a"}, false);
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(readFile(notes / "a.md"), "note a");
    EXPECT_EQ(stateOnDisk().stickies.at("a").color, "green");
    EXPECT_EQ(log.count("ERROR can't move a to the trash: Permission denied; the note stays"), 1u);
    EXPECT_EQ(hudText(), "⚠️ Couldn't delete a note");
    // Nothing to undo: the note never left.
    registry->undoDelete();
    EXPECT_TRUE(shown("a"));
    // The next sync sees the note it knows, not a stranger.
    registry->sync();
    EXPECT_EQ(stateOnDisk().stickies.at("a").color, "green");
    EXPECT_EQ(registry->controllers().size(), 3u);
}

TEST_F(StickiesDeletion, theNotesThatCouldGoToTheTrashAreDeletedAndTheOthersStay) {
    FaultyFiles locked;
    Store::useFiles(&locked);
    registry->deleteNotes({"a"}, false);
    locked.failMove = "Read-only file system";
    registry->deleteNotes({"b", "c"}, false);
    EXPECT_TRUE(shown("b"));
    EXPECT_TRUE(shown("c"));
    EXPECT_EQ(hudText(), "⚠️ Couldn't delete 2 notes");
    locked.failMove.reset();
    // The last deletion is the one that moved nothing; "a" stays deleted.
    registry->undoDelete();
    EXPECT_FALSE(registry->controllers().count("a"));
}

TEST_F(StickiesDeletion, aNoteWhoseFileIsAlreadyGoneIsDeleted) {
    std::filesystem::remove(notes / "a.md");
    registry->deleteNotes({"a"}, false);
    EXPECT_FALSE(registry->controllers().count("a"));
    EXPECT_FALSE(stateOnDisk().stickies.count("a"));
    EXPECT_EQ(hudText(), "🗑  Sticky deleted (undo from the menu bar)");
}

TEST_F(StickiesDeletion, aRestoreThatFailsIsLoggedAndLeavesTheFileInTheTrash) {
    registry->deleteNotes({"a"}, false);
    writeNote("a", "a new note with the same name");
    registry->undoDelete();
    EXPECT_EQ(readFile(notes / ".trash/a.md"), "note a");
    EXPECT_EQ(log.count("ERROR can't bring a back from the trash: File exists; it stays in the trash folder"), 1u);
}
