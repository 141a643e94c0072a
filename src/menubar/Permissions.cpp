#include "menubar/Permissions.h"

#include "input/DesktopMouse.h"
#include "input/HUD.h"
#include "input/Hotkeys.h"
#include "menubar/StatusMenu.h"
#include "platform/Accessibility.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "shell/Config.h"

#include <utility>

namespace marrowleaf {

namespace {

// On time: features that arrive come on within one interval.
constexpr double pollTolerance = 0;

std::string hotkey(char key) { return std::string("Ctrl+Alt+") + key; }

std::vector<std::string> explanation(const std::string& appName) {
    return {
        "To Alt-click the desktop for a new sticky, drag a box to select stickies, and drop stickies on the "
        "trash, " + appName + " needs an **X11 session**. It only looks at mouse clicks on the desktop and "
        "never reads what you type.",
        "Choose an **X11 session** at the login screen to turn them on. Meanwhile your desktop's keyboard "
        "settings can bind marrowleaf --new, --toggle and --search to keys.",
    };
}

}

Permissions& Permissions::shared() {
    static Permissions* instance = new Permissions();   // lives for the process
    return *instance;
}

Permissions::Permissions() = default;

Permissions::~Permissions() { *self = nullptr; }

void Permissions::setChangeHandler(std::function<void()> handler) { changeHandler = std::move(handler); }

void Permissions::start() {
    hasStarted = true;
    isTrusted = checkTrust();
    changed();
    if (isTrusted) return;
    Defaults& defaults = Platform::defaults();
    if (!defaults.flag(welcomeShownKey).value_or(false)) {
        defaults.setFlag(welcomeShownKey, true);
        Platform::mainQueue().after(welcomeDelay, weakly([](Permissions& p) { p.showWelcome(); }));
    }
    // Features that become possible later come on as soon as they can.
    waitForTrust();
}

void Permissions::showWelcome() {
    Platform::workspace().activate();
    Platform::welcomeView().show(welcomeContent(), welcomeActions());
}

void Permissions::openSettings() {
    Platform::workspace().openURL(Config::desktopFeaturesURL());
    waitForTrust();
}

void Permissions::waitForTrust() {
    stopPolling();
    poll = Platform::mainQueue().every(pollInterval, pollTolerance, weakly([](Permissions& p) { p.tick(); }));
}

// The desktop may allow the clicks and still refuse the tap (another program
// holds the Alt-click); the features count as on only once the tap runs.
bool Permissions::checkTrust() {
    return Platform::accessibility().trusted() && DesktopMouse::shared().start();
}

void Permissions::tick() {
    if (isTrusted || !checkTrust()) return;
    trustArrived();
}

void Permissions::trustArrived() {
    stopPolling();
    isTrusted = true;
    WelcomeView& welcome = Platform::welcomeView();
    if (welcome.isOpen()) welcome.close();
    HUD::show(trustedMessage, trustedMessageSeconds);
    changed();
}

void Permissions::changed() {
    if (changeHandler) changeHandler();
}

void Permissions::stopPolling() {
    if (poll) Platform::mainQueue().cancel(*poll);
    poll.reset();
}

WelcomeContent Permissions::welcomeContent() {
    WelcomeContent content;
    content.title = "Welcome to " + Config::appName();
    content.headline = "Optional: desktop features";
    content.paragraphs = explanation(Config::appName());
    content.keys = {
        {"list-add-symbolic", hotkey(Hotkeys::newStickyKey), "new sticky at the mouse"},
        {"view-conceal-symbolic", hotkey(Hotkeys::toggleKey), "hide / show stickies on this desktop"},
        {"system-search-symbolic", hotkey(Hotkeys::searchKey), "search all stickies"},
    };
    content.footer = "Free, always.";
    content.laterButton = "Later";
    content.allowButton = "Learn More\u2026";
    return content;
}

WelcomeActions Permissions::welcomeActions() {
    WelcomeActions actions;
    actions.allow = weakly([](Permissions& p) { p.openSettings(); });
    actions.later = [] { Platform::welcomeView().close(); };
    actions.footer = [] { StatusMenu::leaveTip(); };
    return actions;
}

std::function<void()> Permissions::weakly(std::function<void(Permissions&)> work) {
    return [weak = std::weak_ptr<Permissions*>(self), work = std::move(work)] {
        auto alive = weak.lock();
        if (alive && *alive) work(**alive);
    };
}

}
