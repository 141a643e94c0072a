#include "FaultyFiles.h"
#include "LogCapture.h"
#include "TempFolder.h"
#include "platform/fake/FakePlatform.h"
#include "shell/Config.h"
#include "storage/Store.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/mount.h>

using namespace marrowleaf;
namespace fs = std::filesystem;

namespace {

class StoreTest : public ::testing::Test {
protected:
    // 2025-03-14 09:30:00 UTC; the fake clock's local time is UTC.
    static constexpr double morning = 1741944600;

    FakePlatform platform;
    support::TempFolder root;
    support::LogCapture log;
    fs::path notes = root / "Notes/stickies";

    void SetUp() override {
        platform.clock.set(morning);
        ConfigSources sources;
        sources.arguments = {"marrowleaf"};
        sources.notesDirOption = notes.string();
        sources.home = root.path;
        Config::configure(sources);
        Store::ensureDirs();
    }
    void TearDown() override { Store::useFiles(nullptr); }

    Record someRecord() {
        Record record;
        record.screen = "DISPLAY-1";
        record.desktop = 2;
        record.color = "green";
        record.frame = {100, 120, 260, 220};
        return record;
    }
};

}

TEST_F(StoreTest, ensureDirsCreatesTheNotesFolderWithItsParents) { EXPECT_TRUE(fs::is_directory(notes)); }

TEST_F(StoreTest, newIdFormatsTheLocalTime) { EXPECT_EQ(Store::newId(), "sticky-20250314-093000"); }

TEST_F(StoreTest, newIdFollowsTheLocalTimeZone) {
    FakeClock eastern(morning, 9 * 3600);
    Platform::Services services = Platform::current();
    services.clock = &eastern;
    Platform::install(services);
    EXPECT_EQ(Store::newId(), "sticky-20250314-183000");
    platform.reinstall();
}

TEST_F(StoreTest, threeNewNotesWithinTheSameSecondGetBaseThenTwoThenThree) {
    std::vector<std::string> ids;
    for (int i = 0; i < 3; ++i) {
        ids.push_back(Store::newId());
        Store::write(ids.back(), "");
        platform.clock.advance(0.3);
    }
    EXPECT_EQ(ids, (std::vector<std::string>{"sticky-20250314-093000", "sticky-20250314-093000-2",
                                             "sticky-20250314-093000-3"}));
}

TEST_F(StoreTest, newIdIgnoresTheTrashAndTheState) {
    support::writeFile(notes / ".trash/sticky-20250314-093000.md", "old");
    EXPECT_EQ(Store::newId(), "sticky-20250314-093000");
}

TEST_F(StoreTest, onlyLowerCaseMdFilesThatAreNotHiddenAreNotes) {
    for (auto name : {".hidden.md", "a.md", "b.txt", "c.MD"}) support::writeFile(notes / name, "x");
    EXPECT_EQ(Store::noteIds(), (std::vector<std::string>{"a"}));
}

TEST_F(StoreTest, aMissingNotesFolderListsNoNotes) {
    fs::remove_all(notes);
    EXPECT_TRUE(Store::noteIds().empty());
}

TEST_F(StoreTest, writeStoresTheTextExactlyAndReadGivesItBack) {
    const std::string text = "# Shopping\n- [ ] milk\n\xF0\x9F\x93\x9D emoji\n";
    EXPECT_TRUE(Store::write("a", text));
    EXPECT_EQ(support::readFile(notes / "a.md"), text);
    EXPECT_EQ(Store::read("a"), text);
}

TEST_F(StoreTest, writeLeavesNoTemporaryFilesBehind) {
    Store::write("a", "one");
    Store::write("a", "two");
    std::vector<std::string> names;
    for (auto& entry : fs::directory_iterator(notes)) names.push_back(entry.path().filename());
    EXPECT_EQ(names, (std::vector<std::string>{"a.md"}));
}

