#include "platform/linux/GtkNoteWindow.h"

#include "platform/linux/GdkAppMouseMonitor.h"
#include "shell/Log.h"

#include <gdk/gdkx.h>
#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace marrowleaf {

namespace {

// The note body sits this far inside the window on every side, with corners of
// this radius, as the page draws it.
constexpr double noteMargin = 6;
constexpr double noteCornerRadius = 9;
constexpr const char* messageHandlerName = "sticky";
constexpr const char* markdownHandlerName = "markdown";
constexpr const char* pageURI = "about:blank";
constexpr double sameFrameTolerance = 0.5;
// A frame asked for that the window manager has not confirmed within this
// time was changed or refused by it.
constexpr gint64 requestAnswerTimeUs = 1'000'000;

int pixels(double points) { return static_cast<int>(std::lround(points)); }

bool sameFrame(Rect a, Rect b) {
    return std::fabs(a.x - b.x) < sameFrameTolerance && std::fabs(a.y - b.y) < sameFrameTolerance &&
           std::fabs(a.width - b.width) < sameFrameTolerance && std::fabs(a.height - b.height) < sameFrameTolerance;
}

// The rounded note body as whole pixels, row by row: a pixel belongs to it
// when its centre lies inside the rounded rectangle.
cairo_region_t* noteBodyRegion(int width, int height) {
    const double left = noteMargin, top = noteMargin;
    const double bodyWidth = width - 2 * noteMargin, bodyHeight = height - 2 * noteMargin;
    cairo_region_t* region = cairo_region_create();
    if (bodyWidth <= 0 || bodyHeight <= 0) return region;
    const double radius = std::min({noteCornerRadius, bodyWidth / 2, bodyHeight / 2});
    for (int row = static_cast<int>(top); row < static_cast<int>(top + bodyHeight); ++row) {
        const double centreY = row + 0.5;
        const double fromTop = centreY - top, fromBottom = top + bodyHeight - centreY;
        const double intoCorner = radius - std::min(fromTop, fromBottom);
        double cut = 0;
        if (intoCorner > 0) cut = radius - std::sqrt(std::max(0.0, radius * radius - intoCorner * intoCorner));
        const int first = static_cast<int>(std::ceil(left + cut - 0.5));
        const int last = static_cast<int>(std::floor(left + bodyWidth - cut - 0.5));
        if (last < first) continue;
        const cairo_rectangle_int_t span{first, row, last - first + 1, 1};
        cairo_region_union_rectangle(region, &span);
    }
    return region;
}

// Only the note's own page loads; links, forms, reloads and scripts that set
// the location never navigate the note.
gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* policy, WebKitPolicyDecisionType type, gpointer) {
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return FALSE;   // the page itself: the default
    if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION) {
        WebKitNavigationAction* action =
            webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(policy));
        WebKitURIRequest* request = webkit_navigation_action_get_request(action);
        const char* uri = request ? webkit_uri_request_get_uri(request) : nullptr;
        if (webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_OTHER && uri &&
            g_strcmp0(uri, pageURI) == 0) {
            webkit_policy_decision_use(policy);
            return TRUE;
        }
    }
    webkit_policy_decision_ignore(policy);
    return TRUE;
}


// Context-menu entries that edit or copy text; everything else (reload, back,
// open link, inspect…) would navigate the note or make no sense in it.
bool isEditingAction(WebKitContextMenuAction action) {
    switch (action) {
    case WEBKIT_CONTEXT_MENU_ACTION_COPY:
    case WEBKIT_CONTEXT_MENU_ACTION_CUT:
    case WEBKIT_CONTEXT_MENU_ACTION_PASTE:
    case WEBKIT_CONTEXT_MENU_ACTION_DELETE:
    case WEBKIT_CONTEXT_MENU_ACTION_SELECT_ALL:
    case WEBKIT_CONTEXT_MENU_ACTION_PASTE_AS_PLAIN_TEXT:
    case WEBKIT_CONTEXT_MENU_ACTION_SPELLING_GUESS:
    case WEBKIT_CONTEXT_MENU_ACTION_NO_GUESSES_FOUND:
    case WEBKIT_CONTEXT_MENU_ACTION_IGNORE_SPELLING:
    case WEBKIT_CONTEXT_MENU_ACTION_LEARN_SPELLING:
    case WEBKIT_CONTEXT_MENU_ACTION_INSERT_EMOJI:
    case WEBKIT_CONTEXT_MENU_ACTION_INPUT_METHODS:
    case WEBKIT_CONTEXT_MENU_ACTION_UNICODE:
    case WEBKIT_CONTEXT_MENU_ACTION_COPY_LINK_TO_CLIPBOARD:
        return true;
    default:
        return false;
    }
}

