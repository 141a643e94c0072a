#include "platform/linux/InotifyFolderEvents.h"

#include <glib-unix.h>
#include <glib.h>

#include <cerrno>
#include <cstring>
#include <sys/inotify.h>
#include <unistd.h>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t entryEvents =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_ATTRIB;
constexpr std::uint32_t folderEvents = IN_DELETE_SELF | IN_MOVE_SELF;
// Room for many events per read; each is a header and a name of at most NAME_MAX bytes.
constexpr std::size_t readBufferSize = 64 * 1024;

class InotifyWatch : public FolderWatch {
public:
    InotifyWatch(fs::path folder, FolderEvents::Handler handler, int fd)
        : folder(std::move(folder)), handler(std::move(handler)), fd(fd) {
        source = g_unix_fd_source_new(fd, static_cast<GIOCondition>(G_IO_IN | G_IO_ERR | G_IO_HUP));
        GUnixFDSourceFunc callback = [](gint, GIOCondition condition, gpointer self) {
            return static_cast<InotifyWatch*>(self)->readable(condition);
        };
        g_source_set_callback(source, G_SOURCE_FUNC(callback), this, nullptr);
        GMainContext* context = g_main_context_ref_thread_default();
        g_source_attach(source, context);
        g_main_context_unref(context);
    }

    ~InotifyWatch() override {
        g_source_destroy(source);
        g_source_unref(source);
        close(fd);
    }

    InotifyWatch(const InotifyWatch&) = delete;
    InotifyWatch& operator=(const InotifyWatch&) = delete;

private:
    fs::path folder;
    FolderEvents::Handler handler;
    int fd;
    GSource* source = nullptr;

    gboolean readable(GIOCondition condition) {
        std::vector<std::string> paths = drain();
        const bool broken = (condition & (G_IO_ERR | G_IO_HUP)) != 0;
        if (!paths.empty()) {
            // The handler may destroy this watch; run a copy and touch nothing afterwards.
            FolderEvents::Handler deliver = handler;
            deliver(std::move(paths));
        }
        return broken ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
    }

    std::vector<std::string> drain() {
        std::vector<std::string> paths;
        alignas(inotify_event) char buffer[readBufferSize];
        for (;;) {
            const ssize_t length = read(fd, buffer, sizeof buffer);
            if (length <= 0) break;   // EAGAIN: everything queued has been read
            for (ssize_t offset = 0; offset < length;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + offset);
                append(*event, paths);
                offset += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        return paths;
    }

    void append(const inotify_event& event, std::vector<std::string>& paths) const {
        if (event.len > 0 && event.name[0] != '\0') {
            paths.push_back((folder / event.name).string());
        } else if (event.mask & (folderEvents | IN_Q_OVERFLOW)) {
            paths.push_back(folder.string());
        }
        // IN_IGNORED (the watch ended with its folder) carries nothing new.
    }
};

}

std::unique_ptr<FolderWatch> InotifyFolderEvents::watch(const fs::path& folder, Handler handler,
                                                        std::string& error) {
    const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0) {
        error = std::strerror(errno);
        return nullptr;
    }
    if (inotify_add_watch(fd, folder.c_str(), entryEvents | folderEvents | IN_ONLYDIR) < 0) {
        error = std::strerror(errno);
        close(fd);
        return nullptr;
    }
    return std::make_unique<InotifyWatch>(folder, std::move(handler), fd);
}

}