TEST_F(StoreTest, ensureDirsRemovesTheTemporaryFilesOfWritesAKilledRunLeftUnfinished) {
    support::writeFile(notes / "a.md", "whole");
    support::writeFile(notes / ".a.md.tmp-Qx81bZ", "who");
    support::writeFile(notes / ".stickies.json.tmp-0aB9zz", "{\"stick");
    support::writeFile(notes / ".a.md.swp", "an editor's own file");
    support::writeFile(notes / "plans.tmp-123456.md", "a note with an odd name");
    Store::ensureDirs();
    std::vector<std::string> names;
    for (auto& entry : fs::directory_iterator(notes))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    EXPECT_EQ(names, (std::vector<std::string>{".a.md.swp", "a.md", "plans.tmp-123456.md"}));
    EXPECT_EQ(support::readFile(notes / "a.md"), "whole");
}

TEST_F(StoreTest, aNoteThatIsNotUtf8IsSkippedLoggedOnceAndLeftUntouched) {
    const std::string latin1 = "caf\xE9 cr\xE8me";
    support::writeFile(notes / "old.md", latin1);
    EXPECT_EQ(Store::read("old"), std::nullopt);
    EXPECT_EQ(Store::read("old"), std::nullopt);
    EXPECT_EQ(log.count("ERROR can't read old: "), 1u);
    EXPECT_EQ(support::readFile(notes / "old.md"), latin1);
    EXPECT_EQ(Store::noteIds(), (std::vector<std::string>{"old"}));
}

TEST_F(StoreTest, anUnreadableNoteReadsAsNothing) { EXPECT_EQ(Store::read("missing"), std::nullopt); }

