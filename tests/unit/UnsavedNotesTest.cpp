#include "registry/UnsavedNotes.h"
#include "LogCapture.h"
#include "input/HUD.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

// A notes folder that can be made read-only and writable again.
struct Disk {
    bool writable = true;
    int tries = 0;
    std::map<std::string, std::string> notes;
    std::map<std::string, std::string> rescued;

    Files::Result write(const std::string& id, const std::string& text) {
        ++tries;
        if (!writable) return Files::Result::failure("Read-only file system");
        notes[id] = text;
        return Files::Result::done();
    }
};

class UnsavedNotesTest : public ::testing::Test {
protected:
    FakePlatform platform;
    support::LogCapture log;
    Disk disk;
    UnsavedNotes unsaved{[this](const std::string& id, const std::string& text) { return disk.write(id, text); },
                         [this](const std::string& id, const std::string& text) -> std::optional<std::filesystem::path> {
                             disk.rescued[id] = text;
                             return "/rescue/" + id + ".md";
                         }};

    void SetUp() override { HUD::reset(); }
    void TearDown() override { HUD::reset(); }

    std::size_t hudCount() const { return platform.hud.pills.size(); }
};

}

TEST_F(UnsavedNotesTest, textThatIsWrittenAtOnceIsNotKept) {
    EXPECT_TRUE(unsaved.save("a", "hello"));
    EXPECT_FALSE(unsaved.holds("a"));
    EXPECT_EQ(disk.notes["a"], "hello");
    EXPECT_FALSE(unsaved.nextDelay());
    EXPECT_EQ(hudCount(), 0u);
}

TEST_F(UnsavedNotesTest, textThatCannotBeWrittenIsKeptAndTriedAgainWithBackoff) {
    disk.writable = false;
    EXPECT_FALSE(unsaved.save("a", "hello"));
    EXPECT_EQ(unsaved.text("a"), "hello");
    const std::vector<double> expected{1, 2, 4, 8, 16, 30, 30, 30};
    for (double delay : expected) {
        ASSERT_EQ(unsaved.nextDelay(), delay);
        const int before = disk.tries;
        platform.clock.advance(delay - 0.01);
        EXPECT_EQ(disk.tries, before) << "tried early, before " << delay << " s";
        platform.clock.advance(0.01);
        EXPECT_EQ(disk.tries, before + 1) << "not tried after " << delay << " s";
    }
    EXPECT_TRUE(unsaved.holds("a"));
}

TEST_F(UnsavedNotesTest, theTextArrivesWithinTheBackoffOnceTheDiskTakesItAgain) {
    disk.writable = false;
    unsaved.save("a", "first words");
    platform.clock.advance(1 + 2 + 4);
    disk.writable = true;
    platform.clock.advance(8);
    EXPECT_EQ(disk.notes["a"], "first words");
    EXPECT_FALSE(unsaved.holds("a"));
    EXPECT_FALSE(unsaved.nextDelay());
    EXPECT_EQ(log.count("INFO saved 1 note that could not be saved before"), 1u);
}

TEST_F(UnsavedNotesTest, theLatestTextIsTheOneWritten) {
    disk.writable = false;
    unsaved.save("a", "one");
    unsaved.save("a", "one two");
    disk.writable = true;
    platform.clock.advance(1);
    EXPECT_EQ(disk.notes["a"], "one two");
}

TEST_F(UnsavedNotesTest, anEpisodeIsLoggedAndShownOnceHoweverManyTriesFail) {
    disk.writable = false;
    unsaved.save("a", "one");
    unsaved.save("b", "two");
    unsaved.save("a", "one more");
    platform.clock.advance(120);
    EXPECT_EQ(log.count("ERROR can't save"), 1u);
    EXPECT_EQ(log.count("ERROR can't save a: Read-only file system; the text is kept and saving is tried again"), 1u);
    EXPECT_EQ(hudCount(), 1u);
    EXPECT_EQ(platform.hud.pills.front()->text, "⚠️ Couldn't save a note, trying again");
}

TEST_F(UnsavedNotesTest, aNewEpisodeSpeaksAgainAndStartsItsBackoffOver) {
    disk.writable = false;
    unsaved.save("a", "one");
    platform.clock.advance(1 + 2 + 4 + 8);
    disk.writable = true;
    platform.clock.advance(16);
    ASSERT_FALSE(unsaved.holds("a"));
    disk.writable = false;
    unsaved.save("a", "two");
    EXPECT_EQ(log.count("ERROR can't save"), 2u);
    EXPECT_EQ(hudCount(), 2u);
    EXPECT_EQ(unsaved.nextDelay(), 1);
}

TEST_F(UnsavedNotesTest, aRetryAskedForWritesAtOnce) {
    disk.writable = false;
    unsaved.save("a", "one");
    disk.writable = true;
    unsaved.retry();
    EXPECT_EQ(disk.notes["a"], "one");
    EXPECT_FALSE(unsaved.nextDelay());
}

TEST_F(UnsavedNotesTest, aForgottenNoteIsNotWrittenAgain) {
    disk.writable = false;
    unsaved.save("a", "one");
    unsaved.forget("a");
    disk.writable = true;
    platform.clock.advance(60);
    EXPECT_FALSE(disk.notes.contains("a"));
    EXPECT_FALSE(unsaved.nextDelay());
}

TEST_F(UnsavedNotesTest, quittingTriesOnceMoreAndKeepsWhatStillCannotBeWritten) {
    disk.writable = false;
    unsaved.save("a", "one");
    unsaved.save("b", "two");
    unsaved.quit();
    EXPECT_EQ(disk.rescued["a"], "one");
    EXPECT_EQ(disk.rescued["b"], "two");
    EXPECT_EQ(log.count("ERROR can't save a before quitting: Read-only file system; its text is kept in /rescue/a.md"),
              1u);
    EXPECT_FALSE(unsaved.nextDelay());
}

TEST_F(UnsavedNotesTest, quittingWritesWhatTheDiskNowTakes) {
    disk.writable = false;
    unsaved.save("a", "one");
    disk.writable = true;
    unsaved.quit();
    EXPECT_EQ(disk.notes["a"], "one");
    EXPECT_TRUE(disk.rescued.empty());
}
