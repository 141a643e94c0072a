#include "storage/FileWatcher.h"

#include "platform/Clock.h"
#include "platform/FolderEvents.h"
#include "platform/Platform.h"
#include "shell/Log.h"

namespace marrowleaf {

namespace {
// Seconds since 1970 as doubles lose a few tenths of a microsecond; that much counts as on time.
constexpr double timeSlack = 1e-6;
}

FileWatcher::FileWatcher(const std::filesystem::path& folder, Handler handler) : handler(std::move(handler)) {
    std::string error;
    stream = Platform::folderEvents().watch(
        folder, [this](std::vector<std::string> paths) { receive(std::move(paths)); }, error);
    if (!stream) Log::error("can't watch " + folder.string() + ": " + error);
}

FileWatcher::~FileWatcher() {
    stream.reset();
    if (flushTimer) Platform::mainQueue().cancel(*flushTimer);
}

void FileWatcher::receive(std::vector<std::string> paths) {
    pending.insert(pending.end(), std::make_move_iterator(paths.begin()),
                   std::make_move_iterator(paths.end()));
    if (flushTimer) return;   // a batch is already on its way
    const double now = Platform::clock().now();
    const double sinceLast = lastDelivery ? now - *lastDelivery : latency;
    if (sinceLast >= latency - timeSlack || sinceLast < 0) {   // a clock set back counts as quiet
        deliver();
        return;
    }
    flushTimer = Platform::mainQueue().after(latency - sinceLast, [this] {
        flushTimer.reset();
        deliver();
    });
}

void FileWatcher::deliver() {
    if (pending.empty()) return;
    lastDelivery = Platform::clock().now();
    auto paths = std::move(pending);
    pending.clear();
    handler(paths);
}

}
