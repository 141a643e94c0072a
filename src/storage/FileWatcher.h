#pragma once
#include "platform/MainQueue.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

class FolderWatch;

// Tells its handler which paths of one folder changed. The first change after
// a quiet period is delivered at once; changes that follow are gathered and
// delivered together, at most once every `latency` seconds.
class FileWatcher {
public:
    using Handler = std::function<void(const std::vector<std::string>& paths)>;
    static constexpr double latency = 0.3;

    FileWatcher(const std::filesystem::path& folder, Handler handler);
    ~FileWatcher();
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

    bool watching() const { return stream != nullptr; }

private:
    Handler handler;
    std::unique_ptr<FolderWatch> stream;
    std::vector<std::string> pending;
    std::optional<double> lastDelivery;
    std::optional<TimerId> flushTimer;

    void receive(std::vector<std::string> paths);
    void deliver();
};

}
