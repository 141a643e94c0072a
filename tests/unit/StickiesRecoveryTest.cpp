// Notes survive what other programs and the disk do to their files: a save
// by delete-then-recreate keeps the note's look, and text the disk refuses is
// written again until it is on disk.
#include "FaultyFiles.h"
#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesRecovery : public RegistryFixture {
protected:
    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        Record look = record(2, {400, 300, 300, 200});
        look.color = "blue";
        look.pinned = true;
        state.stickies["a"] = look;
        saveState(state);
        writeNote("a", "first text");
        registry->start();
    }

    // Another program removes the file, then writes it again `seconds` later.
    void recreateAfter(double seconds, const std::string& text) {
        std::filesystem::remove(notes / "a.md");
        folderChanged({"a.md"});
        platform.clock.advance(seconds);
        writeNote("a", text);
        folderChanged({"a.md"});
    }

    void expectSameLook() {
        ASSERT_TRUE(registry->controllers().count("a"));
        const Record& kept = registry->appState().stickies.at("a");
        EXPECT_EQ(kept.color, "blue");
        EXPECT_EQ(kept.pinned, true);
        EXPECT_EQ(kept.desktop, 2);
        EXPECT_EQ(kept.frame, (Frame{400, 300, 300, 200}));
        EXPECT_EQ(stateOnDisk().stickies.at("a"), kept);
    }
};

}

TEST_F(StickiesRecovery, aFileRecreatedAfterTenMillisecondsKeepsItsNotesLook) {
    FakeNoteWindow* before = &window("a");
    recreateAfter(0.01, "saved by an editor");
    expectSameLook();
    EXPECT_EQ(&window("a"), before);
    EXPECT_EQ(controller("a").content, "saved by an editor");
    EXPECT_EQ(log.count("INFO the file of a came back; the note keeps its look and place"), 1u);
}

TEST_F(StickiesRecovery, aFileRecreatedAfterFiftyMillisecondsKeepsItsNotesLook) {
    recreateAfter(0.05, "saved by a sync tool");
    expectSameLook();
    EXPECT_EQ(controller("a").content, "saved by a sync tool");
}

TEST_F(StickiesRecovery, aFileRecreatedAfterOneSecondKeepsItsNotesLook) {
    recreateAfter(1.0, "saved slowly");
    platform.clock.advance(Stickies::vanishGrace * 2);   // the planned check finds it back
    expectSameLook();
    EXPECT_EQ(controller("a").content, "saved slowly");
}

TEST_F(StickiesRecovery, aFileStillMissingAfterTheGracePeriodIsGone) {
    std::filesystem::remove(notes / "a.md");
    folderChanged({"a.md"});
    EXPECT_TRUE(registry->controllers().count("a"));
    platform.clock.advance(Stickies::vanishGrace);
    EXPECT_FALSE(registry->controllers().count("a"));
    EXPECT_FALSE(stateOnDisk().stickies.count("a"));
    EXPECT_EQ(log.count("INFO the file of a was removed by another program; the note is closed"), 1u);
}

TEST_F(StickiesRecovery, aFileRecreatedAfterThreeSecondsIsANewNote) {
    recreateAfter(3.0, "a new note");
    ASSERT_TRUE(registry->controllers().count("a"));
    const Record& fresh = registry->appState().stickies.at("a");
    EXPECT_EQ(fresh.color, "yellow");
    EXPECT_FALSE(fresh.pinned.value_or(false));
}

TEST_F(StickiesRecovery, textTheDiskRefusedArrivesOnceTheDiskTakesItAgain) {
    FaultyFiles readOnly;
    readOnly.failWrite = "Read-only file system";
    Store::useFiles(&readOnly);
    post("a", {{"t", "save"}, {"c", "typed while read-only"}});
    platform.clock.advance(1 + 2 + 4);
    EXPECT_EQ(noteText("a"), "first text");
    readOnly.failWrite.reset();
    platform.clock.advance(8);
    EXPECT_EQ(noteText("a"), "typed while read-only");
    EXPECT_EQ(log.count("ERROR can't save a"), 1u);
    EXPECT_EQ(log.count("INFO saved 1 note that could not be saved before"), 1u);
}

TEST_F(StickiesRecovery, textStillRefusedAtQuitIsKeptInTheRescueFolder) {
    FaultyFiles readOnly;
    readOnly.failWrite = "Read-only file system";
    Store::useFiles(&readOnly);
    readOnly.failWriteOnlyIn = notes;
    post("a", {{"t", "save"}, {"c", "last words"}});
    registry->saveAll();   // the notes folder still refuses; the rescue folder, elsewhere, takes it
    EXPECT_EQ(noteText("a"), "first text");
    EXPECT_EQ(readFile(Config::rescueDir() / "a.md"), "last words");
    EXPECT_EQ(log.count("ERROR can't save a before quitting"), 1u);
}
