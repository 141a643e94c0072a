#include "platform/fake/FakeClock.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

TEST(FakeClock, advanceRunsDueWorkInTimeOrder) {
    FakeClock clock(1000);
    std::vector<int> ran;
    clock.after(2, [&] { ran.push_back(2); });
    clock.after(1, [&] { ran.push_back(1); });
    clock.post([&] { ran.push_back(0); });
    clock.advance(1.5);
    EXPECT_EQ(ran, (std::vector<int>{0, 1}));
    EXPECT_EQ(clock.now(), 1001.5);
    clock.advance(1);
    EXPECT_EQ(ran, (std::vector<int>{0, 1, 2}));
}

TEST(FakeClock, aRepeatingTimerFiresOncePerInterval) {
    FakeClock clock;
    int fired = 0;
    clock.every(20, 5, [&] { ++fired; });
    clock.advance(19);
    EXPECT_EQ(fired, 0);
    clock.advance(61);
    EXPECT_EQ(fired, 4);
}

TEST(FakeClock, aCancelledTimerNeverRuns) {
    FakeClock clock;
    bool ran = false;
    const TimerId id = clock.after(1, [&] { ran = true; });
    clock.cancel(id);
    clock.cancel(id);
    clock.advance(5);
    EXPECT_FALSE(ran);
}

TEST(FakeClock, workScheduledByWorkRunsInTheSameAdvanceWhenDue) {
    FakeClock clock;
    std::vector<double> at;
    clock.after(1, [&] {
        at.push_back(clock.now());
        clock.after(1, [&] { at.push_back(clock.now()); });
    });
    clock.advance(3);
    EXPECT_EQ(at, (std::vector<double>{clock.now() - 2, clock.now() - 1}));
}

TEST(FakeClock, localTimeFollowsTheOffset) {
    FakeClock clock(0, 3600);
    const LocalTime t = clock.local(1741944600);   // 2025-03-14 09:30:00 UTC, a Friday
    EXPECT_EQ(t, (LocalTime{2025, 3, 14, 10, 30, 0, 0, 5}));
}