gboolean keepOnlyEditingEntries(WebKitWebView*, WebKitContextMenu* menu, GdkEvent*, WebKitHitTestResult*, gpointer) {
    GList* items = g_list_copy(webkit_context_menu_get_items(menu));
    for (GList* item = items; item; item = item->next) {
        auto* entry = static_cast<WebKitContextMenuItem*>(item->data);
        if (webkit_context_menu_item_is_separator(entry)) continue;
        if (!isEditingAction(webkit_context_menu_item_get_stock_action(entry)))
            webkit_context_menu_remove(menu, entry);
    }
    g_list_free(items);
    // Separators left at the ends or side by side.
    GList* all = webkit_context_menu_get_items(menu);
    bool previousWasSeparator = true;
    GList* copy = g_list_copy(all);
    for (GList* item = copy; item; item = item->next) {
        auto* entry = static_cast<WebKitContextMenuItem*>(item->data);
        const bool separator = webkit_context_menu_item_is_separator(entry);
        if (separator && (previousWasSeparator || !item->next)) webkit_context_menu_remove(menu, entry);
        else previousWasSeparator = separator;
    }
    g_list_free(copy);
    return webkit_context_menu_get_n_items(menu) == 0;   // nothing left: show no menu
}

}

// ---------------------------------------------------------------- a note window

GtkNoteWindow::GtkNoteWindow(GtkNoteWindowFactory& factory, Rect frame, WindowLevel level)
    : factory(factory), currentLevel(level), current(frame) {
    makeWindow(frame);
    // The application's own keys (Ctrl+Q) work in every note.
    if (factory.application) gtk_window_set_application(GTK_WINDOW(window), factory.application);
    makeView();
    gtk_container_add(GTK_CONTAINER(window), GTK_WIDGET(view));
    gtk_widget_show(GTK_WIDGET(view));
    // Realised now, so the window has its number before it is first shown.
    gtk_widget_realize(window);
    applyLevel();
    updateShape();
    factory.live.insert(this);
}

GtkNoteWindow::~GtkNoteWindow() {
    factory.live.erase(this);
    if (compositedChangedId) g_signal_handler_disconnect(gtk_widget_get_screen(window), compositedChangedId);
    g_signal_handlers_disconnect_by_data(view, this);
    g_signal_handlers_disconnect_by_data(contentManager.get(), this);
    webkit_user_content_manager_unregister_script_message_handler(contentManager.get(), messageHandlerName);
    webkit_user_content_manager_unregister_script_message_handler(contentManager.get(), markdownHandlerName);
    gtk_widget_destroy(window);
}

