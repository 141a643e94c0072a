#include "registry/ConflictCopies.h"

#include <regex>

namespace marrowleaf {

namespace {

// Each form keeps the original's name in its first group. The date, time and
// device parts are exact, so a name that merely mentions a conflict is left alone.
const std::regex& conflictNames() {
    static const std::regex names(R"((.+)\.sync-conflict-\d{8}-\d{6}-[A-Z0-9]{7})"
                                  R"(|(.+) \((?:[^()]+'s )?conflicted copy \d{4}-\d{2}-\d{2}(?: \d{6})?\))"
                                  R"(|(.+) \(Case Conflict(?: \d+)?\))");
    return names;
}

}

std::optional<std::string> ConflictCopies::originalOf(const std::string& id) {
    std::smatch match;
    if (!std::regex_match(id, match, conflictNames())) return std::nullopt;
    for (std::size_t group = 1; group < match.size(); ++group)
        if (match[group].matched) return match[group].str();
    return std::nullopt;
}

}
