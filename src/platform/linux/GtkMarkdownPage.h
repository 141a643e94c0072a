#pragma once
#include "platform/linux/GObjectPtr.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>

typedef struct _WebKitWebView WebKitWebView;

namespace marrowleaf {

// The one page that turns note text into clean HTML for every note page
// (markdown-it, then DOMPurify). It lives out of sight in the view all note
// views share their web process with, so the libraries are set up once for
// all notes instead of once per note. Requests made before it has loaded
// wait for it; without a page every request gets no answer, and the note
// shows its text as it is.
class GtkMarkdownPage {
public:
    using Done = std::function<void(std::optional<std::string> html)>;

    explicit GtkMarkdownPage(WebKitWebView* view);
    ~GtkMarkdownPage();
    GtkMarkdownPage(const GtkMarkdownPage&) = delete;
    GtkMarkdownPage& operator=(const GtkMarkdownPage&) = delete;

    // Loads the built page (Resources/markdown.html).
    void load(std::string html);
    // Loads it again after its web process ended.
    void reload();
    void render(const std::string& text, Done done);

private:
    GObjectPtr<WebKitWebView> view;
    std::string page;
    enum class Status { none, loading, ready, failed } status = Status::none;
    std::deque<std::pair<std::string, Done>> waiting;

    void ask(const std::string& text, Done done);
    void answerWaiting();
    void loadFinished();
    void loadFailed(const std::string& reason);
};

}
