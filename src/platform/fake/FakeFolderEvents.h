#pragma once
#include "platform/FolderEvents.h"

#include <map>
#include <optional>

namespace marrowleaf {

// Folder events that the test emits by hand with `emit`.
class FakeFolderEvents : public FolderEvents {
public:
    std::unique_ptr<FolderWatch> watch(const std::filesystem::path& folder, Handler handler,
                                       std::string& error) override;

    // Delivers paths to every live watch of `folder`, as the system would.
    void emit(const std::filesystem::path& folder, std::vector<std::string> paths);
    std::size_t watchCount() const { return handlers.size(); }

    // When set, watching fails with this error.
    std::optional<std::string> failWith;

private:
    class Watch;
    std::map<int, std::pair<std::filesystem::path, Handler>> handlers;
    int nextId = 1;
};

}
