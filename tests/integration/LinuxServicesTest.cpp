#include "integration/Harness.h"
#include "platform/linux/GLibMainQueue.h"
#include "platform/linux/InotifyFolderEvents.h"
#include "platform/linux/KeyFileDefaults.h"
#include "platform/linux/SystemClock.h"
#include "shell/Log.h"

#include <gtest/gtest.h>
#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

namespace {

// Any GLib warning or critical (a dead source removed, a bad argument) ends the
// test process, so "harmless" means GLib had nothing to complain about.
class GLibStrict : public ::testing::Test {
protected:
    void SetUp() override {
        previousFatal = g_log_set_always_fatal(
            static_cast<GLogLevelFlags>(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    }
    void TearDown() override { g_log_set_always_fatal(previousFatal); }

private:
    GLogLevelFlags previousFatal{};
};

using GLibMainQueueTest = GLibStrict;

double secondsSince(SteadyClock::time_point start) { return std::chrono::duration<double>(SteadyClock::now() - start).count(); }

// Lets the loop run until a task scheduled `seconds` from now has run: long
// enough for anything due earlier to have run too.
void runLoopFor(GLibMainQueue& queue, double seconds) {
    bool passed = false;
    queue.after(seconds, [&] { passed = true; });
    ASSERT_TRUE(runMainContextUntil([&] { return passed; }));
}

}

TEST_F(GLibMainQueueTest, aTimerRunsOnceAndNotBeforeItsDelay) {
    GLibMainQueue queue;
    int runs = 0;
    double ranAfter = 0;
    const auto start = SteadyClock::now();
    queue.after(0.05, [&] {
        ++runs;
        ranAfter = secondsSince(start);
    });
    ASSERT_TRUE(runMainContextUntil([&] { return runs > 0; }));
    EXPECT_GE(ranAfter, 0.05);
    runLoopFor(queue, 0.1);
    EXPECT_EQ(runs, 1);
}

TEST_F(GLibMainQueueTest, postedWorkRunsInTheOrderPosted) {
    GLibMainQueue queue;
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) queue.post([&order, i] { order.push_back(i); });
    ASSERT_TRUE(runMainContextUntil([&] { return order.size() == 5; }));
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
}

TEST_F(GLibMainQueueTest, workPostedFromATaskRunsAfterThatTaskReturns) {
    GLibMainQueue queue;
    std::vector<std::string> events;
    queue.post([&] {
        queue.post([&] { events.push_back("inner"); });
        events.push_back("outer done");
    });
    ASSERT_TRUE(runMainContextUntil([&] { return events.size() == 2; }));
    EXPECT_EQ(events, (std::vector<std::string>{"outer done", "inner"}));
}

TEST_F(GLibMainQueueTest, cancellingATimerThatAlreadyRanIsHarmless) {
    GLibMainQueue queue;
    int runs = 0;
    const TimerId id = queue.after(0, [&] { ++runs; });
    ASSERT_TRUE(runMainContextUntil([&] { return runs == 1; }));
    queue.cancel(id);
    queue.cancel(id);
    bool later = false;
    queue.after(0.01, [&] { later = true; });
    EXPECT_TRUE(runMainContextUntil([&] { return later; }));
    EXPECT_EQ(runs, 1);
}

TEST_F(GLibMainQueueTest, cancellingAnUnknownTimerIsHarmless) {
    GLibMainQueue queue;
    queue.cancel(0);
    queue.cancel(987654);
    bool ran = false;
    queue.post([&] { ran = true; });
    EXPECT_TRUE(runMainContextUntil([&] { return ran; }));
}

TEST_F(GLibMainQueueTest, aCancelledTimerNeverRuns) {
    GLibMainQueue queue;
    bool cancelledRan = false;
    const TimerId id = queue.after(0.02, [&] { cancelledRan = true; });
    queue.cancel(id);
    runLoopFor(queue, 0.1);
    EXPECT_FALSE(cancelledRan);
}

TEST_F(GLibMainQueueTest, aOneShotTimerMayCancelItselfWhileRunning) {
    GLibMainQueue queue;
    TimerId id = 0;
    int runs = 0;
    id = queue.after(0, [&] {
        ++runs;
        queue.cancel(id);
    });
    ASSERT_TRUE(runMainContextUntil([&] { return runs == 1; }));
    runLoopFor(queue, 0.05);
    EXPECT_EQ(runs, 1);
}

TEST_F(GLibMainQueueTest, aRepeatingTimerRunsAgainUntilCancelled) {
    GLibMainQueue queue;
    int runs = 0;
    const TimerId id = queue.every(0.02, 0, [&] { ++runs; });
    ASSERT_TRUE(runMainContextUntil([&] { return runs >= 3; }));
    queue.cancel(id);
    const int runsWhenCancelled = runs;
    runLoopFor(queue, 0.1);
    EXPECT_EQ(runs, runsWhenCancelled);
}

TEST_F(GLibMainQueueTest, aRepeatingTimerMayCancelItselfFromItsOwnTask) {
    GLibMainQueue queue;
    TimerId id = 0;
    int runs = 0;
    id = queue.every(0.01, 0, [&] {
        if (++runs == 2) queue.cancel(id);
    });
    ASSERT_TRUE(runMainContextUntil([&] { return runs == 2; }));
    runLoopFor(queue, 0.1);
    EXPECT_EQ(runs, 2);
}

TEST_F(GLibMainQueueTest, aWholeSecondTimerWithToleranceRepeats) {
    GLibMainQueue queue;
    int runs = 0;
    const auto start = SteadyClock::now();
    const TimerId id = queue.every(1, 1, [&] { ++runs; });
    ASSERT_TRUE(runMainContextUntil([&] { return runs >= 2; }, 6s));
    queue.cancel(id);
    // Two runs of a one-second timer take at least about a second, even batched.
    EXPECT_GE(secondsSince(start), 1.0);
}

TEST_F(GLibMainQueueTest, workNotYetRunIsDroppedWithItsQueue) {
    bool ran = false;
    {
        GLibMainQueue doomed;
        doomed.post([&] { ran = true; });
        doomed.after(0.01, [&] { ran = true; });
        doomed.every(0.01, 0, [&] { ran = true; });
    }
    GLibMainQueue queue;
    runLoopFor(queue, 0.1);
    EXPECT_FALSE(ran);
}

TEST(SystemClock, nowIsTheSystemTimeInSecondsWithSubSecondPrecision) {
    SystemClock clock;
    const auto seconds = [](std::chrono::system_clock::time_point t) {
        return std::chrono::duration<double>(t.time_since_epoch()).count();
    };
    const double before = seconds(std::chrono::system_clock::now());
    const double now = clock.now();
    const double after = seconds(std::chrono::system_clock::now());
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_LT(after - before, 0.5);
}

class SystemClockInZone : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char* tz = std::getenv("TZ")) saved = tz;
    }
    void TearDown() override {
        if (saved)
            setenv("TZ", saved->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    void useZone(const char* posixZone) {
        setenv("TZ", posixZone, 1);
        tzset();
    }

private:
    std::optional<std::string> saved;
};

TEST_F(SystemClockInZone, readsTheCalendarOfTheUsersTimeZone) {
    useZone("JST-9");   // nine hours east of UTC, no daylight saving
    const LocalTime t = SystemClock().local(0);
    EXPECT_EQ(t, (LocalTime{1970, 1, 1, 9, 0, 0, 0, 4}));
}

TEST_F(SystemClockInZone, keepsTheMillisecondsOfAMoment) {
    useZone("UTC0");
    const LocalTime t = SystemClock().local(1'773'480'600.25);   // 2026-03-14 09:30:00.250 UTC, a Saturday
    EXPECT_EQ(t, (LocalTime{2026, 3, 14, 9, 30, 0, 250, 6}));
}

TEST_F(SystemClockInZone, readsAMomentBefore1970) {
    useZone("UTC0");
    const LocalTime t = SystemClock().local(-0.5);
    EXPECT_EQ(t, (LocalTime{1969, 12, 31, 23, 59, 59, 500, 3}));
}

class KeyFileDefaultsTest : public ::testing::Test {
protected:
    TemporaryFolder folder{"marrowleaf-defaults"};
    fs::path file = folder / "config" / "marrowleaf" / "defaults.ini";
    KeyFileDefaults defaults{file};

    void SetUp() override {
        Log::setEcho(false);
        Log::setFile(folder / "test.log");
    }
    void TearDown() override {
        Log::flush();
        Log::setFile({});
        Log::setEcho(true);
    }
    std::vector<std::string> loggedLines() {
        Log::flush();
        return readLines(folder / "test.log");
    }
    static std::size_t countContaining(const std::vector<std::string>& lines, const std::string& text) {
        return static_cast<std::size_t>(
            std::count_if(lines.begin(), lines.end(), [&](const auto& l) { return l.find(text) != std::string::npos; }));
    }
};

TEST_F(KeyFileDefaultsTest, aMissingFileReadsAsEmpty) {
    EXPECT_EQ(defaults.text("NotesDirectory"), std::nullopt);
    EXPECT_EQ(defaults.flag("AltClickNewSticky"), std::nullopt);
    EXPECT_TRUE(loggedLines().empty());
}

TEST_F(KeyFileDefaultsTest, keepsText) {
    defaults.setText("NotesDirectory", "~/Documents/my notes");
    EXPECT_EQ(defaults.text("NotesDirectory"), "~/Documents/my notes");
}

TEST_F(KeyFileDefaultsTest, keepsTextWithLineFeedsAndLeadingSpaces) {
    defaults.setText("Odd", "  two\nlines ");
    EXPECT_EQ(defaults.text("Odd"), "  two\nlines ");
}

TEST_F(KeyFileDefaultsTest, keepsFlags) {
    defaults.setFlag("AltClickNewSticky", false);
    defaults.setFlag("WelcomeShown", true);
    EXPECT_EQ(defaults.flag("AltClickNewSticky"), false);
    EXPECT_EQ(defaults.flag("WelcomeShown"), true);
}

TEST_F(KeyFileDefaultsTest, keepsIntegers) {
    defaults.setInteger("ActiveDays", 42);
    defaults.setInteger("Negative", -7);
    defaults.setInteger("Largest", std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(defaults.integer("ActiveDays"), 42);
    EXPECT_EQ(defaults.integer("Negative"), -7);
    EXPECT_EQ(defaults.integer("Largest"), std::numeric_limits<std::int64_t>::max());
}

TEST_F(KeyFileDefaultsTest, keepsDatesToTheMicrosecond) {
    defaults.setDate("FirstUseDate", 1'773'480'600.25);
    defaults.setDate("Epoch", 0);
    EXPECT_EQ(defaults.date("FirstUseDate"), 1'773'480'600.25);
    EXPECT_EQ(defaults.date("Epoch"), 0.0);
}

TEST_F(KeyFileDefaultsTest, writesAKeyFileWithADefaultsGroupCreatingItsFolder) {
    defaults.setFlag("AltClickNewSticky", false);
    defaults.setInteger("ActiveDays", 3);
    defaults.setDate("FirstUseDate", 0);
    const std::string content = readFile(file);
    EXPECT_NE(content.find("[Defaults]"), std::string::npos) << content;
    EXPECT_NE(content.find("AltClickNewSticky=false"), std::string::npos) << content;
    EXPECT_NE(content.find("ActiveDays=3"), std::string::npos) << content;
    EXPECT_NE(content.find("FirstUseDate=1970-01-01T00:00:00Z"), std::string::npos) << content;
}

TEST_F(KeyFileDefaultsTest, theTextNoIsNotAFlag) {
    writeFile(file, "[Defaults]\nAltClickNewSticky=NO\nOne=1\n");
    EXPECT_EQ(defaults.flag("AltClickNewSticky"), std::nullopt);
    EXPECT_EQ(defaults.flag("One"), std::nullopt);
    EXPECT_EQ(defaults.text("AltClickNewSticky"), "NO");
}

TEST_F(KeyFileDefaultsTest, textIsNotAnInteger) {
    writeFile(file, "[Defaults]\nActiveDays=three\nSuffixed=12abc\nHex=0x10\nEmpty=\n");
    EXPECT_EQ(defaults.integer("ActiveDays"), std::nullopt);
    EXPECT_EQ(defaults.integer("Suffixed"), std::nullopt);
    EXPECT_EQ(defaults.integer("Hex"), std::nullopt);
    EXPECT_EQ(defaults.integer("Empty"), std::nullopt);
}

TEST_F(KeyFileDefaultsTest, anIntegerIsNotADateAndTextIsNot) {
    writeFile(file, "[Defaults]\nFirstUseDate=yesterday\nLastActiveDay=1773480600\n");
    EXPECT_EQ(defaults.date("FirstUseDate"), std::nullopt);
    EXPECT_EQ(defaults.date("LastActiveDay"), std::nullopt);
}

TEST_F(KeyFileDefaultsTest, readsADateWrittenWithAnOffset) {
    writeFile(file, "[Defaults]\nFirstUseDate=1970-01-01T09:00:00+09:00\n");
    EXPECT_EQ(defaults.date("FirstUseDate"), 0.0);
}

TEST_F(KeyFileDefaultsTest, aValueEditedFromOutsideIsSeenOnTheNextRead) {
    defaults.setText("NotesDirectory", "/first");
    ASSERT_EQ(defaults.text("NotesDirectory"), "/first");
    writeFile(file, "[Defaults]\nNotesDirectory=/second\n");
    EXPECT_EQ(defaults.text("NotesDirectory"), "/second");
}

TEST_F(KeyFileDefaultsTest, removingAKeyLeavesTheOthers) {
    defaults.setFlag("WelcomeShown", true);
    defaults.setInteger("ActiveDays", 2);
    defaults.remove("WelcomeShown");
    defaults.remove("NeverThere");
    EXPECT_EQ(defaults.flag("WelcomeShown"), std::nullopt);
    EXPECT_EQ(defaults.integer("ActiveDays"), 2);
}

TEST_F(KeyFileDefaultsTest, aWriteKeepsTheUsersOtherKeysAndComments) {
    writeFile(file, "# my settings\n[Defaults]\nNotesDirectory=~/n\n\n[Other]\nKeep=me\n");
    defaults.setFlag("WelcomeShown", true);
    const std::string content = readFile(file);
    EXPECT_NE(content.find("# my settings"), std::string::npos) << content;
    EXPECT_NE(content.find("Keep=me"), std::string::npos) << content;
    EXPECT_EQ(defaults.text("NotesDirectory"), "~/n");
    EXPECT_EQ(defaults.flag("WelcomeShown"), true);
}

TEST_F(KeyFileDefaultsTest, aMalformedFileReadsAsEmptyAndIsReportedOnce) {
    writeFile(file, "this is not a key file\n");
    EXPECT_EQ(defaults.text("NotesDirectory"), std::nullopt);
    EXPECT_EQ(defaults.flag("AltClickNewSticky"), std::nullopt);
    EXPECT_EQ(defaults.integer("ActiveDays"), std::nullopt);
    const auto lines = loggedLines();
    EXPECT_EQ(countContaining(lines, " ERROR can't read " + file.string() + ": "), 1u);
    EXPECT_EQ(lines.size(), 1u);
}

TEST_F(KeyFileDefaultsTest, aFileThatIsMendedAndBrokenAgainIsReportedAgain) {
    writeFile(file, "this is not a key file\n");
    defaults.text("NotesDirectory");
    writeFile(file, "[Defaults]\nNotesDirectory=/n\n");
    EXPECT_EQ(defaults.text("NotesDirectory"), "/n");
    writeFile(file, "this is not a key file\n");
    defaults.text("NotesDirectory");
    EXPECT_EQ(countContaining(loggedLines(), "can't read " + file.string()), 2u);
}

TEST_F(KeyFileDefaultsTest, aWriteLeavesAMalformedFileAsTheUserLeftIt) {
    writeFile(file, "this is not a key file\n");
    defaults.setFlag("WelcomeShown", true);
    EXPECT_EQ(readFile(file), "this is not a key file\n");
    EXPECT_EQ(countContaining(loggedLines(), "ERROR can't save defaults: "), 1u);
}

TEST_F(KeyFileDefaultsTest, aWriteThatCannotBeSavedIsLogged) {
    writeFile(folder / "blocker", "a file where the folder should be");
    KeyFileDefaults blocked(folder / "blocker" / "defaults.ini");
    blocked.setFlag("WelcomeShown", true);
    EXPECT_EQ(blocked.flag("WelcomeShown"), std::nullopt);
    EXPECT_EQ(countContaining(loggedLines(), "ERROR can't save defaults: "), 1u);
}

class InotifyFolderEventsTest : public GLibStrict {
protected:
    TemporaryFolder folder{"marrowleaf-watched"};
    InotifyFolderEvents events;
    std::vector<std::string> seen;

    std::unique_ptr<FolderWatch> watchFolder() {
        std::string error;
        auto watch = events.watch(folder.path(), [this](std::vector<std::string> paths) {
            seen.insert(seen.end(), paths.begin(), paths.end());
        }, error);
        EXPECT_TRUE(watch) << error;
        return watch;
    }
    bool sawPath(const fs::path& path) const {
        return std::find(seen.begin(), seen.end(), path.string()) != seen.end();
    }
    bool waitForPath(const fs::path& path) { return runMainContextUntil([&] { return sawPath(path); }); }
    static std::size_t openInotifyDescriptors() {
        std::size_t count = 0;
        std::error_code closed;
        for (const auto& fd : fs::directory_iterator("/proc/self/fd"))
            if (fs::read_symlink(fd.path(), closed).string() == "anon_inode:inotify") ++count;
        return count;
    }
};

TEST_F(InotifyFolderEventsTest, reportsAFileWrittenAsItsFullPath) {
    auto watch = watchFolder();
    writeFile(folder / "sticky-1.md", "hello");
    EXPECT_TRUE(waitForPath(folder / "sticky-1.md"));
    for (const auto& path : seen) EXPECT_EQ(fs::path(path).parent_path(), folder.path()) << path;
}

TEST_F(InotifyFolderEventsTest, reportsAFileRenamedOverAnother) {
    writeFile(folder / "sticky-1.md", "old");
    auto watch = watchFolder();
    // How editors and the store save: write a temporary file, rename it over the note.
    writeFile(folder / ".sticky-1.md.tmp", "new");
    fs::rename(folder / ".sticky-1.md.tmp", folder / "sticky-1.md");
    EXPECT_TRUE(waitForPath(folder / "sticky-1.md"));
    EXPECT_TRUE(sawPath(folder / ".sticky-1.md.tmp"));
}

TEST_F(InotifyFolderEventsTest, reportsAFileDeleted) {
    writeFile(folder / "sticky-1.md", "bye");
    auto watch = watchFolder();
    fs::remove(folder / "sticky-1.md");
    EXPECT_TRUE(waitForPath(folder / "sticky-1.md"));
}

TEST_F(InotifyFolderEventsTest, reportsAFileMovedOutOfTheFolder) {
    writeFile(folder / "sticky-1.md", "away");
    fs::create_directories(folder / ".trash");
    auto watch = watchFolder();
    fs::rename(folder / "sticky-1.md", folder / ".trash" / "sticky-1.md");
    EXPECT_TRUE(waitForPath(folder / "sticky-1.md"));
    EXPECT_FALSE(sawPath(folder / ".trash" / "sticky-1.md"));   // not recursive
}

TEST_F(InotifyFolderEventsTest, reportsChangesInTheOrderTheyHappened) {
    auto watch = watchFolder();
    writeFile(folder / "first.md", "1");
    writeFile(folder / "second.md", "2");
    ASSERT_TRUE(runMainContextUntil([&] { return sawPath(folder / "first.md") && sawPath(folder / "second.md"); }));
    const auto first = std::find(seen.begin(), seen.end(), (folder / "first.md").string());
    const auto second = std::find(seen.begin(), seen.end(), (folder / "second.md").string());
    EXPECT_LT(first, second);
}

TEST_F(InotifyFolderEventsTest, reportsTheFolderItselfWhenItIsDeleted) {
    auto watch = watchFolder();
    fs::remove(folder.path());
    EXPECT_TRUE(waitForPath(folder.path()));
}

TEST_F(InotifyFolderEventsTest, aMissingFolderCannotBeWatchedAndSaysWhy) {
    std::string error;
    auto watch = events.watch(folder / "missing", [](std::vector<std::string>) {}, error);
    EXPECT_EQ(watch, nullptr);
    EXPECT_EQ(error, std::strerror(ENOENT));
}

TEST_F(InotifyFolderEventsTest, aFileCannotBeWatchedAsAFolder) {
    writeFile(folder / "plain.md", "");
    std::string error;
    auto watch = events.watch(folder / "plain.md", [](std::vector<std::string>) {}, error);
    EXPECT_EQ(watch, nullptr);
    EXPECT_EQ(error, std::strerror(ENOTDIR));
}

TEST_F(InotifyFolderEventsTest, reportsNothingOnceTheWatchIsGoneAndClosesItsDescriptor) {
    const std::size_t descriptorsBefore = openInotifyDescriptors();
    auto watch = watchFolder();
    EXPECT_EQ(openInotifyDescriptors(), descriptorsBefore + 1);
    watch.reset();
    EXPECT_EQ(openInotifyDescriptors(), descriptorsBefore);

    // A second folder's event marks the moment the first one's would have arrived by.
    TemporaryFolder other{"marrowleaf-watched-other"};
    bool otherSeen = false;
    std::string error;
    auto marker = events.watch(other.path(), [&](std::vector<std::string>) { otherSeen = true; }, error);
    ASSERT_TRUE(marker) << error;
    writeFile(folder / "unwatched.md", "x");
    writeFile(other / "marker.md", "x");
    ASSERT_TRUE(runMainContextUntil([&] { return otherSeen; }));
    EXPECT_TRUE(seen.empty());
}

TEST_F(InotifyFolderEventsTest, aHandlerMayStopItsOwnWatch) {
    std::unique_ptr<FolderWatch> watch;
    int calls = 0;
    std::string error;
    watch = events.watch(folder.path(), [&](std::vector<std::string>) {
        ++calls;
        watch.reset();
    }, error);
    ASSERT_TRUE(watch) << error;
    writeFile(folder / "a.md", "x");
    ASSERT_TRUE(runMainContextUntil([&] { return calls == 1; }));
    EXPECT_EQ(watch, nullptr);
}
