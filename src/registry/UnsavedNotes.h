#pragma once
#include "platform/MainQueue.h"
#include "storage/Files.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace marrowleaf {

// Note text that could not be written yet. It stays in memory and is written
// again with backoff (1 s, 2 s, 4 s … at most every 30 s) until the disk takes
// it. The log and the HUD speak once per episode, an episode lasting from the
// first failed write until every kept text is on disk, not once per try.
class UnsavedNotes {
public:
    // Writes a note's text; gives back the system's description of a failure.
    using Write = std::function<Files::Result(const std::string& id, const std::string& text)>;
    // Puts text that can't reach the notes folder somewhere else; gives back where.
    using Rescue = std::function<std::optional<std::filesystem::path>(const std::string& id, const std::string& text)>;

    UnsavedNotes(Write write, Rescue rescue);
    ~UnsavedNotes();
    UnsavedNotes(const UnsavedNotes&) = delete;
    UnsavedNotes& operator=(const UnsavedNotes&) = delete;

    // Writes the text now; when that fails, keeps it and tries again later.
    // True when the text is on disk.
    bool save(const std::string& id, const std::string& text);
    bool holds(const std::string& id) const;
    std::optional<std::string> text(const std::string& id) const;
    // The note is gone: its kept text is not written any more.
    void forget(const std::string& id);
    // Tries every kept text at once (the folder changed, or the user saved).
    void retry();
    // The program quits: one last write, and text that still can't be written
    // is rescued elsewhere and logged.
    void quit();
    // Seconds until the next try, when one is planned.
    std::optional<double> nextDelay() const;

    static constexpr double firstDelay = 1;
    static constexpr double longestDelay = 30;
    static constexpr double hudSeconds = 2.5;

private:
    Write write;
    Rescue rescue;
    std::map<std::string, std::string> kept;
    std::optional<TimerId> timer;
    double delay = firstDelay;
    bool failing = false;

    // Writes what is kept; true when nothing is left.
    bool writeKept();
    void schedule();
    void beginEpisode(const std::string& id, const std::string& error);
    void endEpisode(std::size_t written);
    void cancelTimer();
};

}
