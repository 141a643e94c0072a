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
