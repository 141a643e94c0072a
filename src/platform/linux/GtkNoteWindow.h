#pragma once
#include "platform/NoteWindow.h"
#include "platform/linux/GObjectPtr.h"
#include "platform/linux/GtkMarkdownPage.h"

#include <deque>
#include <memory>
#include <set>
#include <string>
#include <vector>

typedef struct _GtkWidget GtkWidget;
typedef struct _GtkApplication GtkApplication;
typedef struct _WebKitWebView WebKitWebView;
typedef struct _WebKitWebContext WebKitWebContext;
typedef struct _WebKitSettings WebKitSettings;
typedef struct _WebKitUserContentManager WebKitUserContentManager;
typedef struct _WebKitJavascriptResult WebKitJavascriptResult;
typedef struct _WebKitScriptMessageReply WebKitScriptMessageReply;
typedef struct _JSCValue JSCValue;

namespace marrowleaf {

class GtkNoteWindowFactory;

// A note window on X11: an undecorated GTK window with an alpha channel, out
// of task bars and pagers, holding a WebKitGTK view whose page background is
// transparent. On a screen without a compositing manager the window is shaped
// to the note's rounded body, so its transparent margin never shows black.
class GtkNoteWindow : public NoteWindow {
public:
    GtkNoteWindow(GtkNoteWindowFactory& factory, Rect frame, WindowLevel level);
    ~GtkNoteWindow() override;
    GtkNoteWindow(const GtkNoteWindow&) = delete;
    GtkNoteWindow& operator=(const GtkNoteWindow&) = delete;

    Rect frame() const override;
    void setFrame(Rect frame) override;
    void orderFront() override;
    void orderOut() override;
    void setAlpha(double alpha) override;
    WindowLevel level() const override { return currentLevel; }
    void setLevel(WindowLevel level) override;
    void focus() override;
    void close() override;
    WindowNumber windowNumber() const override;
    void loadPage(const std::string& html) override;
    void runScript(const std::string& script) override;
    void evaluate(const std::string& script, std::function<void(std::optional<std::string>)> done) override;
    void setMessageHandler(MessageHandler handler) override;
    void setPageLostHandler(PageLostHandler handler) override { pageLostHandler = std::move(handler); }

    // Whether the page has finished loading since the last `loadPage`.
    bool pageLoaded() const { return loaded; }
    // The web view, for tests that drive the page directly.
    WebKitWebView* webView() const { return view; }

private:
    friend class GtkNoteWindowFactory;

    GtkNoteWindowFactory& factory;
    GtkWidget* window = nullptr;
    WebKitWebView* view = nullptr;
    GObjectPtr<WebKitUserContentManager> contentManager;
    WindowLevel currentLevel;
    // The frame as last asked for or last reported by the window manager.
    Rect current;
    // Frames asked for that the window has not reached yet; until it has, the
    // window manager's reports describe older requests.
    struct Request {
        Rect frame;
        long long at;   // monotonic microseconds
    };
    std::deque<Request> requested;
    bool loaded = false;
    bool awaitingMap = false;
    bool shapedForNoCompositor = false;
    unsigned long compositedChangedId = 0;
    MessageHandler messageHandler;
    PageLostHandler pageLostHandler;
    // Messages a page posted before anyone listened (a window made ready in advance).
    std::vector<nlohmann::json> unheard;
    bool everHeard = false;

    void makeWindow(Rect frame);
    void makeView();
    void applyLevel();
    void updateShape();
    void configured();
    Rect actualFrame() const;
    void messageArrived(const char* jsonText);
    void pageLost();

    void connectPageSignals();
    void scriptMessage(WebKitJavascriptResult* result);
    void markdownRequest(JSCValue* value, WebKitScriptMessageReply* reply);
};

// Makes note windows whose pages all share one web process: every view is
// related to one hidden view that never shows a page. When that process
// ends, every note's page is loaded again within a second and the event is
// logged. GTK must be initialised before the factory is made.
class GtkNoteWindowFactory : public NoteWindowFactory {
public:
    GtkNoteWindowFactory();
    ~GtkNoteWindowFactory() override;
    GtkNoteWindowFactory(const GtkNoteWindowFactory&) = delete;
    GtkNoteWindowFactory& operator=(const GtkNoteWindowFactory&) = delete;

    std::unique_ptr<NoteWindow> create(Rect frame, WindowLevel level) override;
    std::unique_ptr<NoteWindow> createWithPage(Rect frame, WindowLevel level,
                                               const std::string& html) override;
    // The ready window is made a while after it is asked for or handed out:
    // after the new note has the keyboard (about 0.17 s after the key), so its
    // load never delays that, and soon enough to be loaded (0.2–0.4 s while
    // hidden, with 50 notes) by the next one.
    void keepReady(const std::string& html) override;
    static constexpr unsigned readyDelayMs = 250;
    // Windows made from now on belong to `application` and answer its keys.
    void setApplication(GtkApplication* app) { application = app; }
    // The built Markdown page (Resources/markdown.html) that renders every
    // note's text; until it is given, notes show their text as it is.
    void setMarkdownPage(std::string html) { markdown->load(std::move(html)); }

    // How long after the web process ended the pages are loaded again.
    static constexpr unsigned reloadDelayMs = 250;

private:
    friend class GtkNoteWindow;

    GObjectPtr<WebKitWebContext> context;
    GObjectPtr<WebKitSettings> settings;
    GObjectPtr<WebKitWebView> sharedView;
    std::unique_ptr<GtkMarkdownPage> markdown;
    GtkApplication* application = nullptr;
    std::set<GtkNoteWindow*> live;
    unsigned reloadSource = 0;
    // The hidden window kept with `readyPage` loaded, once made.
    std::string readyPage;
    std::unique_ptr<GtkNoteWindow> ready;
    unsigned readySource = 0;

    void planReady();
    void makeReady();

    void webProcessEnded(int reason);
    void reloadAll();
};

}
