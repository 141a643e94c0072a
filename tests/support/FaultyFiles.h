#pragma once
#include "storage/Files.h"

#include <functional>

namespace marrowleaf::support {

// The local disk, except that chosen operations fail with a chosen error, the
// way a full, read-only or unreadable disk would answer.
class FaultyFiles : public Files {
public:
    std::optional<std::string> failCreate, failList, failRead, failWrite, failMove, failRemove;
    // When set, writes fail only inside this folder (a read-only notes folder on a working disk).
    std::optional<std::filesystem::path> failWriteOnlyIn;
    int writes = 0;

    Error createDirectories(const std::filesystem::path& folder) override {
        return failCreate ? failCreate : disk.createDirectories(folder);
    }
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override {
        if (failList) return std::nullopt;
        return disk.list(folder);
    }
    bool exists(const std::filesystem::path& path) override { return disk.exists(path); }
    Error read(const std::filesystem::path& file, std::string& bytes) override {
        return failRead ? failRead : disk.read(file, bytes);
    }
    Error writeAtomically(const std::filesystem::path& file, std::string_view bytes) override {
        ++writes;
        const bool inside = !failWriteOnlyIn || file.parent_path() == *failWriteOnlyIn;
        return failWrite && inside ? failWrite : disk.writeAtomically(file, bytes);
    }
    Error moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return failMove ? failMove : disk.moveWithoutReplacing(from, to);
    }
    Error remove(const std::filesystem::path& file) override {
        return failRemove ? failRemove : disk.remove(file);
    }

private:
    DiskFiles disk;
};

}
