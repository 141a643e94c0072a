#include "platform/linux/GtkWelcomeView.h"

#include "platform/linux/GObjectPtr.h"
#include "platform/linux/GtkIcons.h"

#include <gdk/gdkx.h>
#include <gtk/gtk.h>

namespace marrowleaf {

namespace {

constexpr int margin = 20;
constexpr int spacing = 12;
constexpr int headerIconSize = 30;
constexpr int keyIconSize = 16;
constexpr int keyIconColumn = 18;
constexpr const char* noteIcon = "marrowleaf-note-symbolic";
constexpr const char* noteIconFallback = "document-edit-symbolic";
constexpr GdkRGBA noteYellow{0.96, 0.76, 0.07, 1.0};
constexpr std::string_view boldMark = "**";
constexpr const char* footerStyle = "button { padding-left: 0; padding-right: 0; }";

std::string escaped(std::string_view text) {
    const GCharPtr escapedText(g_markup_escape_text(text.data(), static_cast<gssize>(text.size())));
    return escapedText.get();
}

// A label that wraps to the width its box gives it, left-aligned.
GtkWidget* paragraph(const std::string& markupText) {
    GtkWidget* label = gtk_label_new(nullptr);
    gtk_label_set_markup(GTK_LABEL(label), markupText.c_str());
    gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
    // A small natural width lets the window's width, not the text's, decide where lines break.
    gtk_label_set_max_width_chars(GTK_LABEL(label), 1);
    gtk_label_set_xalign(GTK_LABEL(label), 0);
    return label;
}

GtkWidget* noteImage() {
    if (auto pixbuf = GtkIcons::symbolic(noteIcon, noteIconFallback, headerIconSize, noteYellow))
        return gtk_image_new_from_pixbuf(pixbuf.get());
    return gtk_image_new_from_icon_name(noteIconFallback, GTK_ICON_SIZE_DND);
}

GtkWidget* keyRows(const std::vector<WelcomeContent::KeyRow>& keys) {
    GtkWidget* grid = gtk_grid_new();
    gtk_grid_set_column_spacing(GTK_GRID(grid), 8);
    gtk_grid_set_row_spacing(GTK_GRID(grid), 6);
    int row = 0;
    for (const auto& key : keys) {
        GtkWidget* icon = gtk_image_new_from_icon_name(key.icon.c_str(), GTK_ICON_SIZE_MENU);
        gtk_image_set_pixel_size(GTK_IMAGE(icon), keyIconSize);
        gtk_widget_set_size_request(icon, keyIconColumn, -1);
        GtkWidget* combination = gtk_label_new(nullptr);
        gtk_label_set_markup(GTK_LABEL(combination), ("<b>" + escaped(key.keys) + "</b>").c_str());
        gtk_label_set_xalign(GTK_LABEL(combination), 0);
        GtkWidget* description = gtk_label_new(key.description.c_str());
        gtk_label_set_xalign(GTK_LABEL(description), 0);
        gtk_grid_attach(GTK_GRID(grid), icon, 0, row, 1, 1);
        gtk_grid_attach(GTK_GRID(grid), combination, 1, row, 1, 1);
        gtk_grid_attach(GTK_GRID(grid), description, 2, row, 1, 1);
        ++row;
    }
    return grid;
}

void connectClick(GtkWidget* button, void (*handler)(GtkButton*, gpointer), gpointer data) {
    g_signal_connect(button, "clicked", G_CALLBACK(handler), data);
}

}

GtkWelcomeView::GtkWelcomeView(std::optional<std::filesystem::path> icons) : icons(std::move(icons)) {}

GtkWelcomeView::~GtkWelcomeView() {
    if (window) gtk_widget_destroy(window);
}

std::string GtkWelcomeView::markup(const std::string& text) {
    std::string result;
    bool bold = false;
    std::size_t from = 0;
    for (auto mark = text.find(boldMark); mark != std::string::npos; mark = text.find(boldMark, from)) {
        result += escaped(std::string_view(text).substr(from, mark - from));
        result += bold ? "</b>" : "<b>";
        bold = !bold;
        from = mark + boldMark.size();
    }
    result += escaped(std::string_view(text).substr(from));
    if (bold) result += "</b>";
    return result;
}

void GtkWelcomeView::show(const WelcomeContent& content, WelcomeActions newActions) {
    actions = std::move(newActions);
    if (!window) build(content);
    present();
}

void GtkWelcomeView::close() {
    if (window) gtk_widget_hide(window);
}

bool GtkWelcomeView::isOpen() const { return window && gtk_widget_get_visible(window); }

void GtkWelcomeView::build(const WelcomeContent& content) {
    GtkIcons::addFolder(icons);
    window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWindow* w = GTK_WINDOW(window);
    gtk_window_set_title(w, content.title.c_str());
    gtk_window_set_resizable(w, FALSE);
    gtk_window_set_position(w, GTK_WIN_POS_CENTER);
    // Closed from the title bar, it is hidden and kept for the next time.
    g_signal_connect(window, "delete-event", G_CALLBACK(gtk_widget_hide_on_delete), nullptr);
    g_signal_connect(window, "key-press-event",
                     G_CALLBACK(+[](GtkWidget*, GdkEventKey* event, GtkWelcomeView* self) -> gboolean {
                         if (event->keyval != GDK_KEY_Escape) return FALSE;
                         self->run(self->actions.later);
                         return TRUE;
                     }),
                     this);

    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, spacing);
    gtk_container_set_border_width(GTK_CONTAINER(box), margin);
    gtk_widget_set_size_request(box, width, -1);   // the border is inside
    gtk_box_pack_start(GTK_BOX(box), header(content), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), paragraph("<b>" + escaped(content.headline) + "</b>"), FALSE, FALSE, 0);
    for (const auto& text : content.paragraphs)
        gtk_box_pack_start(GTK_BOX(box), paragraph(markup(text)), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), keyRows(content.keys), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), footer(content), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), buttons(content), FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_widget_show_all(box);
}

