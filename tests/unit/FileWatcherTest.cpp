#include "storage/FileWatcher.h"
#include "LogCapture.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

class FileWatcherTest : public ::testing::Test {
protected:
    FakePlatform platform;
    support::LogCapture log;
    std::filesystem::path folder = "/notes";
    std::vector<std::vector<std::string>> batches;

    FileWatcher::Handler record() {
        return [this](const std::vector<std::string>& paths) { batches.push_back(paths); };
    }
};

}

TEST_F(FileWatcherTest, theFirstChangeAfterAQuietPeriodIsDeliveredAtOnce) {
    FileWatcher watcher(folder, record());
    platform.folderEvents.emit(folder, {"/notes/a.md"});
    EXPECT_EQ(batches, (std::vector<std::vector<std::string>>{{"/notes/a.md"}}));
}

TEST_F(FileWatcherTest, changesSoonAfterAreGatheredIntoOneBatch) {
    FileWatcher watcher(folder, record());
    platform.folderEvents.emit(folder, {"/notes/a.md"});
    platform.clock.advance(0.05);
    platform.folderEvents.emit(folder, {"/notes/b.md"});
    platform.clock.advance(0.05);
    platform.folderEvents.emit(folder, {"/notes/c.md", "/notes/b.md"});
    EXPECT_EQ(batches.size(), 1u);
    platform.clock.advance(0.19);
    EXPECT_EQ(batches.size(), 1u);
    platform.clock.advance(0.01);
    ASSERT_EQ(batches.size(), 2u);
    EXPECT_EQ(batches[1], (std::vector<std::string>{"/notes/b.md", "/notes/c.md", "/notes/b.md"}));
}

TEST_F(FileWatcherTest, aSteadyStreamOfChangesIsDeliveredAtMostEveryLatency) {
    FileWatcher watcher(folder, record());
    std::vector<double> deliveredAt;
    for (int i = 0; i < 100; ++i) {
        const auto before = batches.size();
        platform.folderEvents.emit(folder, {"/notes/a.md"});
        if (batches.size() > before) deliveredAt.push_back(platform.clock.now());
        platform.clock.advance(0.01);
        if (batches.size() > before && deliveredAt.size() < batches.size())
            deliveredAt.push_back(platform.clock.now());
    }
    platform.clock.advance(1);
    ASSERT_GE(batches.size(), 3u);
    EXPECT_LE(batches.size(), 5u);   // one second of changes: at once, then every 0.3 s
    std::size_t total = 0;
    for (auto& batch : batches)
        total += batch.size();
    EXPECT_EQ(total, 100u);   // nothing is lost
}

TEST_F(FileWatcherTest, afterAQuietPeriodTheNextChangeIsAtOnceAgain) {
    FileWatcher watcher(folder, record());
    platform.folderEvents.emit(folder, {"/notes/a.md"});
    platform.clock.advance(0.3);
    platform.folderEvents.emit(folder, {"/notes/b.md"});
    EXPECT_EQ(batches.size(), 2u);
}

TEST_F(FileWatcherTest, theApplicationsOwnWritesAreReportedToo) {
    FileWatcher watcher(folder, record());
    platform.folderEvents.emit(folder, {"/notes/.stickies.json", "/notes/.trash/a.md"});
    EXPECT_EQ(batches,
              (std::vector<std::vector<std::string>>{{"/notes/.stickies.json", "/notes/.trash/a.md"}}));
}

TEST_F(FileWatcherTest, aFolderThatCannotBeWatchedIsLoggedAndReportsNothing) {
    platform.folderEvents.failWith = "No such file or directory";
    FileWatcher watcher(folder, record());
    EXPECT_FALSE(watcher.watching());
    EXPECT_EQ(log.count("ERROR can't watch /notes: No such file or directory"), 1u);
}

TEST_F(FileWatcherTest, releasingTheWatcherStopsItAndCancelsAPendingBatch) {
    {
        FileWatcher watcher(folder, record());
        platform.folderEvents.emit(folder, {"/notes/a.md"});
        platform.folderEvents.emit(folder, {"/notes/b.md"});
    }
    EXPECT_EQ(platform.folderEvents.watchCount(), 0u);
    platform.clock.advance(1);
    EXPECT_EQ(batches.size(), 1u);
}
