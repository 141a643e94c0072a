#include "platform/linux/GtkIcons.h"

#include <gtk/gtk.h>

#include <cstring>

namespace marrowleaf {

namespace {

bool onSearchPath(GtkIconTheme* theme, const std::string& folder) {
    gchar** paths = nullptr;
    gint count = 0;
    gtk_icon_theme_get_search_path(theme, &paths, &count);
    const GStrvPtr owned(paths);
    for (gint i = 0; i < count; ++i)
        if (folder == paths[i]) return true;
    return false;
}

GObjectPtr<GdkPixbuf> drawn(const std::string& name, int size, const GdkRGBA& colour) {
    GObjectPtr<GtkIconInfo> info(
        gtk_icon_theme_lookup_icon(gtk_icon_theme_get_default(), name.c_str(), size, GTK_ICON_LOOKUP_FORCE_SIZE));
    if (!info) return nullptr;
    return GObjectPtr<GdkPixbuf>(
        gtk_icon_info_load_symbolic(info.get(), &colour, nullptr, nullptr, nullptr, nullptr, nullptr));
}

}

void GtkIcons::addFolder(const std::optional<std::filesystem::path>& folder) {
    if (!folder) return;
    GtkIconTheme* theme = gtk_icon_theme_get_default();
    if (!onSearchPath(theme, folder->string())) gtk_icon_theme_append_search_path(theme, folder->c_str());
}

GObjectPtr<GdkPixbuf> GtkIcons::symbolic(const std::string& name, const std::string& fallback, int size,
                                         const GdkRGBA& colour) {
    if (auto icon = drawn(name, size, colour)) return icon;
    return drawn(fallback, size, colour);
}

}
