#pragma once
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace marrowleaf {

// A running watch over one folder; destroying it stops the watch.
class FolderWatch {
public:
    virtual ~FolderWatch() = default;
};

// Reports every change of an entry of one folder (not recursive) as the
// entry's full path, as soon as the system tells. Coalescing is the caller's.
class FolderEvents {
public:
    using Handler = std::function<void(std::vector<std::string> paths)>;
    virtual ~FolderEvents() = default;

    // Null when the folder cannot be watched; `error` then says why.
    virtual std::unique_ptr<FolderWatch> watch(const std::filesystem::path& folder, Handler handler,
                                               std::string& error) = 0;
};

}
