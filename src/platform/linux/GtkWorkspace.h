#pragma once
#include "platform/Workspace.h"

struct ca_context;

namespace marrowleaf {

// Other applications through the desktop's default handlers.
class GtkWorkspace : public Workspace {
public:
    bool openURL(const std::string& url) override;
    bool openFolder(const std::filesystem::path& folder) override;
    void activate() override;
    // logind's PrepareForSleep(false) on the system bus; nothing without one.
    std::unique_ptr<Subscription> watchWake(std::function<void()> handler) override;
};

// The CLIPBOARD selection, as plain text.
class GtkPasteboard : public Pasteboard {
public:
    void setText(const std::string& text) override;
    void requestText(TextHandler handler) override;
};

// Event sounds of the freedesktop sound theme.
class CanberraSounds : public Sounds {
public:
    CanberraSounds();
    ~CanberraSounds() override;
    CanberraSounds(const CanberraSounds&) = delete;
    CanberraSounds& operator=(const CanberraSounds&) = delete;
    void playTrash() override;

private:
    ca_context* context = nullptr;
};

}
