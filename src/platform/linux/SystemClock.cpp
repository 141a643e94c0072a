#include "platform/linux/SystemClock.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace marrowleaf {

namespace {

constexpr int millisecondsPerSecond = 1000;
constexpr int lastMillisecond = 999;

}

double SystemClock::now() const {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(sinceEpoch).count();
}

LocalTime SystemClock::local(double secondsSince1970) const {
    const double whole = std::floor(secondsSince1970);
    const auto seconds = static_cast<std::time_t>(whole);
    std::tm fields{};
    LocalTime t;
    if (!localtime_r(&seconds, &fields)) return t;   // out of the C library's range: the epoch
    t.year = fields.tm_year + 1900;
    t.month = fields.tm_mon + 1;
    t.day = fields.tm_mday;
    t.hour = fields.tm_hour;
    t.minute = fields.tm_min;
    t.second = fields.tm_sec;
    t.weekday = fields.tm_wday;
    const int millis = static_cast<int>(std::floor((secondsSince1970 - whole) * millisecondsPerSecond));
    t.millisecond = millis > lastMillisecond ? lastMillisecond : millis;
    return t;
}

}
