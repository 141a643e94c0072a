#pragma once

namespace marrowleaf {

// A running registration for notifications from the desktop; destroying it
// stops the deliveries. Handlers are called on the main queue's thread.
class Subscription {
public:
    virtual ~Subscription() = default;
};

}
