#pragma once
#include <optional>
#include <string>

namespace marrowleaf {

// Sync tools that meet two versions of one file keep both: the second is
// written beside the first under a name that says so. This recognises such
// names, so a copy can be shown beside the note it conflicts with.
struct ConflictCopies {
    // The id of the note that `id` is a conflicting copy of, when `id` is
    // named as one: "Note.sync-conflict-20261122-101010-ABCDEFG",
    // "Note (conflicted copy 2026-11-22)", "Note (Ann's conflicted copy
    // 2026-11-22 101010)", "Note (Case Conflict)", "Note (Case Conflict 2)".
    static std::optional<std::string> originalOf(const std::string& id);

    // How far a copy is set down and right of its original, in points.
    static constexpr double offset = 24;
};

}
