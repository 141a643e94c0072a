#include "platform/linux/GtkSelectionBoxView.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace marrowleaf {

namespace {

// Where the theme names no selection colour.
constexpr GdkRGBA fallbackColour{0.27, 0.55, 0.95, 1};
constexpr double fillAlpha = 0.22;
constexpr int edge = 1;

struct RegionDeleter {
    void operator()(cairo_region_t* region) const { cairo_region_destroy(region); }
};
using RegionPtr = std::unique_ptr<cairo_region_t, RegionDeleter>;

int rounded(double value) { return static_cast<int>(std::lround(value)); }

RegionPtr emptyRegion() { return RegionPtr(cairo_region_create()); }

// The one-pixel frame of a `width` × `height` window.
RegionPtr edgeRegion(int width, int height) {
    const cairo_rectangle_int_t whole{0, 0, width, height};
    RegionPtr region(cairo_region_create_rectangle(&whole));
    if (width > 2 * edge && height > 2 * edge) {
        const cairo_rectangle_int_t inside{edge, edge, width - 2 * edge, height - 2 * edge};
        cairo_region_subtract_rectangle(region.get(), &inside);
    }
    return region;
}

GdkRGBA selectionColour(GtkWidget* widget) {
    GdkRGBA themed;
    if (gtk_style_context_lookup_color(gtk_widget_get_style_context(widget), "theme_selected_bg_color",
                                       &themed))
        return themed;
    return fallbackColour;
}

}

GtkSelectionBoxView::~GtkSelectionBoxView() {
    if (window) gtk_widget_destroy(window);
}

void GtkSelectionBoxView::show(Rect newBox) {
    if (shown && newBox == box) return;
    if (!window) make();
    box = newBox;
    place();
    if (!shown) {
        gtk_widget_realize(window);
        applyShapes();
        // Mapped on top of every window there is now, as an unmanaged window is.
        gtk_widget_show(window);
    }
    shown = true;
}

void GtkSelectionBoxView::hide() {
    shown = false;
    if (window) gtk_widget_hide(window);
}

std::optional<Rect> GtkSelectionBoxView::shownBox() const {
    if (!shown) return std::nullopt;
    return box;
}

void GtkSelectionBoxView::make() {
    window = gtk_window_new(GTK_WINDOW_POPUP);
    GtkWindow* w = GTK_WINDOW(window);
    gtk_window_set_title(w, "Selection");
    // Drag feedback: compositors draw it without a shadow or an opening animation.
    gtk_window_set_type_hint(w, GDK_WINDOW_TYPE_HINT_DND);
    gtk_window_set_accept_focus(w, FALSE);
    gtk_window_set_focus_on_map(w, FALSE);
    gtk_widget_set_app_paintable(window, TRUE);
    if (GdkVisual* rgba = gdk_screen_get_rgba_visual(gtk_widget_get_screen(window)))
        gtk_widget_set_visual(window, rgba);
    g_signal_connect(window, "draw", G_CALLBACK(+[](GtkWidget*, cairo_t* cr, GtkSelectionBoxView* self) {
                         self->draw(cr);
                         return TRUE;
                     }),
                     this);
    // Set on the widget too: GTK puts the widget's own input shape back on realizing it.
    RegionPtr nothing = emptyRegion();
    gtk_widget_input_shape_combine_region(window, nothing.get());
}

// Whole pixels covering the box; never narrower than one, so a box dragged
// straight along one axis still shows as a line.
void GtkSelectionBoxView::place() {
    const int left = rounded(box.x), top = rounded(box.y);
    const int newWidth = std::max(1, rounded(box.x + box.width) - left);
    const int newHeight = std::max(1, rounded(box.y + box.height) - top);
    const bool resized = newWidth != width || newHeight != height;
    width = newWidth;
    height = newHeight;
    gtk_widget_set_size_request(window, width, height);
    gtk_window_resize(GTK_WINDOW(window), width, height);
    gtk_window_move(GTK_WINDOW(window), left, top);
    if (resized) applyShapes();
}

// Clicks go through to whatever lies beneath: the input shape is empty.
// Without a compositing manager the see-through fill would show as a solid
// block, so only the edge is left.
void GtkSelectionBoxView::applyShapes() {
    GdkWindow* gdkWindow = gtk_widget_get_window(window);
    if (!gdkWindow) return;
    RegionPtr nothing = emptyRegion();
    gdk_window_input_shape_combine_region(gdkWindow, nothing.get(), 0, 0);
    if (gdk_screen_is_composited(gtk_widget_get_screen(window))) {
        gdk_window_shape_combine_region(gdkWindow, nullptr, 0, 0);
        return;
    }
    RegionPtr outline = edgeRegion(width, height);
    gdk_window_shape_combine_region(gdkWindow, outline.get(), 0, 0);
}

void GtkSelectionBoxView::draw(cairo_t* cr) const {
    const double w = gtk_widget_get_allocated_width(window);
    const double h = gtk_widget_get_allocated_height(window);
    const GdkRGBA colour = selectionColour(window);
    cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_rgba(cr, colour.red, colour.green, colour.blue, fillAlpha);
    cairo_paint(cr);
    cairo_set_source_rgba(cr, colour.red, colour.green, colour.blue, 1);
    cairo_set_line_width(cr, edge);
    cairo_rectangle(cr, edge / 2.0, edge / 2.0, std::max(0.0, w - edge), std::max(0.0, h - edge));
    cairo_stroke(cr);
}

}
