#pragma once
#include "storage/Files.h"

namespace marrowleaf {

// Starting the program when the user logs in.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    // Whether the program can be started at login at all (it knows its own path).
    virtual bool available() const = 0;
    virtual bool enabled() const = 0;
    // Starts the program at every login from now on, or no longer.
    virtual Files::Result setEnabled(bool on) = 0;
};

}
