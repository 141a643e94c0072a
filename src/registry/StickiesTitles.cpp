#include "registry/Stickies.h"

#include "platform/Clock.h"
#include "platform/Platform.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <utf8proc.h>

namespace marrowleaf {

namespace {

constexpr std::size_t titleLength = 40;
// How much of a note's text a search item shows.
constexpr std::size_t detailTextLength = 120;
constexpr const char* detailSeparator = "  ·  ";
// The white space the marks' patterns know as \s, so a line the patterns empty
// is blank, and a carriage return of a Windows line end is no part of a title.
constexpr const char* whiteSpace = " \t\r\v\f";

std::string trimmed(const std::string& line) {
    const auto first = line.find_first_not_of(whiteSpace);
    if (first == std::string::npos) return "";
    return line.substr(first, line.find_last_not_of(whiteSpace) - first + 1);
}

// Byte offsets where each user-perceived character starts, plus the end.
std::vector<std::size_t> characterBoundaries(const std::string& text) {
    std::vector<std::size_t> starts;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    utf8proc_ssize_t at = 0;
    const auto size = static_cast<utf8proc_ssize_t>(text.size());
    utf8proc_int32_t previous = -1;
    utf8proc_int32_t state = 0;
    while (at < size) {
        utf8proc_int32_t codepoint;
        utf8proc_ssize_t used = utf8proc_iterate(bytes + at, size - at, &codepoint);
        if (used <= 0) {   // not UTF-8: count the byte on its own
            used = 1;
            codepoint = -1;
        }
        if (previous < 0 || codepoint < 0 || utf8proc_grapheme_break_stateful(previous, codepoint, &state))
            starts.push_back(static_cast<std::size_t>(at));
        previous = codepoint;
        at += used;
    }
    starts.push_back(text.size());
    return starts;
}

}

std::string Stickies::title(const std::string& text) {
    static const std::regex heading(R"(^\s*#+\s*)");
    static const std::regex task(R"(^\s*[-*]\s*\[.\]\s*)");
    static const std::regex bullet(R"(^\s*[-*]\s+)");

    // A line of marks alone ("# " as a heading is begun) names nothing.
    std::istringstream lines(text);
    std::string chosen;
    for (std::string line; chosen.empty() && std::getline(lines, line);) {
        for (const auto* mark : {&heading, &task, &bullet})
            line = std::regex_replace(line, *mark, "");
        chosen = trimmed(line);
    }
    if (chosen.empty()) return "(empty)";

    const auto boundaries = characterBoundaries(chosen);
    const std::size_t characters = boundaries.size() - 1;
    if (characters <= titleLength) return chosen;
    return chosen.substr(0, boundaries[titleLength - 1]) + "…";
}

namespace {

// The first `count` user-perceived characters of `text`.
std::string firstCharacters(const std::string& text, std::size_t count) {
    const auto boundaries = characterBoundaries(text);
    if (boundaries.size() - 1 <= count) return text;
    return text.substr(0, boundaries[count]);
}

}

std::vector<Stickies::SearchItem> Stickies::searchItems() {
    static const std::regex whiteSpace(R"(\s+)");
    const double now = Platform::clock().now();
    std::vector<SearchItem> items;
    for (const auto& [id, controller] : open) {
        auto found = state.stickies.find(id);
        if (found == state.stickies.end()) continue;
        const Record& record = found->second;
        SearchItem item;
        item.id = id;
        item.title = title(controller->content);
        item.snoozed = now < record.snoozeUntil.value_or(0);
        std::string place;
        if (item.snoozed) {
            place = "😴 until " + record.snoozeLabel.value_or("later");
        } else if (const auto where = resolve(record)) {
            place = "Desktop " + std::to_string(where->desktop);
        }
        const std::string text = std::regex_replace(controller->content, whiteSpace, " ");
        item.detail = place + detailSeparator + firstCharacters(text, detailTextLength);
        items.push_back(std::move(item));
    }
    // By detail alone, byte for byte (so by code point): notes group by the
    // desktop number as text, and sleeping notes come last.
    std::ranges::stable_sort(items, {}, &SearchItem::detail);
    return items;
}

}
