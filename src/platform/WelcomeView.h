#pragma once
#include <functional>
#include <string>
#include <vector>

namespace marrowleaf {

// What the welcome window says, top to bottom.
struct WelcomeContent {
    struct KeyRow {
        std::string icon;          // a freedesktop icon name
        std::string keys;          // "Ctrl+Alt+N"
        std::string description;   // "new sticky at the mouse"
    };

    std::string title;                    // "Welcome to Marrowleaf"
    std::string headline;                 // "Optional: desktop features"
    std::vector<std::string> paragraphs;  // the explanation; **bold** marks bold text
    std::vector<KeyRow> keys;
    std::string footer;                   // "Free, always."
    std::string laterButton;              // the cancel button (Escape)
    std::string allowButton;              // the default button (Return)
};

// The window's buttons and its footer link.
struct WelcomeActions {
    std::function<void()> allow;
    std::function<void()> later;
    std::function<void()> footer;
};

// The welcome window: a small titled window, centred, in front with the
// keyboard. Closing it keeps it; showing it again brings the same one forward.
class WelcomeView {
public:
    virtual ~WelcomeView() = default;
    // Shows the window, or brings it forward when it is already open.
    virtual void show(const WelcomeContent& content, WelcomeActions actions) = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
};

}
