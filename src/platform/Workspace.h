#pragma once
#include "platform/Subscription.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace marrowleaf {

// The rest of the desktop: other applications and the clipboard.
class Workspace {
public:
    virtual ~Workspace() = default;
    // Opens the address with the user's default handler (a browser for web
    // links). False when the text is not an address or nothing could open it.
    virtual bool openURL(const std::string& url) = 0;
    virtual bool openFolder(const std::filesystem::path& folder) = 0;
    // Brings the application forward so its window can take keyboard focus.
    virtual void activate() = 0;
    // Calls `handler` when the machine wakes from sleep.
    virtual std::unique_ptr<Subscription> watchWake(std::function<void()> handler) = 0;
};

// The clipboard, as plain text.
class Pasteboard {
public:
    using TextHandler = std::function<void(std::optional<std::string> text)>;
    virtual ~Pasteboard() = default;
    virtual void setText(const std::string& text) = 0;
    // Reads the clipboard's text; the answer may come later, on the main queue.
    virtual void requestText(TextHandler handler) = 0;
};

// The desktop's event sounds.
class Sounds {
public:
    virtual ~Sounds() = default;
    // The sound of notes dropped on the trash.
    virtual void playTrash() = 0;
};

}
