#include "registry/PageSchedule.h"

#include "platform/Platform.h"

namespace marrowleaf {

PageSchedule::PageSchedule(Load load) : load(std::move(load)) {}

PageSchedule::~PageSchedule() {
    if (Platform::current().mainQueue) cancelTimer();
}

void PageSchedule::beginStart() { starting = true; }

bool PageSchedule::loadsNow(const std::string& id, bool inFront) {
    if (!starting) return true;
    if (inFront) frontStarting.insert(id);
    else waiting.push_back(id);
    return inFront;
}

void PageSchedule::endStart() {
    starting = false;
    if (waiting.empty()) return;
    if (frontStarting.empty()) {
        loadWaiting();
        return;
    }
    timer = Platform::mainQueue().after(waitingDelay, [this] {
        timer.reset();
        loadWaiting();
    });
}

void PageSchedule::started(const std::string& id) {
    if (!frontStarting.erase(id) || !frontStarting.empty()) return;
    loadWaiting();
}

void PageSchedule::loadWaiting() {
    cancelTimer();
    frontStarting.clear();
    const auto pages = std::move(waiting);
    waiting.clear();
    for (const auto& id : pages)
        load(id);
}

void PageSchedule::cancelTimer() {
    if (timer) Platform::mainQueue().cancel(*timer);
    timer.reset();
}

}
