#include "platform/fake/FakeNoteWindow.h"

#include <algorithm>
#include <sstream>

namespace marrowleaf {

std::string toString(WindowLevel level) {
    switch (level) {
    case WindowLevel::normal: return "normal";
    case WindowLevel::floating: return "floating";
    case WindowLevel::drag: return "drag";
    }
    return "level " + std::to_string(static_cast<int>(level));
}

FakeNoteWindow::FakeNoteWindow(Rect frame, WindowLevel level, WindowNumber number)
    : createdFrame(frame), createdLevel(level), current(frame), currentLevel(level), number(number) {}

void FakeNoteWindow::setFrame(Rect frame) {
    current = frame;
    frames.push_back(frame);
    calls.push_back("frame");
}

void FakeNoteWindow::orderFront() {
    orderedIn = true;
    calls.push_back("orderFront");
}

void FakeNoteWindow::orderOut() {
    orderedIn = false;
    calls.push_back("orderOut");
}

void FakeNoteWindow::setAlpha(double value) {
    alpha = value;
    alphas.push_back(value);
    std::ostringstream call;
    call << "alpha " << value;
    calls.push_back(call.str());
}

void FakeNoteWindow::setLevel(WindowLevel level) {
    currentLevel = level;
    levels.push_back(level);
    calls.push_back("level " + toString(level));
}

void FakeNoteWindow::focus() {
    orderedIn = true;
    ++focusCount;
    calls.push_back("focus");
}

void FakeNoteWindow::close() {
    orderedIn = false;
    ++closeCount;
    calls.push_back("close");
}

void FakeNoteWindow::loadPage(const std::string& html) { pages.push_back(html); }

void FakeNoteWindow::runScript(const std::string& script) { scripts.push_back(script); }

bool FakeNoteWindow::deliver(const nlohmann::json& body) {
    if (!messageHandler) return false;
    // A copy: the handler may replace itself while it runs.
    auto handler = messageHandler;
    handler(body);
    return true;
}

bool FakeNoteWindow::losePage() {
    if (!pageLostHandler) return false;
    auto handler = pageLostHandler;
    handler();
    return true;
}

// A fake window that leaves the factory's list of live windows when it goes,
// even when it outlives the factory.
class FakeNoteWindowFactory::Tracked : public FakeNoteWindow {
public:
    Tracked(Rect frame, WindowLevel level, WindowNumber number,
            const std::shared_ptr<std::vector<FakeNoteWindow*>>& live)
        : FakeNoteWindow(frame, level, number), live(live) {}
    ~Tracked() override {
        if (auto list = live.lock()) std::erase(*list, static_cast<FakeNoteWindow*>(this));
    }

private:
    std::weak_ptr<std::vector<FakeNoteWindow*>> live;
};

std::unique_ptr<NoteWindow> FakeNoteWindowFactory::create(Rect frame, WindowLevel level) {
    auto window = std::make_unique<Tracked>(frame, level, nextNumber++, live);
    live->push_back(window.get());
    return window;
}

std::vector<FakeNoteWindow*> FakeNoteWindowFactory::windows() const { return *live; }

FakeNoteWindow* FakeNoteWindowFactory::last() const { return live->empty() ? nullptr : live->back(); }

FakeNoteWindow* FakeNoteWindowFactory::window(WindowNumber number) const {
    auto found = std::find_if(live->begin(), live->end(),
                              [&](FakeNoteWindow* w) { return w->windowNumber() == number; });
    return found == live->end() ? nullptr : *found;
}

}