void GtkNoteWindow::makeWindow(Rect frame) {
    window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWindow* w = GTK_WINDOW(window);
    gtk_window_set_title(w, "Marrowleaf note");
    GdkAppMouseMonitor::markNoteWindow(window);
    gtk_window_set_decorated(w, FALSE);
    gtk_window_set_skip_taskbar_hint(w, TRUE);
    gtk_window_set_skip_pager_hint(w, TRUE);
    // Showing a note never takes the focus from what the user is doing.
    gtk_window_set_focus_on_map(w, FALSE);
    gtk_widget_set_app_paintable(window, TRUE);
    if (GdkVisual* rgba = gdk_screen_get_rgba_visual(gtk_widget_get_screen(window)))
        gtk_widget_set_visual(window, rgba);
    gtk_window_move(w, pixels(frame.x), pixels(frame.y));
    gtk_window_set_default_size(w, pixels(frame.width), pixels(frame.height));
    gtk_window_resize(w, pixels(frame.width), pixels(frame.height));

    // Whatever the page leaves transparent stays transparent.
    g_signal_connect(window, "draw", G_CALLBACK(+[](GtkWidget*, cairo_t* cr, gpointer) {
                         cairo_save(cr);
                         cairo_set_source_rgba(cr, 0, 0, 0, 0);
                         cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
                         cairo_paint(cr);
                         cairo_restore(cr);
                         return FALSE;
                     }),
                     nullptr);
    // The window manager's close request (Alt+F4) leaves a note alone: a note
    // is deleted from its own page.
    g_signal_connect(window, "delete-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer) { return TRUE; }),
                     nullptr);
    g_signal_connect(window, "configure-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, GtkNoteWindow* self) {
                         self->configured();
                         return FALSE;
                     }),
                     this);
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, GtkNoteWindow* self) {
                         self->awaitingMap = false;
                         self->configured();
                         return FALSE;
                     }),
                     this);
    g_signal_connect(window, "size-allocate", G_CALLBACK(+[](GtkWidget*, GdkRectangle*, GtkNoteWindow* self) {
                         self->updateShape();
                     }),
                     this);
    compositedChangedId = g_signal_connect(gtk_widget_get_screen(window), "composited-changed",
                                           G_CALLBACK(+[](GdkScreen*, GtkNoteWindow* self) { self->updateShape(); }),
                                           this);
}

void GtkNoteWindow::makeView() {
    contentManager.reset(webkit_user_content_manager_new());
    webkit_user_content_manager_register_script_message_handler(contentManager.get(), messageHandlerName);
    webkit_user_content_manager_register_script_message_handler_with_reply(contentManager.get(), markdownHandlerName,
                                                                           nullptr);
    view = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", factory.sharedView.get(),
                                        "user-content-manager", contentManager.get(), "settings",
                                        factory.settings.get(), nullptr));
    const GdkRGBA transparent{0, 0, 0, 0};
    webkit_web_view_set_background_color(view, &transparent);
    connectPageSignals();
    g_signal_connect(view, "context-menu", G_CALLBACK(keepOnlyEditingEntries), nullptr);
    // A page can't open windows of its own.
    g_signal_connect(view, "create", G_CALLBACK(+[](WebKitWebView*, WebKitNavigationAction*, gpointer) {
                         return static_cast<GtkWidget*>(nullptr);
                     }),
                     nullptr);
}

Rect GtkNoteWindow::frame() const { return current; }

void GtkNoteWindow::setFrame(Rect frame) {
    current = frame;
    requested.push_back({frame, g_get_monotonic_time()});
    gtk_window_move(GTK_WINDOW(window), pixels(frame.x), pixels(frame.y));
    gtk_window_resize(GTK_WINDOW(window), pixels(frame.width), pixels(frame.height));
}

// The window's place as the X server has it now. A configure notification's
// own numbers may describe a moment in the middle of the window manager's
// reparenting, so the server is asked.
Rect GtkNoteWindow::actualFrame() const {
    GdkWindow* gdkWindow = gtk_widget_get_window(window);
    int x = 0, y = 0;
    gdk_window_get_origin(gdkWindow, &x, &y);
    return {double(x), double(y), double(gdk_window_get_width(gdkWindow)), double(gdk_window_get_height(gdkWindow))};
}

void GtkNoteWindow::configured() {
    // A hidden window is where it was last asked to be.
    if (awaitingMap || !gtk_widget_get_mapped(window)) return;
    const Rect actual = actualFrame();
    const gint64 now = g_get_monotonic_time();
    while (!requested.empty() && now - requested.front().at > requestAnswerTimeUs) requested.pop_front();
    auto match = std::find_if(requested.begin(), requested.end(),
                              [&](const Request& r) { return sameFrame(r.frame, actual); });
    if (match != requested.end()) requested.erase(requested.begin(), match + 1);
    // While later requests are on their way, this is an old one passing by;
    // with none, it is where the window is (the window manager may have moved it).
    if (requested.empty()) current = actual;
}

