#pragma once
#include "platform/MainQueue.h"

#include <map>

typedef struct _GMainContext GMainContext;
typedef struct _GSource GSource;

namespace marrowleaf {

// The main queue on the GLib main loop of the thread that creates it (its
// thread-default context, else the global default one). Posted work is an idle
// source; timers are timeout sources, in whole seconds when the tolerance lets
// GLib batch wake-ups with other timers.
class GLibMainQueue : public MainQueue {
public:
    GLibMainQueue();
    ~GLibMainQueue() override;
    GLibMainQueue(const GLibMainQueue&) = delete;
    GLibMainQueue& operator=(const GLibMainQueue&) = delete;

    void post(Task task) override;
    TimerId after(double seconds, Task task) override;
    TimerId every(double interval, double tolerance, Task task) override;
    void cancel(TimerId id) override;

private:
    struct Closure;

    GMainContext* context;
    // Sources not yet finished, each holding a reference, so that cancelling
    // never touches a source GLib has already freed.
    std::map<TimerId, GSource*> live;
    TimerId nextId = 1;

    TimerId attach(GSource* source, Task task, bool repeating);
    void forget(TimerId id);
    static int dispatch(void* closure);
    static void release(void* closure);
};

}