GtkWidget* GtkWelcomeView::header(const WelcomeContent& content) const {
    GtkWidget* row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 10);
    GtkWidget* title = gtk_label_new(nullptr);
    gtk_label_set_markup(GTK_LABEL(title),
                         ("<span size=\"x-large\" weight=\"bold\">" + escaped(content.title) + "</span>").c_str());
    gtk_box_pack_start(GTK_BOX(row), noteImage(), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(row), title, FALSE, FALSE, 0);
    return row;
}

// The footer reads as a link: a flat button in the theme's link colour, its
// text in line with the paragraphs above.
GtkWidget* GtkWelcomeView::footer(const WelcomeContent& content) {
    GtkWidget* link = gtk_button_new_with_label(content.footer.c_str());
    gtk_button_set_relief(GTK_BUTTON(link), GTK_RELIEF_NONE);
    gtk_widget_set_state_flags(link, GTK_STATE_FLAG_LINK, FALSE);
    GObjectPtr<GtkCssProvider> flush(gtk_css_provider_new());
    gtk_css_provider_load_from_data(flush.get(), footerStyle, -1, nullptr);
    gtk_style_context_add_provider(gtk_widget_get_style_context(link), GTK_STYLE_PROVIDER(flush.get()),
                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    gtk_widget_set_halign(link, GTK_ALIGN_START);
    connectClick(link, +[](GtkButton*, gpointer self) {
        auto* view = static_cast<GtkWelcomeView*>(self);
        view->run(view->actions.footer);
    }, this);
    return link;
}

GtkWidget* GtkWelcomeView::buttons(const WelcomeContent& content) {
    GtkWidget* row = gtk_button_box_new(GTK_ORIENTATION_HORIZONTAL);
    gtk_button_box_set_layout(GTK_BUTTON_BOX(row), GTK_BUTTONBOX_END);
    gtk_box_set_spacing(GTK_BOX(row), 8);
    GtkWidget* later = gtk_button_new_with_label(content.laterButton.c_str());
    GtkWidget* allow = gtk_button_new_with_label(content.allowButton.c_str());
    connectClick(later, +[](GtkButton*, gpointer self) {
        auto* view = static_cast<GtkWelcomeView*>(self);
        view->run(view->actions.later);
    }, this);
    connectClick(allow, +[](GtkButton*, gpointer self) {
        auto* view = static_cast<GtkWelcomeView*>(self);
        view->run(view->actions.allow);
    }, this);
    gtk_style_context_add_class(gtk_widget_get_style_context(allow), GTK_STYLE_CLASS_SUGGESTED_ACTION);
    gtk_container_add(GTK_CONTAINER(row), later);
    gtk_container_add(GTK_CONTAINER(row), allow);
    // Return presses it, and it has the keyboard when the window opens.
    gtk_widget_set_can_default(allow, TRUE);
    gtk_window_set_default(GTK_WINDOW(window), allow);
    gtk_window_set_focus(GTK_WINDOW(window), allow);
    return row;
}

// Shown by a timer or a tray menu there may be no event to stamp the request
// with; the server's time keeps the window manager from refusing the focus.
void GtkWelcomeView::present() {
    gtk_widget_realize(window);
    guint32 time = gtk_get_current_event_time();
    GdkWindow* gdkWindow = gtk_widget_get_window(window);
    if (time == GDK_CURRENT_TIME && gdkWindow && GDK_IS_X11_WINDOW(gdkWindow))
        time = gdk_x11_get_server_time(gdkWindow);
    gtk_window_present_with_time(GTK_WINDOW(window), time);
}

void GtkWelcomeView::run(std::function<void()> action) {
    if (action) action();
}

}
