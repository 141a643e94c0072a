#include "platform/linux/GLibMainQueue.h"

#include <glib.h>

#include <cmath>
#include <limits>

namespace marrowleaf {

namespace {

constexpr double millisecondsPerSecond = 1000;
// GLib may round a whole-second timer by up to a second to batch wake-ups.
constexpr double secondsTimerSlack = 1;

guint toMilliseconds(double seconds) {
    if (!(seconds > 0)) return 0;
    const double ms = std::llround(seconds * millisecondsPerSecond);
    return ms >= std::numeric_limits<guint>::max() ? std::numeric_limits<guint>::max() : static_cast<guint>(ms);
}

bool isWholeSeconds(double seconds) {
    return seconds >= 1 && seconds < std::numeric_limits<guint>::max() && std::floor(seconds) == seconds;
}

}

struct GLibMainQueue::Closure {
    GLibMainQueue* queue;
    TimerId id;
    Task task;
    bool repeating;
};

GLibMainQueue::GLibMainQueue() : context(g_main_context_ref_thread_default()) {}

GLibMainQueue::~GLibMainQueue() {
    for (auto& [id, source] : live) {
        g_source_destroy(source);
        g_source_unref(source);
    }
    g_main_context_unref(context);
}

void GLibMainQueue::post(Task task) { attach(g_idle_source_new(), std::move(task), false); }

TimerId GLibMainQueue::after(double seconds, Task task) {
    return attach(g_timeout_source_new(toMilliseconds(seconds)), std::move(task), false);
}

TimerId GLibMainQueue::every(double interval, double tolerance, Task task) {
    GSource* source = tolerance >= secondsTimerSlack && isWholeSeconds(interval)
                          ? g_timeout_source_new_seconds(static_cast<guint>(interval))
                          : g_timeout_source_new(toMilliseconds(interval));
    return attach(source, std::move(task), true);
}

void GLibMainQueue::cancel(TimerId id) {
    auto found = live.find(id);
    if (found == live.end()) return;
    GSource* source = found->second;
    live.erase(found);
    g_source_destroy(source);
    g_source_unref(source);
}

TimerId GLibMainQueue::attach(GSource* source, Task task, bool repeating) {
    const TimerId id = nextId++;
    auto* closure = new Closure{this, id, std::move(task), repeating};
    g_source_set_callback(source, dispatch, closure, release);
    g_source_attach(source, context);
    live[id] = source;   // keeps the reference g_*_source_new gave us
    return id;
}

void GLibMainQueue::forget(TimerId id) {
    auto found = live.find(id);
    if (found == live.end()) return;
    g_source_unref(found->second);
    live.erase(found);
}

int GLibMainQueue::dispatch(void* data) {
    auto* closure = static_cast<Closure*>(data);
    // A one-shot is forgotten before it runs, so cancelling it from inside
    // its own task (or later) finds nothing. GLib keeps the closure alive
    // until this dispatch returns, even if the task cancels a repeating timer.
    if (!closure->repeating) closure->queue->forget(closure->id);
    closure->task();
    return closure->repeating ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void GLibMainQueue::release(void* data) { delete static_cast<Closure*>(data); }

}
