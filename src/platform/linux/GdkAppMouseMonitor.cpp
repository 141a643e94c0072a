#include "platform/linux/GdkAppMouseMonitor.h"

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

namespace marrowleaf {

namespace {

constexpr const char* noteWindowKey = "marrowleaf-note-window";
constexpr guint leftButton = 1;

}

GdkAppMouseMonitor::~GdkAppMouseMonitor() {
    if (inputOpcode >= 0)
        gdk_window_remove_filter(nullptr, reinterpret_cast<GdkFilterFunc>(&GdkAppMouseMonitor::filter), this);
    // GDK keeps one event handler and cannot say which one it had before:
    // GTK's own is the one gtk_init installs.
    if (installed)
        gdk_event_handler_set(+[](GdkEvent* event, gpointer) { gtk_main_do_event(event); }, nullptr, nullptr);
}

void GdkAppMouseMonitor::start(Handler newHandler) {
    handler = std::move(newHandler);
    if (installed) return;
    gdk_event_handler_set(&GdkAppMouseMonitor::dispatch, this, nullptr);
    GdkDisplay* display = gdk_display_get_default();
    int event = 0, error = 0;
    if (GDK_IS_X11_DISPLAY(display) &&
        XQueryExtension(gdk_x11_display_get_xdisplay(display), "XInputExtension", &inputOpcode, &event, &error))
        gdk_window_add_filter(nullptr, reinterpret_cast<GdkFilterFunc>(&GdkAppMouseMonitor::filter), this);
    else
        inputOpcode = -1;
    installed = true;
}

void GdkAppMouseMonitor::markNoteWindow(GtkWidget* window) {
    g_object_set_data(G_OBJECT(window), noteWindowKey, GINT_TO_POINTER(TRUE));
}

bool GdkAppMouseMonitor::isNoteWindow(GdkWindow* window) {
    if (!window) return false;
    gpointer widget = nullptr;
    gdk_window_get_user_data(gdk_window_get_toplevel(window), &widget);
    return widget && G_IS_OBJECT(widget) && g_object_get_data(G_OBJECT(widget), noteWindowKey);
}

void GdkAppMouseMonitor::dispatch(GdkEvent* event, void* monitor) {
    if (!static_cast<GdkAppMouseMonitor*>(monitor)->swallows(event)) gtk_main_do_event(event);
}

bool GdkAppMouseMonitor::swallows(GdkEvent* event) {
    switch (event->type) {
    case GDK_BUTTON_PRESS:
        return onPress(event);
    case GDK_2BUTTON_PRESS:
    case GDK_3BUTTON_PRESS:
        // GDK's double- and triple-click events follow a press: they belong to it.
        return held && pressSwallowed && event->button.button == leftButton;
    case GDK_MOTION_NOTIFY:
        return onMotion(event);
    case GDK_BUTTON_RELEASE:
        return onRelease(event);
    default:
        return false;
    }
}

bool GdkAppMouseMonitor::onPress(GdkEvent* event) {
    const GdkEventButton& press = event->button;
    if (press.button != leftButton || !isNoteWindow(press.window)) return false;
    held = true;
    pressSwallowed = report(MouseEvent::Kind::press, press.x_root, press.y_root, press.state) == MouseAnswer::swallow;
    return pressSwallowed;
}

// Sees every X event as it arrives, before GDK queues it; only reads.
int GdkAppMouseMonitor::filter(void* xevent, GdkEvent*, void* monitor) {
    static_cast<GdkAppMouseMonitor*>(monitor)->stepSeen(xevent);
    return GDK_FILTER_CONTINUE;
}

// A step of a held press, reported now; GDK's copy of it, later, is not.
bool GdkAppMouseMonitor::stepSeen(void* xevent) {
    const XGenericEventCookie& cookie = static_cast<XEvent*>(xevent)->xcookie;
    if (!held || cookie.type != GenericEvent || cookie.extension != inputOpcode || cookie.evtype != XI_Motion ||
        !cookie.data)
        return false;
    const auto* step = static_cast<const XIDeviceEvent*>(cookie.data);
    if (step->buttons.mask_len < 1 || !XIMaskIsSet(step->buttons.mask, leftButton)) return false;
    report(MouseEvent::Kind::drag, step->root_x, step->root_y, static_cast<unsigned>(step->mods.effective));
    return true;
}

bool GdkAppMouseMonitor::onMotion(GdkEvent* event) {
    GdkEventMotion& motion = event->motion;
    if (!held) return false;
    if (inputOpcode >= 0) return false;   // reported as it arrived
    // A release that never came (the window went away under the press).
    if (!(motion.state & GDK_BUTTON1_MASK)) {
        held = false;
        return false;
    }
    // A window that asked for motion hints hears of the next step only once
    // the pointer is asked about.
    if (motion.is_hint) gdk_event_request_motions(&motion);
    return report(MouseEvent::Kind::drag, motion.x_root, motion.y_root, motion.state) == MouseAnswer::swallow;
}

bool GdkAppMouseMonitor::onRelease(GdkEvent* event) {
    const GdkEventButton& release = event->button;
    if (!held || release.button != leftButton) return false;
    held = false;
    return report(MouseEvent::Kind::release, release.x_root, release.y_root, release.state) == MouseAnswer::swallow;
}

MouseAnswer GdkAppMouseMonitor::report(MouseEvent::Kind kind, double rootX, double rootY, unsigned state) {
    if (!handler) return MouseAnswer::pass;
    return handler({kind, {rootX, rootY}, mouseModifiers(state)});
}

std::uint32_t GdkAppMouseMonitor::mouseModifiers(unsigned state) {
    std::uint32_t modifiers = 0;
    if (state & GDK_SHIFT_MASK) modifiers |= MouseModifiers::shift;
    if (state & GDK_CONTROL_MASK) modifiers |= MouseModifiers::control;
    if (state & GDK_MOD1_MASK) modifiers |= MouseModifiers::alt;
    if (state & (GDK_MOD4_MASK | GDK_SUPER_MASK)) modifiers |= MouseModifiers::super;
    return modifiers;
}

}
