#include "platform/fake/FakeHudView.h"

namespace marrowleaf {

namespace {

class RecordingPill : public HudPill {
public:
    explicit RecordingPill(std::shared_ptr<FakeHudView::Pill> record) : record(std::move(record)) {}
    void fadeIn(double seconds) override {
        record->fadeInSeconds = seconds;
        record->shown = true;
    }
    void fadeOut(double seconds) override {
        record->fadeOutSeconds = seconds;
        record->shown = false;
        record->fadedOut = true;
    }
    void orderOut() override {
        if (!record->shown) return;
        record->shown = false;
        record->orderedOut = true;
    }

private:
    std::shared_ptr<FakeHudView::Pill> record;
};

}

std::unique_ptr<HudPill> FakeHudView::makePill(const std::string& text, Rect frame, Size padding) {
    auto record = std::make_shared<Pill>();
    record->text = text;
    record->frame = frame;
    record->padding = padding;
    pills.push_back(record);
    return std::make_unique<RecordingPill>(record);
}

const FakeHudView::Pill* FakeHudView::onScreen() const {
    for (auto& pill : pills) {
        if (pill->shown) return pill.get();
    }
    return nullptr;
}

}
