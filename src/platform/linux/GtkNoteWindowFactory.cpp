#include "platform/linux/GtkNoteWindow.h"

#include "shell/Log.h"

#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

namespace marrowleaf {

namespace {

const char* terminationReason(int reason) {
    switch (reason) {
    case WEBKIT_WEB_PROCESS_CRASHED:
        return "crashed";
    case WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT:
        return "went over its memory limit";
    case WEBKIT_WEB_PROCESS_TERMINATED_BY_API:
        return "was stopped";
    default:
        return "ended";
    }
}

}

GtkNoteWindowFactory::GtkNoteWindowFactory() {
    // Note pages run little script, and without the script compiler each
    // page's heap is about a quarter smaller (bench/notes-memory: 3.5 instead
    // of 4.7 MB per note). The web process reads this when it starts, so it is
    // set before the first one does; a value the user set wins.
    g_setenv("JSC_useJIT", "0", FALSE);
    // Pages are painted without the GPU anyway; the buffer-sharing renderer
    // only adds its own set-up, about 17 MB over the app and its web process.
    g_setenv("WEBKIT_DISABLE_DMABUF_RENDERER", "1", FALSE);
    // Nothing of a note is kept on disk by the engine: no caches, no storage.
    context.reset(webkit_web_context_new_ephemeral());
    webkit_web_context_set_cache_model(context.get(), WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);

    settings.reset(webkit_settings_new());
    webkit_settings_set_hardware_acceleration_policy(settings.get(),
                                                     WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER);
    webkit_settings_set_enable_developer_extras(settings.get(), FALSE);
    webkit_settings_set_javascript_can_open_windows_automatically(settings.get(), FALSE);
    webkit_settings_set_enable_back_forward_navigation_gestures(settings.get(), FALSE);
    webkit_settings_set_enable_html5_database(settings.get(), FALSE);
    webkit_settings_set_enable_html5_local_storage(settings.get(), FALSE);
    webkit_settings_set_enable_page_cache(settings.get(), FALSE);

    sharedView.reset(WEBKIT_WEB_VIEW(g_object_ref_sink(g_object_new(
        WEBKIT_TYPE_WEB_VIEW, "web-context", context.get(), "settings", settings.get(), nullptr))));
    markdown = std::make_unique<GtkMarkdownPage>(sharedView.get());
}

GtkNoteWindowFactory::~GtkNoteWindowFactory() {
    if (reloadSource) g_source_remove(reloadSource);
    if (readySource) g_source_remove(readySource);
    ready.reset();
    markdown.reset();
}

std::unique_ptr<NoteWindow> GtkNoteWindowFactory::create(Rect frame, WindowLevel level) {
    return std::make_unique<GtkNoteWindow>(*this, frame, level);
}

std::unique_ptr<NoteWindow> GtkNoteWindowFactory::createWithPage(Rect frame, WindowLevel level,
                                                                 const std::string& html) {
    if (!ready || html != readyPage) return NoteWindowFactory::createWithPage(frame, level, html);
    std::unique_ptr<GtkNoteWindow> window = std::move(ready);
    window->setFrame(frame);
    window->setLevel(level);
    planReady();
    return window;
}

void GtkNoteWindowFactory::keepReady(const std::string& html) {
    if (html == readyPage && (ready || readySource)) return;
    readyPage = html;
    ready.reset();
    planReady();
}

void GtkNoteWindowFactory::planReady() {
    if (readySource || readyPage.empty()) return;
    readySource = g_timeout_add(
        readyDelayMs,
        [](gpointer self) {
            static_cast<GtkNoteWindowFactory*>(self)->readySource = 0;
            static_cast<GtkNoteWindowFactory*>(self)->makeReady();
            return gboolean(G_SOURCE_REMOVE);
        },
        this);
}

void GtkNoteWindowFactory::makeReady() {
    constexpr Rect anywhere{0, 0, 260, 220};   // moved where it is wanted when handed out
    ready = std::make_unique<GtkNoteWindow>(*this, anywhere, WindowLevel::normal);
    // Its X window and drawing surfaces are made now too, so showing it is quick.
    gtk_widget_realize(ready->window);
    ready->loadPage(readyPage);
}

void GtkNoteWindowFactory::webProcessEnded(int reason) {
    // Every note's view reports the one process; act once.
    if (reloadSource) return;
    Log::error(std::string("the note pages' web process ") + terminationReason(reason) + "; reloading " +
               std::to_string(live.size()) + " note page" + (live.size() == 1 ? "" : "s"));
    reloadSource = g_timeout_add(
        reloadDelayMs,
        [](gpointer self) {
            static_cast<GtkNoteWindowFactory*>(self)->reloadSource = 0;
            static_cast<GtkNoteWindowFactory*>(self)->reloadAll();
            return gboolean(G_SOURCE_REMOVE);
        },
        this);
}

void GtkNoteWindowFactory::reloadAll() {
    markdown->reload();
    // The ready page went with the process: a fresh one is made in a while.
    if (ready) {
        ready.reset();
        planReady();
    }
    // A handler may close and release other windows: walk a copy, checking each is still alive.
    const std::set<GtkNoteWindow*> windows = live;
    for (GtkNoteWindow* window : windows) {
        if (live.count(window)) window->pageLost();
    }
}

}
