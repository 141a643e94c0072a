#pragma once
#include "platform/MainQueue.h"
#include "platform/WelcomeView.h"

#include <functional>
#include <memory>
#include <optional>

namespace marrowleaf {

// The desktop features (Alt-click on the desktop, box selection, dropping
// notes on the trash) need the desktop to let the program see its clicks: an
// X11 session with XInput 2.2 and the desktop tap running. Everything else
// works without them. Permissions checks at launch, shows a one-time welcome
// that explains what is missing, and polls until the features can start, so
// they come on without a restart.
class Permissions {
public:
    static Permissions& shared();

    Permissions();
    ~Permissions();
    Permissions(const Permissions&) = delete;
    Permissions& operator=(const Permissions&) = delete;

    // Starts the desktop tap when it can, else schedules the welcome (once per
    // user, ever) and polls.
    void start();
    // Shows the welcome window, or brings it forward when it is open.
    void showWelcome();
    // The welcome's "Learn More…": opens the page that explains the desktop
    // features and polls again.
    void openSettings();
    // (Re)starts the poll that notices when the desktop features can start.
    void waitForTrust();

    // Whether the desktop features run now.
    bool trusted() const { return isTrusted; }
    // Whether `start` has looked for them.
    bool started() const { return hasStarted; }
    bool polling() const { return poll.has_value(); }
    // Called when what `started` and `trusted` say changes, so what shows it can follow.
    void setChangeHandler(std::function<void()> handler);

    // What the welcome window says.
    static WelcomeContent welcomeContent();

    static constexpr const char* welcomeShownKey = "WelcomeShown";
    // Lets the launch work settle before the window shows.
    static constexpr double welcomeDelay = 0.8;
    static constexpr double pollInterval = 2.0;
    static constexpr const char* trustedMessage = "\u2705 Desktop features on";
    static constexpr double trustedMessageSeconds = 1.4;

private:
    bool isTrusted = false;
    bool hasStarted = false;
    std::optional<TimerId> poll;
    std::function<void()> changeHandler;
    // Timers and window actions do nothing once this object is gone.
    std::shared_ptr<Permissions*> self = std::make_shared<Permissions*>(this);

    static bool checkTrust();
    void tick();
    void trustArrived();
    void stopPolling();
    void changed();
    WelcomeActions welcomeActions();
    // `work` run on this object if it is still there.
    std::function<void()> weakly(std::function<void(Permissions&)> work);
};

}
