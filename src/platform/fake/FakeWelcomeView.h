#pragma once
#include "platform/WelcomeView.h"

namespace marrowleaf {

// Remembers what the welcome window would show and lets the test press its buttons.
class FakeWelcomeView : public WelcomeView {
public:
    void show(const WelcomeContent& shownContent, WelcomeActions shownActions) override {
        ++shows;
        if (!open) ++windowsMade;
        open = true;
        content = shownContent;
        actions = std::move(shownActions);
    }
    void close() override { open = false; }
    bool isOpen() const override { return open; }

    void pressAllow() { if (actions.allow) actions.allow(); }
    void pressLater() { if (actions.later) actions.later(); }
    void pressFooter() { if (actions.footer) actions.footer(); }

    bool open = false;
    int shows = 0;
    int windowsMade = 0;
    WelcomeContent content;
    WelcomeActions actions;
};

}
