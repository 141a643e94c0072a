#pragma once
#include "platform/Workspace.h"
#include "platform/fake/FakeSignal.h"

#include <vector>

namespace marrowleaf {

// Records what would have been opened; anything with a scheme opens.
class FakeWorkspace : public Workspace {
public:
    bool openURL(const std::string& url) override {
        if (url.find(':') == std::string::npos) return false;
        opened.push_back(url);
        return true;
    }
    bool openFolder(const std::filesystem::path& folder) override {
        opened.push_back(folder.string());
        return true;
    }
    void activate() override { ++activations; }
    std::unique_ptr<Subscription> watchWake(std::function<void()> handler) override {
        return wake.subscribe(std::move(handler));
    }

    std::vector<std::string> opened;
    int activations = 0;
    // Emit to play the machine waking from sleep.
    FakeSignal wake;
};

// A clipboard in memory that answers at once.
class FakePasteboard : public Pasteboard {
public:
    void setText(const std::string& value) override { text = value; }
    void requestText(TextHandler handler) override { handler(text); }

    std::optional<std::string> text;
};

class FakeSounds : public Sounds {
public:
    void playTrash() override { ++trashPlayed; }
    int trashPlayed = 0;
};

}
