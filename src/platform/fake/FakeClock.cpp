#include "platform/fake/FakeClock.h"

#include <cmath>
#include <cstdint>

namespace marrowleaf {

namespace {

// Civil date from days since 1970-01-01 (Howard Hinnant's algorithm).
void civilFromDays(std::int64_t z, int& year, int& month, int& day) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(static_cast<std::int64_t>(yoe) + era * 400 + (month <= 2 ? 1 : 0));
}

}

FakeClock::FakeClock(double start, int utcOffsetSeconds) : time(start), utcOffset(utcOffsetSeconds) {}

LocalTime FakeClock::local(double secondsSince1970) const {
    const double shifted = secondsSince1970 + utcOffset;
    const double whole = std::floor(shifted);
    const auto seconds = static_cast<std::int64_t>(whole);
    std::int64_t days = seconds / 86400;
    std::int64_t rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        days -= 1;
    }
    LocalTime t;
    civilFromDays(days, t.year, t.month, t.day);
    t.hour = static_cast<int>(rest / 3600);
    t.minute = static_cast<int>(rest % 3600 / 60);
    t.second = static_cast<int>(rest % 60);
    t.millisecond = static_cast<int>(std::floor((shifted - whole) * 1000));
    t.weekday = static_cast<int>(((days % 7) + 11) % 7);   // day 0 was a Thursday
    return t;
}

TimerId FakeClock::schedule(double due, double interval, Task task) {
    const TimerId id = nextId++;
    timers[id] = Timer{due, interval, std::move(task)};
    order[{due, id}] = id;
    return id;
}

void FakeClock::post(Task task) { schedule(time, 0, std::move(task)); }

TimerId FakeClock::after(double seconds, Task task) { return schedule(time + seconds, 0, std::move(task)); }

TimerId FakeClock::every(double interval, double, Task task) {
    return schedule(time + interval, interval, std::move(task));
}

void FakeClock::cancel(TimerId id) {
    auto found = timers.find(id);
    if (found == timers.end()) return;
    order.erase({found->second.due, id});
    timers.erase(found);
}

void FakeClock::advance(double seconds) {
    const double end = time + seconds;
    while (!order.empty() && order.begin()->first.first <= end) {
        auto [key, id] = *order.begin();
        order.erase(order.begin());
        Timer timer = std::move(timers[id]);
        timers.erase(id);
        if (key.first > time) time = key.first;
        if (timer.interval > 0) {
            // Re-arm under the same id before running, so the task may cancel itself.
            timers[id] = Timer{key.first + timer.interval, timer.interval, timer.task};
            order[{key.first + timer.interval, id}] = id;
        }
        timer.task();
    }
    if (end > time) time = end;
}

}
