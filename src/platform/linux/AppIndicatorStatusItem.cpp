#include "platform/linux/AppIndicatorStatusItem.h"

#include "shell/Log.h"

#include <algorithm>
#include <libayatana-appindicator/app-indicator.h>

namespace marrowleaf {

namespace {

// Tray hosts find items through this name on the session bus.
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr int aboutLogoSize = 96;

// What a menu item remembers of the row it was made from.
struct Choice {
    AppIndicatorStatusItem* item;
    unsigned build;
    int tag;
};

void onActivate(GtkMenuItem*, gpointer data) {
    const auto* choice = static_cast<const Choice*>(data);
    choice->item->run(choice->build, choice->tag);
}

void freeChoice(gpointer data, GClosure*) { delete static_cast<Choice*>(data); }

void onTrayAppeared(GDBusConnection*, const gchar*, const gchar*, gpointer item) {
    static_cast<AppIndicatorStatusItem*>(item)->trayPresent(true);
}

void onTrayVanished(GDBusConnection*, const gchar*, gpointer item) {
    static_cast<AppIndicatorStatusItem*>(item)->trayPresent(false);
}

void onAboutResponse(GtkDialog* dialog, gint, gpointer) { gtk_widget_destroy(GTK_WIDGET(dialog)); }

void onAboutDestroyed(GtkWidget*, gpointer slot) { *static_cast<GtkWidget**>(slot) = nullptr; }

GtkWidget* menuItem(const MenuRow& row, GtkAccelGroup* accelerators) {
    if (row.separator) return gtk_separator_menu_item_new();
    std::string label;
    for (int level = 0; level < row.indent; ++level)
        label += AppIndicatorStatusItem::indentText;
    label += row.title;
    GtkWidget* item = row.check == MenuRow::Check::none ? gtk_menu_item_new_with_label(label.c_str())
                                                        : gtk_check_menu_item_new_with_label(label.c_str());
    // Setting the check activates the item: done before any handler is connected.
    if (row.check != MenuRow::Check::none)
        gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item), row.check == MenuRow::Check::on);
    if (!row.key.empty()) {
        guint key = 0;
        GdkModifierType modifiers{};
        gtk_accelerator_parse(row.key.c_str(), &key, &modifiers);
        // The menu's copy on the bus takes the key from the item's accelerator,
        // and the label shows it; the keys themselves are the global hot keys.
        if (key != 0)
            gtk_widget_add_accelerator(item, "activate", accelerators, key, modifiers, GTK_ACCEL_VISIBLE);
    }
    gtk_widget_set_sensitive(item, row.enabled);
    return item;
}

}

AppIndicatorStatusItem::AppIndicatorStatusItem(std::optional<std::filesystem::path> icons)
    : icons(std::move(icons)) {}

AppIndicatorStatusItem::~AppIndicatorStatusItem() {
    if (trayWatch) g_bus_unwatch_name(trayWatch);
    if (about) gtk_widget_destroy(about);
    if (menu) {
        gtk_widget_destroy(menu);
        g_object_unref(menu);
    }
}

std::string AppIndicatorStatusItem::icon(bool badge) const {
    if (!icons) return stockIconName;
    return badge ? badgeIconName : iconName;
}

void AppIndicatorStatusItem::install(const std::string& itemName) {
    if (indicator) return;
    name = itemName;
    if (icons) {
        // The About panel finds the same icons through GTK's icon theme.
        gtk_icon_theme_append_search_path(gtk_icon_theme_get_default(), icons->c_str());
    } else {
        Log::warn("the program's icons are not beside it; the tray shows a stock icon");
    }
    accelerators.reset(gtk_accel_group_new());
    indicator.reset(
        app_indicator_new(itemId, icon(false).c_str(), APP_INDICATOR_CATEGORY_APPLICATION_STATUS));
    if (icons) app_indicator_set_icon_theme_path(indicator.get(), icons->c_str());
    app_indicator_set_title(indicator.get(), name.c_str());
    app_indicator_set_status(indicator.get(), APP_INDICATOR_STATUS_ACTIVE);
    // The library registers with the watcher whenever one starts; this only
    // tells the log whether there is one to show the item.
    trayWatch = g_bus_watch_name(G_BUS_TYPE_SESSION, watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
                                 onTrayAppeared, onTrayVanished, this, nullptr);
}

