#include "registry/PageSchedule.h"
#include "platform/fake/FakePlatform.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

namespace {

class PageScheduleTest : public ::testing::Test {
protected:
    FakePlatform platform;
    std::vector<std::string> loaded;
    PageSchedule schedule{[this](const std::string& id) { loaded.push_back(id); }};
};

}

TEST_F(PageScheduleTest, afterTheStartEveryPageLoadsAtOnceWhereverItIs) {
    EXPECT_TRUE(schedule.loadsNow("front", true));
    EXPECT_TRUE(schedule.loadsNow("elsewhere", false));
    EXPECT_EQ(schedule.waitingCount(), 0u);
}

TEST_F(PageScheduleTest, duringTheStartPagesElsewhereWaitForThePagesInFront) {
    schedule.beginStart();
    EXPECT_TRUE(schedule.loadsNow("front1", true));
    EXPECT_TRUE(schedule.loadsNow("front2", true));
    EXPECT_FALSE(schedule.loadsNow("two", false));
    EXPECT_FALSE(schedule.loadsNow("three", false));
    schedule.endStart();
    schedule.started("front1");
    EXPECT_TRUE(loaded.empty());
    schedule.started("front2");
    EXPECT_EQ(loaded, (std::vector<std::string>{"two", "three"}));
}

TEST_F(PageScheduleTest, pagesElsewhereWaitASecondAtMost) {
    schedule.beginStart();
    schedule.loadsNow("front", true);
    schedule.loadsNow("two", false);
    schedule.endStart();
    platform.clock.advance(PageSchedule::waitingDelay - 0.01);
    EXPECT_TRUE(loaded.empty());
    platform.clock.advance(0.01);
    EXPECT_EQ(loaded, (std::vector<std::string>{"two"}));
    schedule.started("front");   // late: loads nothing twice
    EXPECT_EQ(loaded.size(), 1u);
}

TEST_F(PageScheduleTest, withNothingInFrontNothingWaits) {
    schedule.beginStart();
    schedule.loadsNow("two", false);
    schedule.endStart();
    EXPECT_EQ(loaded, (std::vector<std::string>{"two"}));
}

TEST_F(PageScheduleTest, anotherDesktopInFrontLoadsTheWaitingPagesAtOnceAndOnce) {
    schedule.beginStart();
    schedule.loadsNow("front", true);
    schedule.loadsNow("two", false);
    schedule.endStart();
    schedule.loadWaiting();
    EXPECT_EQ(loaded, (std::vector<std::string>{"two"}));
    platform.clock.advance(PageSchedule::waitingDelay);
    EXPECT_EQ(loaded.size(), 1u);
}
