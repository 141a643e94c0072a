#pragma once
#include "platform/StatusItem.h"
#include "platform/linux/GObjectPtr.h"

#include <gtk/gtk.h>

#include <filesystem>
#include <optional>

typedef struct _AppIndicator AppIndicator;

namespace marrowleaf {

// The tray item as a StatusNotifierItem (libayatana-appindicator): the tray
// host draws the icon and shows the menu from a copy sent over the session
// bus, so every build of the menu is sent as a whole. Without a tray on the
// bus the item waits, and shows as soon as one starts.
class AppIndicatorStatusItem : public StatusItem {
public:
    // `icons` holds the program's own icons; without it a stock icon stands in.
    explicit AppIndicatorStatusItem(std::optional<std::filesystem::path> icons);
    ~AppIndicatorStatusItem() override;
    AppIndicatorStatusItem(const AppIndicatorStatusItem&) = delete;
    AppIndicatorStatusItem& operator=(const AppIndicatorStatusItem&) = delete;

    void install(const std::string& name) override;
    void setBadge(bool updateAvailable, const std::string& tooltip) override;
    void show(std::vector<MenuRow> rows) override;
    void showAbout(const AboutInfo& about) override;

    // Runs the action tagged `tag` of build `build` of the menu; nothing once
    // that build was replaced.
    void run(unsigned build, int tag);
    // The tray's watcher came or went on the session bus.
    void trayPresent(bool present);

    // The item's id on the bus; its menu is at /org/ayatana/NotificationItem/<id>/Menu.
    static constexpr const char* itemId = "marrowleaf";
    static constexpr const char* iconName = "marrowleaf-note-symbolic";
    static constexpr const char* badgeIconName = "marrowleaf-note-update-symbolic";
    static constexpr const char* stockIconName = "text-x-generic-symbolic";
    // What a row's indent level puts before its title (the host draws the label as it is).
    static constexpr const char* indentText = "    ";

private:
    std::optional<std::filesystem::path> icons;
    std::string name;
    GObjectPtr<AppIndicator> indicator;
    GtkWidget* menu = nullptr;   // ours, sunk; destroyed when replaced
    GObjectPtr<GtkAccelGroup> accelerators;
    std::vector<std::function<void()>> actions;
    unsigned build = 0;
    // The rows the menu shows, without their actions.
    std::vector<MenuRow> shown;

    bool showsAlready(const std::vector<MenuRow>& rows) const;
    void takeActions(std::vector<MenuRow>& rows);
    guint trayWatch = 0;
    std::optional<bool> trayWasPresent;
    GtkWidget* about = nullptr;   // the About panel while it is open

    std::string icon(bool badge) const;
};

}
