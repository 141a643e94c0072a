#include "platform/linux/GtkHudView.h"

#include <cmath>
#include <gtk/gtk.h>

namespace marrowleaf {

namespace {

constexpr const char* messageFont = "Sans Medium 17px";
constexpr double cornerRadius = 14;
constexpr double backgroundAlpha = 0.78;
constexpr int animationStepMs = 16;

PangoLayout* messageLayout(PangoContext* context, const std::string& text) {
    PangoLayout* layout = pango_layout_new(context);
    PangoFontDescription* font = pango_font_description_from_string(messageFont);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);
    pango_layout_set_text(layout, text.c_str(), -1);
    return layout;
}

void roundedRectangle(cairo_t* cr, double width, double height, double radius) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, width - radius, radius, radius, -M_PI / 2, 0);
    cairo_arc(cr, width - radius, height - radius, radius, 0, M_PI / 2);
    cairo_arc(cr, radius, height - radius, radius, M_PI / 2, M_PI);
    cairo_arc(cr, radius, radius, radius, M_PI, 3 * M_PI / 2);
    cairo_close_path(cr);
}

class GtkHudPill : public HudPill {
public:
    GtkHudPill(const std::string& text, Rect frame, Size padding) : text(text), padding(padding) {
        window = gtk_window_new(GTK_WINDOW_POPUP);
        gtk_window_set_type_hint(GTK_WINDOW(window), GDK_WINDOW_TYPE_HINT_NOTIFICATION);
        gtk_window_set_accept_focus(GTK_WINDOW(window), FALSE);
        gtk_widget_set_app_paintable(window, TRUE);
        if (GdkVisual* rgba = gdk_screen_get_rgba_visual(gtk_widget_get_screen(window)))
            gtk_widget_set_visual(window, rgba);
        gtk_window_move(GTK_WINDOW(window), static_cast<int>(std::lround(frame.x)),
                        static_cast<int>(std::lround(frame.y)));
        gtk_window_set_default_size(GTK_WINDOW(window), static_cast<int>(std::ceil(frame.width)),
                                    static_cast<int>(std::ceil(frame.height)));
        gtk_widget_set_size_request(window, static_cast<int>(std::ceil(frame.width)),
                                    static_cast<int>(std::ceil(frame.height)));
        g_signal_connect(window, "draw", G_CALLBACK(+[](GtkWidget* widget, cairo_t* cr, GtkHudPill* self) {
                             self->draw(widget, cr);
                             return TRUE;
                         }),
                         this);
        // Clicks go through to whatever lies beneath. Set on the widget, not its
        // GDK window: GTK puts the widget's own input shape back on realizing it.
        cairo_region_t* nothing = cairo_region_create();
        gtk_widget_input_shape_combine_region(window, nothing);
        cairo_region_destroy(nothing);
    }

    ~GtkHudPill() override {
        stopAnimation();
        gtk_widget_destroy(window);
    }

    void fadeIn(double seconds) override {
        gtk_widget_set_opacity(window, 0);
        gtk_widget_show_all(window);
        animate(0, 1, seconds, false);
    }

    void fadeOut(double seconds) override { animate(gtk_widget_get_opacity(window), 0, seconds, true); }

    void orderOut() override {
        stopAnimation();
        gtk_widget_hide(window);
    }

private:
    GtkWidget* window;
    std::string text;
    Size padding;
    guint animation = 0;
    gint64 animationStart = 0;
    double from = 0, to = 1, duration = 0;
    bool hideAtEnd = false;

    void draw(GtkWidget* widget, cairo_t* cr) {
        const double width = gtk_widget_get_allocated_width(widget);
        const double height = gtk_widget_get_allocated_height(widget);
        cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
        cairo_set_source_rgba(cr, 0, 0, 0, 0);
        cairo_paint(cr);
        cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
        roundedRectangle(cr, width, height, cornerRadius);
        cairo_set_source_rgba(cr, 0.11, 0.11, 0.12, backgroundAlpha);
        cairo_fill(cr);

        PangoLayout* layout = messageLayout(gtk_widget_get_pango_context(widget), text);
        int textWidth = 0, textHeight = 0;
        pango_layout_get_pixel_size(layout, &textWidth, &textHeight);
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_move_to(cr, (width - textWidth) / 2, padding.height);
        pango_cairo_show_layout(cr, layout);
        g_object_unref(layout);
    }

    void animate(double start, double end, double seconds, bool hide) {
        stopAnimation();
        from = start;
        to = end;
        duration = seconds;
        hideAtEnd = hide;
        animationStart = g_get_monotonic_time();
        animation = g_timeout_add(animationStepMs, +[](gpointer data) -> gboolean {
            return static_cast<GtkHudPill*>(data)->step();
        }, this);
    }

    gboolean step() {
        const double elapsed = static_cast<double>(g_get_monotonic_time() - animationStart) / 1e6;
        const double t = duration > 0 ? std::min(1.0, elapsed / duration) : 1.0;
        gtk_widget_set_opacity(window, from + (to - from) * t);
        if (t < 1.0) return G_SOURCE_CONTINUE;
        animation = 0;
        if (hideAtEnd) gtk_widget_hide(window);
        return G_SOURCE_REMOVE;
    }

    void stopAnimation() {
        if (animation) g_source_remove(animation);
        animation = 0;
    }
};

}

Size GtkHudView::textSize(const std::string& text) {
    PangoFontMap* fonts = pango_cairo_font_map_get_default();
    PangoContext* context = pango_font_map_create_context(fonts);
    PangoLayout* layout = messageLayout(context, text);
    int width = 0, height = 0;
    pango_layout_get_pixel_size(layout, &width, &height);
    g_object_unref(layout);
    g_object_unref(context);
    return {static_cast<double>(width), static_cast<double>(height)};
}

std::unique_ptr<HudPill> GtkHudView::makePill(const std::string& text, Rect frame, Size padding) {
    return std::make_unique<GtkHudPill>(text, frame, padding);
}

}
