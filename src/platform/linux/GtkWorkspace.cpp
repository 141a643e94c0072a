#include "platform/linux/GtkWorkspace.h"

#include "shell/Log.h"

#include <canberra.h>
#include <gtk/gtk.h>

namespace marrowleaf {

bool GtkWorkspace::openURL(const std::string& url) {
    if (!g_uri_is_valid(url.c_str(), G_URI_FLAGS_NONE, nullptr)) return false;
    GError* error = nullptr;
    if (!g_app_info_launch_default_for_uri(url.c_str(), nullptr, &error)) {
        Log::error("can't open " + url + ": " + (error ? error->message : "no handler"));
        g_clear_error(&error);
        return false;
    }
    return true;
}

bool GtkWorkspace::openFolder(const std::filesystem::path& folder) {
    gchar* uri = g_filename_to_uri(folder.c_str(), nullptr, nullptr);
    if (!uri) return false;
    const bool opened = openURL(uri);
    g_free(uri);
    return opened;
}

void GtkWorkspace::activate() {
    // Focus is given per window (with the event time) when a note is focused;
    // there is no application-wide activation on X11 beyond that.
}

namespace {

// One subscription to logind's sleep signal; ends with the object.
class WakeSubscription : public Subscription {
public:
    WakeSubscription(GDBusConnection* bus, std::function<void()> handler)
        : bus(bus), handler(std::move(handler)) {
        id = g_dbus_connection_signal_subscribe(bus, "org.freedesktop.login1",
                                                "org.freedesktop.login1.Manager", "PrepareForSleep",
                                                "/org/freedesktop/login1", nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
                                                &WakeSubscription::onSignal, this, nullptr);
    }
    ~WakeSubscription() override {
        g_dbus_connection_signal_unsubscribe(bus, id);
        g_object_unref(bus);
    }

private:
    GDBusConnection* bus;
    std::function<void()> handler;
    guint id = 0;

    static void onSignal(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                         GVariant* parameters, gpointer data) {
        gboolean goingToSleep = TRUE;
        if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(b)")))
            g_variant_get(parameters, "(b)", &goingToSleep);
        if (!goingToSleep) static_cast<WakeSubscription*>(data)->handler();
    }
};

class NoSubscription : public Subscription {};

}

std::unique_ptr<Subscription> GtkWorkspace::watchWake(std::function<void()> handler) {
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (!bus) {
        // Containers and test sessions have no system bus: there is no sleep to wake from there.
        Log::info(std::string("not watching for wake from sleep: ") +
                  (error ? error->message : "no system bus"));
        g_clear_error(&error);
        return std::make_unique<NoSubscription>();
    }
    return std::make_unique<WakeSubscription>(bus, std::move(handler));
}

void GtkPasteboard::setText(const std::string& text) {
    gtk_clipboard_set_text(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD), text.c_str(),
                           static_cast<gint>(text.size()));
}

void GtkPasteboard::requestText(TextHandler handler) {
    auto* pending = new TextHandler(std::move(handler));
    gtk_clipboard_request_text(
        gtk_clipboard_get(GDK_SELECTION_CLIPBOARD),
        +[](GtkClipboard*, const gchar* text, gpointer data) {
            auto* handler = static_cast<TextHandler*>(data);
            (*handler)(text ? std::optional<std::string>(text) : std::nullopt);
            delete handler;
        },
        pending);
}

CanberraSounds::CanberraSounds() {
    if (ca_context_create(&context) != CA_SUCCESS) context = nullptr;
}

CanberraSounds::~CanberraSounds() {
    if (context) ca_context_destroy(context);
}

void CanberraSounds::playTrash() {
    if (!context) return;
    // No sound device (a headless session) is not worth a log line.
    ca_context_play(context, 0, CA_PROP_EVENT_ID, "trash-empty", CA_PROP_EVENT_DESCRIPTION, "Notes deleted",
                    nullptr);
}

}