void GtkNoteWindow::orderFront() {
    // While the window manager reparents and places the window it reports
    // in-between places; the frame stays the one asked for until it is mapped.
    if (!gtk_widget_get_visible(window)) awaitingMap = true;
    gtk_widget_show(window);
    gdk_window_raise(gtk_widget_get_window(window));
    // The desktop adapters talk to the server on a connection of their own: the
    // map must be there before they ask the window manager about the window.
    gdk_display_flush(gtk_widget_get_display(window));
}

void GtkNoteWindow::orderOut() {
    awaitingMap = false;
    gtk_widget_hide(window);
}

void GtkNoteWindow::setAlpha(double alpha) {
    // The window manager's opacity property: GTK's own widget opacity would
    // repaint the whole page with that alpha.
    gdk_window_set_opacity(gtk_widget_get_window(window), alpha);
}

void GtkNoteWindow::setLevel(WindowLevel level) {
    currentLevel = level;
    applyLevel();
}

void GtkNoteWindow::applyLevel() {
    gtk_window_set_keep_above(GTK_WINDOW(window), currentLevel != WindowLevel::normal);
    if (currentLevel == WindowLevel::drag && gtk_widget_get_mapped(window))
        gdk_window_raise(gtk_widget_get_window(window));
}

void GtkNoteWindow::focus() {
    if (!gtk_widget_get_visible(window)) awaitingMap = true;
    gtk_window_present_with_time(GTK_WINDOW(window), gtk_get_current_event_time());
    gtk_widget_grab_focus(GTK_WIDGET(view));
}

void GtkNoteWindow::close() { orderOut(); }

WindowNumber GtkNoteWindow::windowNumber() const {
    GdkWindow* gdkWindow = gtk_widget_get_window(window);
    if (!gdkWindow || !GDK_IS_X11_WINDOW(gdkWindow)) return 0;
    return static_cast<WindowNumber>(gdk_x11_window_get_xid(gdkWindow));
}

void GtkNoteWindow::loadPage(const std::string& html) {
    loaded = false;
    webkit_web_view_load_html(view, html.c_str(), nullptr);
}

void GtkNoteWindow::runScript(const std::string& script) {
    webkit_web_view_evaluate_javascript(view, script.c_str(), static_cast<gssize>(script.size()), nullptr, nullptr,
                                        nullptr, nullptr, nullptr);
}

void GtkNoteWindow::evaluate(const std::string& script, std::function<void(std::optional<std::string>)> done) {
    using Done = std::function<void(std::optional<std::string>)>;
    webkit_web_view_evaluate_javascript(
        view, script.c_str(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<Done> done(static_cast<Done*>(data));
            GErrorOut error;
            GObjectPtr<JSCValue> value(webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error));
            std::optional<std::string> json;
            if (value) {
                if (GCharPtr text{jsc_value_to_json(value.get(), 0)}) json = text.get();
            }
            (*done)(json);
        },
        new Done(std::move(done)));
}

void GtkNoteWindow::updateShape() {
    GdkWindow* gdkWindow = gtk_widget_get_window(window);
    if (!gdkWindow) return;
    const bool composited = gdk_screen_is_composited(gtk_widget_get_screen(window));
    if (composited) {
        if (shapedForNoCompositor) {
            gdk_window_shape_combine_region(gdkWindow, nullptr, 0, 0);
            gdk_window_input_shape_combine_region(gdkWindow, nullptr, 0, 0);
            shapedForNoCompositor = false;
        }
        return;
    }
    // Without a compositor the transparent margin would show as a black frame:
    // cut the window to the note's body, for drawing and for clicks.
    cairo_region_t* body = noteBodyRegion(gtk_widget_get_allocated_width(window), gtk_widget_get_allocated_height(window));
    gdk_window_shape_combine_region(gdkWindow, body, 0, 0);
    gdk_window_input_shape_combine_region(gdkWindow, body, 0, 0);
    cairo_region_destroy(body);
    shapedForNoCompositor = true;
}

