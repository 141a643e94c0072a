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

    Result createDirectories(const std::filesystem::path& folder) override {
        return failCreate ? Result::failure(*failCreate) : disk.createDirectories(folder);
    }
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override {
        if (failList) return std::nullopt;
        return disk.list(folder);
    }
    bool exists(const std::filesystem::path& path) override { return disk.exists(path); }
    std::optional<std::filesystem::path> linkTarget(const std::filesystem::path& path) override {
        return disk.linkTarget(path);
    }
    Result read(const std::filesystem::path& file, std::string& bytes) override {
        return failRead ? Result::failure(*failRead) : disk.read(file, bytes);
    }
    Result writeAtomically(const std::filesystem::path& file, std::string_view bytes) override {
        ++writes;
        const bool inside = !failWriteOnlyIn || file.parent_path() == *failWriteOnlyIn;
        return failWrite && inside ? Result::failure(*failWrite) : disk.writeAtomically(file, bytes);
    }
    Result moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override {
        return failMove ? Result::failure(*failMove) : disk.moveWithoutReplacing(from, to);
    }
    Result remove(const std::filesystem::path& file) override {
        return failRemove ? Result::failure(*failRemove) : disk.remove(file);
    }

private:
    DiskFiles disk;
};

}
