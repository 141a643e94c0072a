#pragma once
#include "platform/MouseTap.h"

#include <optional>
#include <vector>

namespace marrowleaf {

// A desktop whose left-button events the test makes up. Startable unless
// `refuse` is set; every start asked for is counted.
class FakeMouseTap : public MouseTap {
public:
    bool start(Handler handler) override {
        ++startsAsked;
        if (watching) return true;
        if (refuse) return false;
        watching = std::move(handler);
        return true;
    }
    bool started() const override { return static_cast<bool>(watching); }

    // An event as the desktop reports it; what the watcher answered, or pass
    // when nothing watches.
    MouseAnswer deliver(const MouseEvent& event) { return watching ? watching(event) : MouseAnswer::pass; }

    bool refuse = false;
    int startsAsked = 0;

private:
    Handler watching;
};

// Left-button events of the program's own windows, made up by the test.
class FakeAppMouseMonitor : public AppMouseMonitor {
public:
    void start(Handler handler) override { watching = std::move(handler); }
    bool started() const { return static_cast<bool>(watching); }
    MouseAnswer deliver(const MouseEvent& event) { return watching ? watching(event) : MouseAnswer::pass; }

private:
    Handler watching;
};

// Remembers where the trash target was shown and whether it is lit.
class FakeTrashTargetView : public TrashTargetView {
public:
    void show(Rect frame) override {
        shown = frame;
        lit = false;
        shows.push_back(frame);
    }
    void setLit(bool on) override {
        lit = on;
        litChanges.push_back(on);
    }
    void hide() override { shown.reset(); }

    std::optional<Rect> shown;
    bool lit = false;
    std::vector<Rect> shows;
    std::vector<bool> litChanges;
};

// Remembers every box the rubber band was shown over, and where it is now.
class FakeSelectionBoxView : public SelectionBoxView {
public:
    void show(Rect box) override {
        shown = box;
        shows.push_back(box);
    }
    void hide() override {
        shown.reset();
        ++hides;
    }

    std::optional<Rect> shown;
    std::vector<Rect> shows;
    int hides = 0;
};

}
