#pragma once
#include "platform/Screens.h"
#include "platform/fake/FakeSignal.h"

namespace marrowleaf {

// Displays that the test lays out by hand. Nothing is attached until it does.
class FakeScreens : public Screens {
public:
    std::vector<Screen> all() const override {
        ++reads;
        return screens;
    }
    Point pointer() const override { return pointerAt; }
    std::optional<Screen> focused() const override { return focusedScreen; }
    std::unique_ptr<Subscription> watchChanges(Handler handler) override {
        return changes.subscribe(std::move(handler));
    }

    // A display with a UUID, a frame and, unless given, a visible frame that
    // leaves out a 25-point bar along the top.
    static Screen display(std::uint32_t id, std::string uuid, Rect frame, std::optional<Rect> visible = {});
    // Replaces the displays and tells the subscribers, as a re-plug would.
    void change(std::vector<Screen> now);
    std::size_t watcherCount() const { return changes.subscriberCount(); }

    std::vector<Screen> screens;   // the primary first
    Point pointerAt;
    std::optional<Screen> focusedScreen;
    mutable int reads = 0;   // calls of `all`

private:
    FakeSignal changes;
};

}