void AppIndicatorStatusItem::trayPresent(bool present) {
    if (trayWasPresent == present) return;
    if (!present && !trayWasPresent)
        Log::info("no tray on this desktop (nothing owns " + std::string(watcherName) +
                  "); the tray menu shows once one starts");
    else if (present && trayWasPresent == false)
        Log::info("a tray started; the tray menu shows in it");
    trayWasPresent = present;
}

void AppIndicatorStatusItem::setBadge(bool updateAvailable, const std::string& tooltip) {
    if (!indicator) return;
    app_indicator_set_icon_full(indicator.get(), icon(updateAvailable).c_str(), name.c_str());
    app_indicator_set_title(indicator.get(), tooltip.c_str());
}

bool AppIndicatorStatusItem::showsAlready(const std::vector<MenuRow>& rows) const {
    return menu && rows.size() == shown.size() &&
           std::equal(rows.begin(), rows.end(), shown.begin(),
                      [](const MenuRow& row, const MenuRow& old) { return row.looksLike(old); });
}

void AppIndicatorStatusItem::takeActions(std::vector<MenuRow>& rows) {
    actions.clear();
    shown.clear();
    for (auto& row : rows) {
        if (row.tag >= 0 && row.action) {
            if (actions.size() <= static_cast<std::size_t>(row.tag))
                actions.resize(static_cast<std::size_t>(row.tag) + 1);
            actions[static_cast<std::size_t>(row.tag)] = std::move(row.action);
        }
        shown.push_back(row);
        shown.back().action = nullptr;
    }
}

void AppIndicatorStatusItem::show(std::vector<MenuRow> rows) {
    if (!indicator) return;
    // A menu that looks the same keeps its items, so the tray host's copy
    // stays valid and a click on it is never lost to a rebuild; only what
    // the rows do is taken anew.
    if (showsAlready(rows)) {
        takeActions(rows);
        return;
    }
    ++build;
    GtkWidget* fresh = gtk_menu_new();
    g_object_ref_sink(fresh);
    for (const auto& row : rows) {
        GtkWidget* item = menuItem(row, accelerators.get());
        if (row.tag >= 0 && row.action)
            g_signal_connect_data(item, "activate", G_CALLBACK(onActivate), new Choice{this, build, row.tag},
                                  freeChoice, GConnectFlags{});
        gtk_menu_shell_append(GTK_MENU_SHELL(fresh), item);
    }
    takeActions(rows);
    gtk_widget_show_all(fresh);
    app_indicator_set_menu(indicator.get(), GTK_MENU(fresh));
    if (menu) {
        gtk_widget_destroy(menu);
        g_object_unref(menu);
    }
    menu = fresh;
}

void AppIndicatorStatusItem::run(unsigned itemBuild, int tag) {
    if (itemBuild != build || tag < 0 || static_cast<std::size_t>(tag) >= actions.size()) return;
    // A copy: the action may replace the menu and its actions.
    const std::function<void()> action = actions[static_cast<std::size_t>(tag)];
    if (action) action();
}

void AppIndicatorStatusItem::showAbout(const AboutInfo& info) {
    if (about) {
        gtk_window_present(GTK_WINDOW(about));
        return;
    }
    about = gtk_about_dialog_new();
    GtkAboutDialog* dialog = GTK_ABOUT_DIALOG(about);
    gtk_about_dialog_set_program_name(dialog, info.name.c_str());
    gtk_about_dialog_set_version(dialog, info.version.c_str());
    gtk_about_dialog_set_comments(dialog, info.credits.c_str());
    // The icon drawn at the logo's size: the icon file is drawn for a tray.
    GObjectPtr<GdkPixbuf> logo(gtk_icon_theme_load_icon(gtk_icon_theme_get_default(), icon(false).c_str(),
                                                        aboutLogoSize, GTK_ICON_LOOKUP_FORCE_SIZE, nullptr));
    if (logo)
        gtk_about_dialog_set_logo(dialog, logo.get());
    else
        gtk_about_dialog_set_logo_icon_name(dialog, icon(false).c_str());
    gtk_window_set_icon_name(GTK_WINDOW(about), icon(false).c_str());
    gtk_window_set_keep_above(GTK_WINDOW(about), TRUE);
    gtk_window_set_position(GTK_WINDOW(about), GTK_WIN_POS_CENTER);
    g_signal_connect(about, "response", G_CALLBACK(onAboutResponse), nullptr);
    g_signal_connect(about, "destroy", G_CALLBACK(onAboutDestroyed), &about);
    gtk_window_present(GTK_WINDOW(about));
}

}
