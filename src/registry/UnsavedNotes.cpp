#include "registry/UnsavedNotes.h"

#include "input/HUD.h"
#include "platform/Platform.h"
#include "shell/Log.h"

#include <algorithm>

namespace marrowleaf {

UnsavedNotes::UnsavedNotes(Write write, Rescue rescue) : write(std::move(write)), rescue(std::move(rescue)) {}

UnsavedNotes::~UnsavedNotes() {
    if (Platform::current().mainQueue) cancelTimer();
}

bool UnsavedNotes::save(const std::string& id, const std::string& text) {
    const auto written = write(id, text);
    if (!written.failed()) {
        const bool wasKept = kept.erase(id) > 0;
        if (wasKept && kept.empty()) endEpisode(1);
        return true;
    }
    kept[id] = text;
    if (!failing) beginEpisode(id, written.reason());
    if (!timer) schedule();
    return false;
}

bool UnsavedNotes::holds(const std::string& id) const { return kept.contains(id); }

std::optional<std::string> UnsavedNotes::text(const std::string& id) const {
    auto found = kept.find(id);
    if (found == kept.end()) return std::nullopt;
    return found->second;
}

void UnsavedNotes::forget(const std::string& id) {
    kept.erase(id);
    if (!kept.empty()) return;
    cancelTimer();
    failing = false;
    delay = firstDelay;
}

void UnsavedNotes::retry() {
    if (kept.empty()) return;
    const std::size_t before = kept.size();
    if (writeKept()) endEpisode(before);
}

void UnsavedNotes::quit() {
    cancelTimer();
    for (const auto& [id, text] : kept) {
        const auto written = write(id, text);
        if (!written.failed()) continue;
        const auto place = rescue(id, text);
        if (place)
            Log::error("can't save " + id + " before quitting: " + written.reason() + "; its text is kept in " +
                       place->string());
        else
            Log::error("can't save " + id + " before quitting: " + written.reason() +
                       "; its text could not be kept");
    }
    kept.clear();
    failing = false;
}

std::optional<double> UnsavedNotes::nextDelay() const {
    if (!timer) return std::nullopt;
    return delay;
}

bool UnsavedNotes::writeKept() {
    for (auto it = kept.begin(); it != kept.end();) {
        if (write(it->first, it->second).failed()) ++it;
        else it = kept.erase(it);
    }
    return kept.empty();
}

void UnsavedNotes::schedule() {
    timer = Platform::mainQueue().after(delay, [this] {
        timer.reset();
        const std::size_t before = kept.size();
        if (writeKept()) {
            endEpisode(before);
            return;
        }
        delay = std::min(delay * 2, longestDelay);
        schedule();
    });
}

void UnsavedNotes::beginEpisode(const std::string& id, const std::string& error) {
    failing = true;
    delay = firstDelay;
    Log::error("can't save " + id + ": " + error + "; the text is kept and saving is tried again");
    HUD::show("⚠️ Couldn't save a note, trying again", hudSeconds);
}

void UnsavedNotes::endEpisode(std::size_t written) {
    cancelTimer();
    failing = false;
    delay = firstDelay;
    Log::info("saved " + std::to_string(written) + (written == 1 ? " note" : " notes") +
              " that could not be saved before");
}

void UnsavedNotes::cancelTimer() {
    if (timer) Platform::mainQueue().cancel(*timer);
    timer.reset();
}

}
