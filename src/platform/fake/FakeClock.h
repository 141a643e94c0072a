#pragma once
#include "platform/Clock.h"
#include "platform/MainQueue.h"

#include <map>
#include <utility>

namespace marrowleaf {

// A manual clock and main queue: nothing runs until the test says so.
// `advance(20)` moves time forward and runs, in time order, everything that
// fell due on the way (posted work counts as due at once).
class FakeClock : public Clock, public MainQueue {
public:
    // Local time is UTC shifted by `utcOffsetSeconds`.
    explicit FakeClock(double start = 1'773'480'600.0, int utcOffsetSeconds = 0);

    double now() const override { return time; }
    LocalTime local(double secondsSince1970) const override;

    void post(Task task) override;
    TimerId after(double seconds, Task task) override;
    TimerId every(double interval, double tolerance, Task task) override;
    void cancel(TimerId id) override;

    void advance(double seconds);
    // Runs what is due now without moving time.
    void runPending() { advance(0); }
    void set(double secondsSince1970) { time = secondsSince1970; }
    std::size_t pendingCount() const { return timers.size(); }

private:
    struct Timer {
        double due;
        double interval;   // 0 for one-shot work
        Task task;
    };
    // Ordered by (due, sequence) so equal due times run in the order scheduled.
    std::map<std::pair<double, TimerId>, TimerId> order;
    std::map<TimerId, Timer> timers;
    TimerId nextId = 1;
    double time;
    int utcOffset;

    TimerId schedule(double due, double interval, Task task);
};

}