TEST_F(StoreTest, aMissingStateFileGivesTheDefaultStateSilently) {
    EXPECT_EQ(Store::loadState(), AppState{});
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(StoreTest, aStateFileThatIsNotJsonIsLoggedOnceAndReplacedByTheNextSave) {
    support::writeFile(notes / ".stickies.json", "this is { not json");
    EXPECT_EQ(Store::loadState(), AppState{});
    EXPECT_EQ(log.count("ERROR can't read " + (notes / ".stickies.json").string() + ": "), 1u);
    EXPECT_EQ(support::readFile(notes / ".stickies.json"), "this is { not json");   // left in place

    AppState state;
    state.stickies["a"] = someRecord();
    EXPECT_TRUE(Store::saveState(state));
    EXPECT_EQ(Store::loadState(), state);
    EXPECT_EQ(log.count("ERROR"), 1u);
}

TEST_F(StoreTest, anEmptyStateFileIsLoggedAndGivesTheDefaultState) {
    support::writeFile(notes / ".stickies.json", "");
    EXPECT_EQ(Store::loadState(), AppState{});
    EXPECT_EQ(log.count("ERROR can't read "), 1u);
}

TEST_F(StoreTest, aStateFileThatIsAJsonArrayIsLoggedAndGivesTheDefaultState) {
    support::writeFile(notes / ".stickies.json", "[{\"stickies\": {}}]");
    EXPECT_EQ(Store::loadState(), AppState{});
    EXPECT_EQ(log.count("ERROR can't read "), 1u);
}

TEST_F(StoreTest, saveStateWritesPrettySortedJson) {
    AppState state;
    state.stickies["a"] = someRecord();
    Store::saveState(state);
    const std::string text = support::readFile(notes / ".stickies.json");
    EXPECT_LT(text.find("\"hidden\""), text.find("\"stickies\""));
    EXPECT_NE(text.find("\n  \"stickies\": {\n    \"a\": {\n      \"color\": \"green\""), std::string::npos);
}

TEST_F(StoreTest, trashingAnIdTwiceKeepsOnlyTheSecondCopy) {
    Store::write("a", "first");
    EXPECT_FALSE(Store::moveToTrash("a").failed());
    Store::write("a", "second");
    EXPECT_FALSE(Store::moveToTrash("a").failed());
    EXPECT_EQ(support::readFile(notes / ".trash/a.md"), "second");
    EXPECT_FALSE(fs::exists(notes / "a.md"));
}

TEST_F(StoreTest, trashingAMissingNoteFails) { EXPECT_TRUE(Store::moveToTrash("nothing").failed()); }

TEST_F(StoreTest, restoreBringsTheNoteBack) {
    Store::write("a", "text");
    Store::moveToTrash("a");
    EXPECT_FALSE(Store::restoreFromTrash("a").failed());
    EXPECT_EQ(support::readFile(notes / "a.md"), "text");
    EXPECT_FALSE(fs::exists(notes / ".trash/a.md"));
}

TEST_F(StoreTest, restoringAnIdWhoseNameWasReusedFailsAndTouchesNeitherFile) {
    Store::write("a", "trashed");
    Store::moveToTrash("a");
    Store::write("a", "new note");
    EXPECT_TRUE(Store::restoreFromTrash("a").failed());
    EXPECT_EQ(support::readFile(notes / "a.md"), "new note");
    EXPECT_EQ(support::readFile(notes / ".trash/a.md"), "trashed");
}

TEST_F(StoreTest, theStoreFollowsTheNotesFolderOfTheMomentItIsCalled) {
    EXPECT_EQ(Store::notePath("x"), notes / "x.md");
    EXPECT_EQ(Store::statePath(), notes / ".stickies.json");
    EXPECT_EQ(Store::trashPath("x"), notes / ".trash/x.md");
}

// --- a disk that says no

TEST_F(StoreTest, aNotesFolderThatIsAFileIsLoggedAndListsNothing) {
    fs::remove_all(notes);
    support::writeFile(notes, "I am a file");
    Store::ensureDirs();
    EXPECT_EQ(log.count("ERROR can't create the notes folder " + notes.string()), 1u);
    EXPECT_TRUE(Store::noteIds().empty());
    EXPECT_FALSE(Store::write("a", "text"));
    EXPECT_EQ(log.count("ERROR can't save a: "), 1u);
    EXPECT_EQ(support::readFile(notes), "I am a file");
}

TEST_F(StoreTest, anUnreadableNotesFolderListsNothing) {
    support::FaultyFiles faulty;
    faulty.failList = "Permission denied";
    Store::useFiles(&faulty);
    Store::write("a", "x");
    EXPECT_TRUE(Store::noteIds().empty());
}

TEST_F(StoreTest, aReadOnlyNotesFolderLogsTheSaveAndKeepsTheOldText) {
    Store::write("a", "old text");
    support::FaultyFiles faulty;
    faulty.failWrite = "Read-only file system";
    Store::useFiles(&faulty);
    EXPECT_FALSE(Store::write("a", "new text"));
    EXPECT_EQ(log.count("ERROR can't save a: Read-only file system"), 1u);
    EXPECT_EQ(support::readFile(notes / "a.md"), "old text");
}

TEST_F(StoreTest, aFullDiskLogsTheStateSaveAndKeepsTheOldFile) {
    AppState old;
    old.stickies["a"] = someRecord();
    Store::saveState(old);
    support::FaultyFiles faulty;
    faulty.failWrite = "No space left on device";
    Store::useFiles(&faulty);
    EXPECT_FALSE(Store::saveState(AppState{}));
    EXPECT_EQ(log.count("ERROR can't save state: No space left on device"), 1u);
    Store::useFiles(nullptr);
    EXPECT_EQ(Store::loadState(), old);
}

TEST_F(StoreTest, anUnreadableStateFileGivesTheDefaultStateSilently) {
    support::writeFile(notes / ".stickies.json", "{}");
    support::FaultyFiles faulty;
    faulty.failRead = "Permission denied";
    Store::useFiles(&faulty);
    EXPECT_EQ(Store::loadState(), AppState{});
    EXPECT_TRUE(log.lines().empty());
}

// --- a real full disk, where the machine lets a test mount a small tmpfs

namespace {

class TinyDisk {
public:
    explicit TinyDisk(const fs::path& at) : at(at) {
        fs::create_directories(at);
        mounted = ::mount("tmpfs", at.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~TinyDisk() {
        if (mounted) ::umount(at.c_str());
    }
    bool mounted = false;

private:
    fs::path at;
};

}

TEST_F(StoreTest, aWriteThatRunsOutOfSpaceLeavesTheNoteWholeOnARealDisk) {
    const fs::path tiny = root / "tiny";
    TinyDisk disk(tiny);
    if (!disk.mounted) GTEST_SKIP() << "this machine does not let tests mount a tmpfs";
    ConfigSources sources;
    sources.arguments = {"marrowleaf"};
    sources.notesDirOption = tiny.string();
    Config::configure(sources);

    const std::string original(20 * 1024, 'o');
    ASSERT_TRUE(Store::write("a", original));
    const std::string tooBig(200 * 1024, 'n');
    EXPECT_FALSE(Store::write("a", tooBig));
    EXPECT_EQ(log.count("ERROR can't save a: No space left on device"), 1u);
    EXPECT_EQ(support::readFile(tiny / "a.md"), original);
    EXPECT_EQ(Store::noteIds(), (std::vector<std::string>{"a"}));
    std::size_t entries = 0;
    for ([[maybe_unused]] auto& entry : fs::directory_iterator(tiny)) ++entries;
    EXPECT_EQ(entries, 1u);   // the half-written temporary file is gone
}

// --- notes that are symbolic links

TEST_F(StoreTest, savingANoteThatLinksIntoTheFolderWritesThroughAndKeepsTheLink) {
    fs::create_directories(notes / "texts");
    support::writeFile(notes / "texts/shopping.txt", "old text");
    fs::create_symlink("texts/shopping.txt", notes / "a.md");
    EXPECT_EQ(Store::read("a"), "old text");
    ASSERT_TRUE(Store::write("a", "new text"));
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(notes / "a.md")));
    EXPECT_EQ(fs::read_symlink(notes / "a.md"), "texts/shopping.txt");
    EXPECT_EQ(support::readFile(notes / "texts/shopping.txt"), "new text");
    EXPECT_EQ(Store::read("a"), "new text");
    // The temporary file was made beside the target, and is gone.
    EXPECT_EQ(std::distance(fs::directory_iterator(notes / "texts"), fs::directory_iterator()), 1);
}

TEST_F(StoreTest, savingANoteThatLinksOutsideTheFolderWritesThroughToThatFile) {
    const fs::path elsewhere = root / "Documents/plan.md";
    support::writeFile(elsewhere, "old plan");
    fs::permissions(elsewhere, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    fs::create_symlink(elsewhere, notes / "plan.md");
    ASSERT_TRUE(Store::write("plan", "new plan"));
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(notes / "plan.md")));
    EXPECT_EQ(support::readFile(elsewhere), "new plan");
    // The replaced file keeps its permissions.
    EXPECT_EQ(fs::status(elsewhere).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(StoreTest, aChainOfLinksIsFollowedToItsEnd) {
    support::writeFile(root / "real.md", "text");
    fs::create_symlink(root / "real.md", root / "middle.md");
    fs::create_symlink("../../middle.md", notes / "a.md");
    ASSERT_TRUE(Store::write("a", "changed"));
    EXPECT_EQ(support::readFile(root / "real.md"), "changed");
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(root / "middle.md")));
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(notes / "a.md")));
}

TEST_F(StoreTest, aLinkThatPointsNowhereIsNamedInAWarningOnceAndLeftAlone) {
    fs::create_symlink("gone.txt", notes / "a.md");
    EXPECT_EQ(Store::read("a"), std::nullopt);
    EXPECT_EQ(Store::read("a"), std::nullopt);
    EXPECT_EQ(log.count("WARN a.md is a link to gone.txt, which can't be read (No such file or directory); "
                        "the note is not shown"),
              1u);
    EXPECT_TRUE(fs::is_symlink(fs::symlink_status(notes / "a.md")));
    EXPECT_FALSE(fs::exists(notes / "gone.txt"));
}

TEST_F(StoreTest, aMissingPlainFileIsNoLinkAndGetsNoWarning) {
    EXPECT_EQ(Store::read("nothing"), std::nullopt);
    EXPECT_EQ(log.count("WARN"), 0u);
}