void GtkNoteWindow::setMessageHandler(MessageHandler handler) {
    messageHandler = std::move(handler);
    if (!messageHandler || everHeard) return;
    everHeard = true;
    auto early = std::move(unheard);
    unheard.clear();
    for (const auto& body : early) {
        if (!messageHandler) break;
        auto current = messageHandler;
        current(body);
    }
}

void GtkNoteWindow::messageArrived(const char* jsonText) {
    if (!jsonText) return;
    nlohmann::json body = nlohmann::json::parse(jsonText, nullptr, false);
    if (body.is_discarded()) return;
    if (!messageHandler) {
        if (!everHeard) unheard.push_back(std::move(body));
        return;
    }
    // A copy: the handler may replace itself while it runs.
    auto handler = messageHandler;
    handler(body);
}

void GtkNoteWindow::pageLost() {
    loaded = false;
    if (pageLostHandler) {
        auto handler = pageLostHandler;
        handler();
    }
}

void GtkNoteWindow::connectPageSignals() {
    g_signal_connect(contentManager.get(), std::string("script-message-received::").append(messageHandlerName).c_str(),
                     G_CALLBACK(+[](WebKitUserContentManager*, WebKitJavascriptResult* result, GtkNoteWindow* self) {
                         self->scriptMessage(result);
                     }),
                     this);
    g_signal_connect(contentManager.get(),
                     std::string("script-message-with-reply-received::").append(markdownHandlerName).c_str(),
                     G_CALLBACK(+[](WebKitUserContentManager*, JSCValue* value, WebKitScriptMessageReply* reply,
                                    GtkNoteWindow* self) {
                         self->markdownRequest(value, reply);
                         return TRUE;
                     }),
                     this);
    g_signal_connect(view, "decide-policy", G_CALLBACK(onDecidePolicy), nullptr);
    g_signal_connect(view, "load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, GtkNoteWindow* self) {
                         if (event == WEBKIT_LOAD_FINISHED) self->loaded = true;
                     }),
                     this);
    g_signal_connect(view, "web-process-terminated",
                     G_CALLBACK(+[](WebKitWebView*, WebKitWebProcessTerminationReason reason, GtkNoteWindow* self) {
                         self->loaded = false;
                         self->factory.webProcessEnded(reason);
                     }),
                     this);
}

void GtkNoteWindow::scriptMessage(WebKitJavascriptResult* result) {
    JSCValue* value = webkit_javascript_result_get_js_value(result);
    GCharPtr text(value ? jsc_value_to_json(value, 0) : nullptr);
    messageArrived(text.get());
}

// The page asks for its text as HTML; the answer comes from the one Markdown
// page, later, so the reply is kept until then.
void GtkNoteWindow::markdownRequest(JSCValue* value, WebKitScriptMessageReply* reply) {
    if (!jsc_value_is_string(value)) {
        webkit_script_message_reply_return_error_message(reply, "the text to render is not a string");
        return;
    }
    GCharPtr text(jsc_value_to_string(value));
    GObjectPtr<JSCContext> context(JSC_CONTEXT(g_object_ref(jsc_value_get_context(value))));
    std::shared_ptr<WebKitScriptMessageReply> kept(webkit_script_message_reply_ref(reply),
                                                   webkit_script_message_reply_unref);
    factory.markdown->render(text.get(), [context = std::shared_ptr<JSCContext>(std::move(context)), kept](
                                             std::optional<std::string> html) {
        if (html) {
            GObjectPtr<JSCValue> answer(jsc_value_new_string(context.get(), html->c_str()));
            webkit_script_message_reply_return_value(kept.get(), answer.get());
        } else {
            webkit_script_message_reply_return_error_message(kept.get(), "no HTML for this text");
        }
    });
}

}
