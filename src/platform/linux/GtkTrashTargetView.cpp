#include "platform/linux/GtkTrashTargetView.h"

#include "platform/linux/GObjectPtr.h"
#include "platform/linux/GtkIcons.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>

namespace marrowleaf {

namespace {

constexpr const char* trashIcon = "marrowleaf-trash-symbolic";
constexpr const char* trashIconFallback = "user-trash-symbolic";
// The icon's share of the circle's diameter.
constexpr double iconShare = 0.5;
constexpr GdkRGBA iconColour{1, 1, 1, 0.95};

struct Fill {
    double red, green, blue, alpha;
};
constexpr Fill restingFill{0.11, 0.11, 0.12, 0.72};
constexpr Fill litFill{0.86, 0.17, 0.17, 0.92};

int rounded(double value) { return static_cast<int>(std::lround(value)); }

// The circle that fills a `diameter` square, as one rectangle per pixel row.
cairo_region_t* circleRegion(int diameter) {
    cairo_region_t* region = cairo_region_create();
    const double radius = diameter / 2.0;
    for (int row = 0; row < diameter; ++row) {
        const double fromCentre = row + 0.5 - radius;
        const double half = std::sqrt(std::max(0.0, radius * radius - fromCentre * fromCentre));
        const int left = rounded(radius - half);
        const cairo_rectangle_int_t span{left, row, rounded(radius + half) - left, 1};
        if (span.width > 0) cairo_region_union_rectangle(region, &span);
    }
    return region;
}

}

GtkTrashTargetView::GtkTrashTargetView(std::optional<std::filesystem::path> icons) : icons(std::move(icons)) {}

GtkTrashTargetView::~GtkTrashTargetView() {
    if (window) gtk_widget_destroy(window);
}

void GtkTrashTargetView::show(Rect newFrame) {
    if (!window) make();
    frame = newFrame;
    isLit = false;
    place();
    if (!shown) {
        // Asked again at every showing: the window manager forgets a window's state when it goes.
        gtk_window_set_keep_above(GTK_WINDOW(window), TRUE);
        gtk_window_stick(GTK_WINDOW(window));
        gtk_widget_realize(window);
        applyShapes();
        gtk_widget_show(window);
    }
    shown = true;
    gtk_widget_queue_draw(window);
}

void GtkTrashTargetView::setLit(bool lit) {
    if (isLit == lit) return;
    isLit = lit;
    if (window) gtk_widget_queue_draw(window);
}

void GtkTrashTargetView::hide() {
    shown = false;
    isLit = false;
    if (window) gtk_widget_hide(window);
}

std::optional<Rect> GtkTrashTargetView::shownFrame() const {
    if (!shown) return std::nullopt;
    return frame;
}

void GtkTrashTargetView::make() {
    GtkIcons::addFolder(icons);
    window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWindow* w = GTK_WINDOW(window);
    gtk_window_set_title(w, "Trash");
    gtk_window_set_decorated(w, FALSE);
    gtk_window_set_resizable(w, FALSE);
    gtk_window_set_skip_taskbar_hint(w, TRUE);
    gtk_window_set_skip_pager_hint(w, TRUE);
    gtk_window_set_accept_focus(w, FALSE);
    gtk_window_set_focus_on_map(w, FALSE);
    gtk_widget_set_app_paintable(window, TRUE);
    if (GdkVisual* rgba = gdk_screen_get_rgba_visual(gtk_widget_get_screen(window)))
        gtk_widget_set_visual(window, rgba);
    g_signal_connect(window, "draw", G_CALLBACK(+[](GtkWidget*, cairo_t* cr, GtkTrashTargetView* self) {
                         self->draw(cr);
                         return TRUE;
                     }),
                     this);
    // Set on the widget too: GTK puts the widget's own input shape back on realizing it.
    cairo_region_t* nothing = cairo_region_create();
    gtk_widget_input_shape_combine_region(window, nothing);
    cairo_region_destroy(nothing);
    // A window manager that frames the window gives the frame the window's
    // shapes only when told of them after it took the window: shaped again
    // once mapped.
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget* mapped, GdkEvent*, GtkTrashTargetView* self) {
                         self->applyShapes();
                         // Shown again soon after it went, the window manager may still have
                         // been forgetting the old state when it took the window: asked again.
                         gtk_window_set_keep_above(GTK_WINDOW(mapped), TRUE);
                         gtk_window_stick(GTK_WINDOW(mapped));
                         return FALSE;
                     }),
                     this);
}

void GtkTrashTargetView::place() {
    const int width = std::max(1, rounded(frame.width)), height = std::max(1, rounded(frame.height));
    gtk_widget_set_size_request(window, width, height);
    gtk_window_resize(GTK_WINDOW(window), width, height);
    gtk_window_move(GTK_WINDOW(window), rounded(frame.x), rounded(frame.y));
    applyShapes();
}

// Clicks go through to whatever lies beneath: the input shape is empty.
// Without a compositing manager the transparent corners would show black, so
// the window is cut to the circle.
void GtkTrashTargetView::applyShapes() {
    GdkWindow* gdkWindow = gtk_widget_get_window(window);
    if (!gdkWindow) return;
    cairo_region_t* nothing = cairo_region_create();
    gdk_window_input_shape_combine_region(gdkWindow, nothing, 0, 0);
    cairo_region_destroy(nothing);
    if (gdk_screen_is_composited(gtk_widget_get_screen(window))) {
        gdk_window_shape_combine_region(gdkWindow, nullptr, 0, 0);
        return;
    }
    cairo_region_t* circle = circleRegion(std::max(1, rounded(std::min(frame.width, frame.height))));
    gdk_window_shape_combine_region(gdkWindow, circle, 0, 0);
    cairo_region_destroy(circle);
}

void GtkTrashTargetView::draw(cairo_t* cr) const {
    const double width = gtk_widget_get_allocated_width(window);
    const double height = gtk_widget_get_allocated_height(window);
    const double diameter = std::min(width, height);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_rgba(cr, 0, 0, 0, 0);
    cairo_paint(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_OVER);

    const Fill fill = isLit ? litFill : restingFill;
    cairo_arc(cr, diameter / 2, diameter / 2, diameter / 2, 0, 2 * M_PI);
    cairo_set_source_rgba(cr, fill.red, fill.green, fill.blue, fill.alpha);
    cairo_fill(cr);

    const int iconSize = std::max(1, rounded(diameter * iconShare));
    if (auto icon = GtkIcons::symbolic(trashIcon, trashIconFallback, iconSize, iconColour)) {
        gdk_cairo_set_source_pixbuf(cr, icon.get(), (diameter - iconSize) / 2, (diameter - iconSize) / 2);
        cairo_paint(cr);
    }
}

}
