#pragma once
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marrowleaf {

// What the store does to the disk.
class Files {
public:
    // What a call to the disk came to: done, or failed with the system's words for why.
    class Result {
    public:
        static Result done() { return Result(); }
        static Result failure(std::string reason) {
            Result result;
            result.why = std::move(reason);
            return result;
        }
        bool failed() const { return why.has_value(); }
        // Why it failed; empty when it was done.
        const std::string& reason() const {
            static const std::string none;
            return why ? *why : none;
        }

    private:
        std::optional<std::string> why;
    };

    virtual ~Files() = default;

    virtual Result createDirectories(const std::filesystem::path& folder) = 0;
    // The names of a folder's entries in the order the system lists them.
    virtual std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) = 0;
    virtual bool exists(const std::filesystem::path& path) = 0;
    // What a symbolic link says it points at; absent when the path is no link.
    virtual std::optional<std::filesystem::path> linkTarget(const std::filesystem::path& path) = 0;
    virtual Result read(const std::filesystem::path& file, std::string& bytes) = 0;
    // Readers see either the old or the new bytes, never a part: a temporary
    // file in the same folder is written, flushed to disk and renamed over.
    // When the file is a symbolic link, it is the file the link ends at that is
    // replaced, in its own folder; the link stays.
    // A write cut short (the program killed) leaves its temporary file behind.
    virtual Result writeAtomically(const std::filesystem::path& file, std::string_view bytes) = 0;
    // Fails, touching nothing, when `to` exists.
    virtual Result moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
    virtual Result remove(const std::filesystem::path& file) = 0;

    // Whether a folder entry is the temporary file of a `writeAtomically`:
    // "." + the file's name + ".tmp-" + six characters.
    static bool isTemporaryName(std::string_view name);
};

// The local disk, through POSIX calls.
class DiskFiles : public Files {
public:
    Result createDirectories(const std::filesystem::path& folder) override;
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override;
    bool exists(const std::filesystem::path& path) override;
    std::optional<std::filesystem::path> linkTarget(const std::filesystem::path& path) override;
    Result read(const std::filesystem::path& file, std::string& bytes) override;
    Result writeAtomically(const std::filesystem::path& file, std::string_view bytes) override;
    Result moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Result remove(const std::filesystem::path& file) override;
};

}
