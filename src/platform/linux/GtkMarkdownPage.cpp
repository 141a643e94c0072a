#include "platform/linux/GtkMarkdownPage.h"

#include "shell/Log.h"

#include <webkit2/webkit2.h>

#include <memory>

namespace marrowleaf {

namespace {

constexpr const char* renderCall = "return renderNote(text);";

// GVariant text must be UTF-8; a page's string with a lone surrogate is not.
GVariant* textArgument(const std::string& text) {
    GVariantBuilder arguments;
    g_variant_builder_init(&arguments, G_VARIANT_TYPE("a{sv}"));
    if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
        g_variant_builder_add(&arguments, "{sv}", "text", g_variant_new_string(text.c_str()));
    } else {
        GCharPtr valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
        g_variant_builder_add(&arguments, "{sv}", "text", g_variant_new_string(valid.get()));
    }
    return g_variant_builder_end(&arguments);
}

}

GtkMarkdownPage::GtkMarkdownPage(WebKitWebView* shared) : view(WEBKIT_WEB_VIEW(g_object_ref(shared))) {
    g_signal_connect(view.get(), "load-changed",
                     G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, GtkMarkdownPage* self) {
                         if (event == WEBKIT_LOAD_FINISHED) self->loadFinished();
                     }),
                     this);
    g_signal_connect(view.get(), "load-failed",
                     G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent, const char*, GError* error, GtkMarkdownPage* self) {
                         self->loadFailed(error ? error->message : "unknown error");
                         return FALSE;
                     }),
                     this);
}

GtkMarkdownPage::~GtkMarkdownPage() {
    g_signal_handlers_disconnect_by_data(view.get(), this);
    status = Status::failed;
    answerWaiting();
}

void GtkMarkdownPage::load(std::string html) {
    page = std::move(html);
    reload();
}

void GtkMarkdownPage::reload() {
    if (page.empty()) return;
    status = Status::loading;
    webkit_web_view_load_html(view.get(), page.c_str(), nullptr);
}

void GtkMarkdownPage::render(const std::string& text, Done done) {
    switch (status) {
    case Status::ready: ask(text, std::move(done)); break;
    case Status::loading: waiting.emplace_back(text, std::move(done)); break;
    case Status::none:
    case Status::failed: done(std::nullopt); break;
    }
}

void GtkMarkdownPage::ask(const std::string& text, Done done) {
    // The text goes in as an argument, never as script source.
    webkit_web_view_call_async_javascript_function(
        view.get(), renderCall, -1, textArgument(text), nullptr, nullptr, nullptr,
        +[](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<Done> done(static_cast<Done*>(data));
            GErrorOut error;
            GObjectPtr<JSCValue> value(
                webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source), result, &error));
            std::optional<std::string> html;
            if (value && jsc_value_is_string(value.get())) {
                html = GCharPtr(jsc_value_to_string(value.get())).get();
            } else if (error) {
                Log::error(std::string("can't render a note's Markdown: ") + error.message());
            }
            (*done)(html);
        },
        new Done(std::move(done)));
}

void GtkMarkdownPage::answerWaiting() {
    auto requests = std::move(waiting);
    waiting.clear();
    for (auto& [text, done] : requests) render(text, std::move(done));
}

void GtkMarkdownPage::loadFinished() {
    if (status != Status::loading) return;
    status = Status::ready;
    answerWaiting();
}

void GtkMarkdownPage::loadFailed(const std::string& reason) {
    Log::error("can't load the Markdown page: " + reason + "; notes show their text as it is");
    status = Status::failed;
    answerWaiting();
}

}
