#pragma once
#include "platform/FolderEvents.h"

namespace marrowleaf {

// Folder events from inotify, read on the GLib main loop of the calling
// thread. Every batch the kernel hands over is delivered at once, as full
// paths in the kernel's order; events about the folder itself (deleted,
// moved away, or the kernel's queue overflowing) are reported as the folder's
// own path, which tells the caller to look at everything again.
class InotifyFolderEvents : public FolderEvents {
public:
    std::unique_ptr<FolderWatch> watch(const std::filesystem::path& folder, Handler handler,
                                       std::string& error) override;
};

}
