#pragma once
#include "platform/Clock.h"

namespace marrowleaf {

// The machine's wall clock and the user's time zone.
class SystemClock : public Clock {
public:
    double now() const override;
    LocalTime local(double secondsSince1970) const override;
};

}
