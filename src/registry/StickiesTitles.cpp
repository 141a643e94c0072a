#include "registry/Stickies.h"

#include <regex>
#include <sstream>
#include <utf8proc.h>

namespace marrowleaf {

namespace {

constexpr std::size_t titleLength = 40;

std::string trimmed(const std::string& line) {
    const auto first = line.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return line.substr(first, line.find_last_not_of(" \t") - first + 1);
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
    std::istringstream lines(text);
    std::string chosen;
    for (std::string line; std::getline(lines, line);) {
        if (!trimmed(line).empty()) {
            chosen = line;
            break;
        }
    }
    if (chosen.empty()) return "(empty)";

    static const std::regex heading(R"(^\s*#+\s*)");
    static const std::regex task(R"(^\s*[-*]\s*\[.\]\s*)");
    static const std::regex bullet(R"(^\s*[-*]\s+)");
    for (const auto* mark : {&heading, &task, &bullet})
        chosen = std::regex_replace(chosen, *mark, "");

    const auto boundaries = characterBoundaries(chosen);
    const std::size_t characters = boundaries.size() - 1;
    if (characters <= titleLength) return chosen;
    return chosen.substr(0, boundaries[titleLength - 1]) + "…";
}

}
