#include "registry/Stickies.h"

#include "geometry/Geo.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "registry/Characters.h"
#include "registry/SearchItems.h"

#include <sstream>
#include <string_view>

namespace marrowleaf {

namespace {

constexpr std::size_t titleLength = 40;
// White space within a line; a carriage return of a Windows line end is no part of a title.
constexpr std::string_view whiteSpace = " \t\r\v\f";

std::string_view trimmed(std::string_view line) {
    const auto first = line.find_first_not_of(whiteSpace);
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(whiteSpace) - first + 1);
}

// Where the white space starting at `at` ends.
std::size_t pastSpace(std::string_view line, std::size_t at) {
    const auto end = line.find_first_not_of(whiteSpace, at);
    return end == std::string_view::npos ? line.size() : end;
}

bool isListMark(std::string_view line, std::size_t at) {
    return at < line.size() && (line[at] == '-' || line[at] == '*');
}

// The marks are read by hand, in one pass each: std::regex recurses once for
// every character of a run of spaces or marks, and a first line with tens of
// thousands of them ran it out of stack.

// "  ## Heading" → "Heading"
std::string_view withoutHeading(std::string_view line) {
    const std::size_t marks = pastSpace(line, 0);
    std::size_t at = marks;
    while (at < line.size() && line[at] == '#')
        ++at;
    return at == marks ? line : line.substr(pastSpace(line, at));
}

// "- [x] Task" → "Task": a box of one character, the mark and the box with or without space between.
std::string_view withoutTask(std::string_view line) {
    std::size_t at = pastSpace(line, 0);
    if (!isListMark(line, at)) return line;
    at = pastSpace(line, at + 1);
    constexpr std::size_t boxLength = 3;
    if (line.size() - at < boxLength || line[at] != '[' || line[at + 1] == '\r' || line[at + 2] != ']')
        return line;
    return line.substr(pastSpace(line, at + boxLength));
}

// "- Item" → "Item": a bullet is followed by white space.
std::string_view withoutBullet(std::string_view line) {
    const std::size_t at = pastSpace(line, 0);
    if (!isListMark(line, at)) return line;
    const std::size_t text = pastSpace(line, at + 1);
    return text == at + 1 ? line : line.substr(text);
}

}

std::string Stickies::title(const std::string& text) {
    // A line of marks alone ("# " as a heading is begun) names nothing.
    std::istringstream lines(text);
    std::string chosen;
    for (std::string line; chosen.empty() && std::getline(lines, line);)
        chosen = trimmed(withoutBullet(withoutTask(withoutHeading(line))));
    if (chosen.empty()) return "(empty)";

    const auto boundaries = Characters::boundaries(chosen);
    const std::size_t characters = boundaries.size() - 1;
    if (characters <= titleLength) return chosen;
    return chosen.substr(0, boundaries[titleLength - 1]) + "…";
}

std::vector<Stickies::SearchItem> Stickies::searchItems() {
    const Geo::Held screens;
    const double now = Platform::clock().now();
    std::vector<NoteSummary> notes;
    for (const auto& [id, controller] : open) {
        auto found = state.stickies.find(id);
        if (found == state.stickies.end()) continue;
        const Record& record = found->second;
        NoteSummary note{id, controller->content, std::nullopt, std::nullopt};
        if (now < record.snoozeUntil.value_or(0))
            note.sleepsUntil = record.snoozeLabel.value_or("later");
        else if (const auto where = resolve(record))
            note.desktop = where->desktop;
        notes.push_back(std::move(note));
    }
    return SearchItems::of(notes);
}

}
