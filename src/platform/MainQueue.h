#pragma once
#include <cstdint>
#include <functional>

namespace marrowleaf {

using TimerId = std::uint64_t;

// Runs work on the one thread that owns the registry, windows and state.
class MainQueue {
public:
    using Task = std::function<void()>;
    virtual ~MainQueue() = default;

    // Run soon, after the current event has been handled.
    virtual void post(Task task) = 0;
    // Run once, `seconds` from now. The id stays valid until the task ran or was cancelled.
    virtual TimerId after(double seconds, Task task) = 0;
    // Run every `interval` seconds; the platform may fire up to `tolerance` late to save power.
    virtual TimerId every(double interval, double tolerance, Task task) = 0;
    // Cancelling a timer that already ran, or an unknown id, does nothing.
    virtual void cancel(TimerId id) = 0;
};

}
