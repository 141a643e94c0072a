#pragma once

namespace marrowleaf {

// The local calendar reading of a moment, as the user's time zone shows it.
struct LocalTime {
    int year = 1970;
    int month = 1;      // 1…12
    int day = 1;        // 1…31
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
    int weekday = 4;    // 0 = Sunday; 1 January 1970 was a Thursday

    bool operator==(const LocalTime&) const = default;
};

class Clock {
public:
    virtual ~Clock() = default;
    // Seconds since 1970-01-01 00:00 UTC.
    virtual double now() const = 0;
    virtual LocalTime local(double secondsSince1970) const = 0;
};

}
