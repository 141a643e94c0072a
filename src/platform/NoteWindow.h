#pragma once
#include "geometry/Rect.h"
#include "platform/WindowServer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace marrowleaf {

// How high a note window stands among other windows.
enum class WindowLevel {
    normal = 0,     // an ordinary window
    floating = 3,   // kept above ordinary windows (a pinned note)
    drag = 21,      // above everything else of the desktop's, while the note is dragged
};

// One note window: a borderless, transparent top-level window filled by a web
// view that shows the note's page. The window keeps a transparent margin of 6
// points around the note; its frame includes that margin. It lives on one
// desktop, stays out of task bars and pagers, and takes keyboard focus when
// clicked although it has no title bar.
class NoteWindow {
public:
    // Receives every message the page posts to its "sticky" handler, as parsed
    // JSON of whatever shape the page sent.
    using MessageHandler = std::function<void(const nlohmann::json& body)>;
    using PageLostHandler = std::function<void()>;

    virtual ~NoteWindow() = default;

    // In global top-left points, margin included.
    virtual Rect frame() const = 0;
    virtual void setFrame(Rect frame) = 0;

    // Shows the window above the others of its level / hides it. Neither takes focus.
    virtual void orderFront() = 0;
    virtual void orderOut() = 0;
    // 0 makes the window invisible while it is still mapped; 1 is the normal look.
    virtual void setAlpha(double alpha) = 0;
    virtual WindowLevel level() const = 0;
    virtual void setLevel(WindowLevel level) = 0;
    // Activates the application, brings the window to the front with keyboard
    // focus and gives that focus to the page, so typing goes to the note.
    virtual void focus() = 0;
    // Hides the window for good. It is not destroyed: it stays valid until its
    // owner releases it.
    virtual void close() = 0;
    // The window server's number for the window; it exists from creation on.
    virtual WindowNumber windowNumber() const = 0;

    // Replaces the page with `html`; the page has no base address.
    virtual void loadPage(const std::string& html) = 0;
    // Runs a script in the page; its result and errors are ignored.
    virtual void runScript(const std::string& script) = 0;
    // Runs a script and hands its result, as JSON text, to `done` on the main
    // queue; nothing when the script failed or its result is not JSON.
    virtual void evaluate(const std::string& script, std::function<void(std::optional<std::string> json)> done) = 0;
    // Sets who hears the page's messages; an empty handler stops deliveries.
    virtual void setMessageHandler(MessageHandler handler) = 0;
    // Sets who is told when the page was lost (its renderer went away), so the
    // page can be loaded again; an empty handler stops the calls.
    virtual void setPageLostHandler(PageLostHandler handler) = 0;
};

// Makes note windows.
class NoteWindowFactory {
public:
    virtual ~NoteWindowFactory() = default;
    // A new note window at `frame`, hidden, at `level`, with an empty page.
    virtual std::unique_ptr<NoteWindow> create(Rect frame, WindowLevel level) = 0;
    // A new note window that holds `html`, loaded or loading. A factory that
    // keeps a window ready (`keepReady`) hands that one out when it holds the
    // very same page, so the page costs no load.
    virtual std::unique_ptr<NoteWindow> createWithPage(Rect frame, WindowLevel level, const std::string& html) {
        auto window = create(frame, level);
        window->loadPage(html);
        return window;
    }
    // From now on keeps one hidden window ready with `html` loaded, and makes
    // another after it is handed out. Messages its page posts before it is
    // handed out reach the handler set then.
    virtual void keepReady(const std::string& html) { (void)html; }
};

}
