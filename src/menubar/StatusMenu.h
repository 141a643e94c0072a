#pragma once
#include "menubar/Permissions.h"
#include "platform/StatusItem.h"
#include "registry/Stickies.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace marrowleaf {

// Everything the tray menu shows, gathered afresh for every build.
struct MenuState {
    std::string appName = "Marrowleaf";
    // The desktop in front is one notes live on; not so while a full-screen
    // window is in front.
    bool locationKnown = false;
    bool hiddenHere = false;
    std::vector<Stickies::Listed> here;
    std::vector<Stickies::Snoozed> snoozed;
    bool canUndoDelete = false;
    bool altClickEnabled = true;
    bool loginItemAvailable = false;
    bool loginItemEnabled = false;
    // Alt-click, box selection and the trash drop run; when not, a row leads to why.
    bool desktopFeaturesOn = true;
};

// What the rows do when chosen. A row whose action is empty shows without one.
struct MenuActions {
    std::function<void()> newSticky;
    std::function<void()> toggleHere;
    std::function<void(const std::string& id)> jump;
    std::function<void(const std::string& id)> unsnooze;
    std::function<void()> undoDelete;
    std::function<void()> openNotesFolder;
    std::function<void()> openTrash;
    std::function<void()> toggleAltClick;
    std::function<void()> toggleLoginItem;
    std::function<void()> explainDesktopFeatures;
    std::function<void()> about;
    std::function<void()> leaveTip;
    std::function<void()> quit;
};

// The application's one permanent piece of interface: the note icon in the
// tray and the menu under it. Tray hosts show the menu from a copy they hold,
// without telling the program first, so the menu is rebuilt whenever what it
// shows changes rather than when it opens.
class StatusMenu {
public:
    // Over the registry of the process.
    static StatusMenu& shared();

    explicit StatusMenu(Stickies& registry, Permissions& permissions = Permissions::shared());
    ~StatusMenu();
    StatusMenu(const StatusMenu&) = delete;
    StatusMenu& operator=(const StatusMenu&) = delete;

    // Puts the item in the tray with its menu and keeps the menu current from
    // then on. `quit` ends the application (which saves on the way out).
    void install(std::function<void()> quit);
    // The icon with or without the badge of a waiting update, and its tool tip.
    void setBadge(bool updateAvailable);
    // Rebuilds the menu once the work of this turn of the main queue is done,
    // however often it is asked in that turn.
    void setNeedsRebuild();
    // Builds the menu from what holds now and hands it to the tray.
    void rebuild();

    MenuState state();
    MenuActions actions();
    // The menu for `state`, top to bottom.
    static std::vector<MenuRow> rows(const MenuState& state, const MenuActions& actions);
    // The line the About panel shows under the version.
    static std::string aboutCredits();

    // --- what the rows do that the registry does not
    void openNotesFolder();
    void openTrash();
    void toggleAltClick();
    void toggleLoginItem();
    void showAbout();
    // Also the welcome window's footer: one way to the tip page.
    static void leaveTip();

    static constexpr const char* tipLinkOpenedKey = "TipLinkOpened";
    static constexpr double loginItemMessageSeconds = 1.4;
    // A note's title and its snooze label, between them.
    static constexpr const char* snoozeSeparator = "  \u00b7  ";

private:
    Stickies& registry;
    Permissions& permissions;
    std::function<void()> quitAction;
    bool installed = false;
    bool rebuildPlanned = false;
    // Work posted to the main queue runs only while the menu is there.
    std::shared_ptr<StatusMenu*> self = std::make_shared<StatusMenu*>(this);
};

}
