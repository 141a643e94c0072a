#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marrowleaf {

// What the store does to the disk. Every failing call gives back the system's
// description of the error; success is an empty optional.
class Files {
public:
    using Error = std::optional<std::string>;
    virtual ~Files() = default;

    virtual Error createDirectories(const std::filesystem::path& folder) = 0;
    // The names of a folder's entries in the order the system lists them.
    virtual std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) = 0;
    virtual bool exists(const std::filesystem::path& path) = 0;
    virtual Error read(const std::filesystem::path& file, std::string& bytes) = 0;
    // Readers see either the old or the new bytes, never a part: a temporary
    // file in the same folder is written, flushed to disk and renamed over.
    // A write cut short (the program killed) leaves its temporary file behind.
    virtual Error writeAtomically(const std::filesystem::path& file, std::string_view bytes) = 0;
    // Fails, touching nothing, when `to` exists.
    virtual Error moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
    virtual Error remove(const std::filesystem::path& file) = 0;

    // Whether a folder entry is the temporary file of a `writeAtomically`:
    // "." + the file's name + ".tmp-" + six characters.
    static bool isTemporaryName(std::string_view name);
};

// The local disk, through POSIX calls.
class DiskFiles : public Files {
public:
    Error createDirectories(const std::filesystem::path& folder) override;
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override;
    bool exists(const std::filesystem::path& path) override;
    Error read(const std::filesystem::path& file, std::string& bytes) override;
    Error writeAtomically(const std::filesystem::path& file, std::string_view bytes) override;
    Error moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Error remove(const std::filesystem::path& file) override;
};

}
