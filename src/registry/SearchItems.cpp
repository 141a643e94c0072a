#include "registry/SearchItems.h"

#include "platform/Clock.h"
#include "platform/Platform.h"
#include "registry/Characters.h"
#include "storage/Store.h"

#include <algorithm>
#include <cctype>

namespace marrowleaf {

namespace {

// How much of a note's text a search item shows.
constexpr std::size_t detailTextLength = 120;
constexpr const char* detailSeparator = "  ·  ";

std::string placeOf(const NoteSummary& note) {
    if (note.sleepsUntil) return "😴 until " + *note.sleepsUntil;
    return note.desktop ? "Desktop " + std::to_string(*note.desktop) : "";
}

// Every run of white space as one space. By hand: std::regex recurses once
// for each character of a run and a long run would exhaust the stack.
std::string oneLine(const std::string& text) {
    std::string line;
    line.reserve(text.size());
    bool inSpace = false;
    for (char c : text) {
        const bool space = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (space && inSpace) continue;
        line += space ? ' ' : c;
        inSpace = space;
    }
    return line;
}

Stickies::SearchItem itemOf(const NoteSummary& note) {
    return {note.id, Stickies::title(note.text),
            placeOf(note) + detailSeparator + Characters::first(oneLine(note.text), detailTextLength),
            note.sleepsUntil.has_value()};
}

// The notes in their items' order: by detail alone, byte for byte (so by code
// point), so notes group by the desktop number as text and sleepers come last.
std::vector<std::pair<Stickies::SearchItem, const NoteSummary*>>
sorted(const std::vector<NoteSummary>& notes) {
    std::vector<std::pair<Stickies::SearchItem, const NoteSummary*>> items;
    for (const auto& note : notes)
        items.emplace_back(itemOf(note), &note);
    std::ranges::stable_sort(items, {},
                             [](const auto& item) -> const std::string& { return item.first.detail; });
    return items;
}

}

std::vector<Stickies::SearchItem> SearchItems::of(const std::vector<NoteSummary>& notes) {
    std::vector<Stickies::SearchItem> items;
    for (auto& [item, note] : sorted(notes))
        items.push_back(std::move(item));
    return items;
}

std::vector<std::string> SearchItems::listing(const std::vector<NoteSummary>& notes) {
    std::vector<std::string> lines;
    for (const auto& [item, note] : sorted(notes)) {
        const std::string place = note->sleepsUntil ? "snoozed until " + *note->sleepsUntil
                                  : note->desktop   ? std::to_string(*note->desktop)
                                                    : "";
        lines.push_back(item.id + "\t" + place + "\t" + item.title);
    }
    return lines;
}

std::vector<NoteSummary> SearchItems::inFolder() {
    const AppState state = Store::loadState();
    const double now = Platform::clock().now();
    std::vector<NoteSummary> notes;
    for (const auto& id : Store::noteIds()) {
        auto text = Store::read(id);
        if (!text) continue;
        NoteSummary note{id, *text, std::nullopt, std::nullopt};
        auto found = state.stickies.find(id);
        if (found == state.stickies.end()) {
            notes.push_back(std::move(note));   // a new file, not placed yet
            continue;
        }
        const Record& record = found->second;
        if (now < record.snoozeUntil.value_or(0))
            note.sleepsUntil = record.snoozeLabel.value_or("later");
        else
            note.desktop = std::max<std::int64_t>(record.desktop, 1);
        notes.push_back(std::move(note));
    }
    return notes;
}

}
