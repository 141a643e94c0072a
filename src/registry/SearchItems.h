#pragma once
#include "registry/Stickies.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

// What the search list and the command line's listing say of one note.
struct NoteSummary {
    std::string id;
    std::string text;
    // The desktop it shows on; absent when it can't be placed.
    std::optional<std::int64_t> desktop;
    // While it sleeps: the words for when it wakes ("later" when it has none).
    std::optional<std::string> sleepsUntil;
};

// The one rule for listing notes: the search panel's items and the lines of
// `marrowleaf --list`, in the same order.
struct SearchItems {
    // Sorted by their detail: by desktop, then text, sleeping notes last.
    static std::vector<Stickies::SearchItem> of(const std::vector<NoteSummary>& notes);
    // One line a note, in the items' order: id, desktop number or "snoozed
    // until " and its label, title, separated by tabs.
    static std::vector<std::string> listing(const std::vector<NoteSummary>& notes);
    // The notes as the folder and the state file have them, for a listing
    // made while the program is not running: desktops as recorded.
    static std::vector<NoteSummary> inFolder();
};

}
