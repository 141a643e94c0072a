#include "menubar/StatusMenu.h"

#include "geometry/Geo.h"
#include "input/HUD.h"
#include "platform/Defaults.h"
#include "platform/LoginItem.h"
#include "platform/MainQueue.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"
#include "shell/Config.h"
#include "shell/Log.h"
#include "storage/Files.h"
#include "storage/Store.h"

#include <string_view>

namespace marrowleaf {

namespace {

// The keys shown beside the rows that do the same: the global hot keys, and
// the application's own Ctrl+Q.
constexpr const char* newStickyKey = "<Control><Alt>n";
constexpr const char* toggleHereKey = "<Control><Alt>s";
constexpr const char* quitKey = "<Control>q";

// Makes the rows one after another, numbering the ones with an action.
class RowMaker {
public:
    void add(std::string title, std::function<void()> action = {}, std::string key = {}) {
        MenuRow row;
        row.title = std::move(title);
        row.key = std::move(key);
        put(std::move(row), std::move(action));
    }
    // A line that names the rows below it; it does nothing.
    void heading(std::string title) {
        MenuRow row;
        row.title = std::move(title);
        row.enabled = false;
        rows.push_back(std::move(row));
    }
    void indented(std::string title, std::function<void()> action) {
        MenuRow row;
        row.title = std::move(title);
        row.indent = 1;
        put(std::move(row), std::move(action));
    }
    void check(std::string title, bool on, std::function<void()> action) {
        MenuRow row;
        row.title = std::move(title);
        row.check = on ? MenuRow::Check::on : MenuRow::Check::off;
        put(std::move(row), std::move(action));
    }
    void separator() { rows.push_back(MenuRow::line()); }

    std::vector<MenuRow> rows;

private:
    int nextTag = 0;

    void put(MenuRow row, std::function<void()> action) {
        if (action) {
            row.tag = nextTag++;
            row.action = std::move(action);
        }
        rows.push_back(std::move(row));
    }
};

// Binds an action about one note to that note; nothing when there is no action.
std::function<void()> forNote(const std::function<void(const std::string&)>& action, const std::string& id) {
    if (!action) return {};
    return [action, id] { action(id); };
}

// "https://host/path?query" without its scheme: "host/path?query".
std::string withoutScheme(const std::string& url) {
    constexpr std::string_view separator = "://";
    const auto scheme = url.find(separator);
    return scheme == std::string::npos ? url : url.substr(scheme + separator.size());
}

}

StatusMenu& StatusMenu::shared() {
    static StatusMenu* instance = new StatusMenu(Stickies::shared());   // lives for the process
    return *instance;
}

StatusMenu::StatusMenu(Stickies& registry, Permissions& permissions)
    : registry(registry), permissions(permissions) {}

StatusMenu::~StatusMenu() {
    *self = nullptr;
    if (!installed) return;
    registry.setChangeHandler(nullptr);
    permissions.setChangeHandler(nullptr);
}

void StatusMenu::install(std::function<void()> quit) {
    quitAction = std::move(quit);
    StatusItem& item = Platform::statusItem();
    item.install(Config::appName());
    setBadge(false);
    installed = true;
    registry.setChangeHandler([this] { setNeedsRebuild(); });
    permissions.setChangeHandler([this] { setNeedsRebuild(); });
    rebuild();
}

void StatusMenu::setBadge(bool updateAvailable) {
    const std::string name = Config::appName();
    Platform::statusItem().setBadge(updateAvailable, updateAvailable ? name + ": update available" : name);
}

void StatusMenu::setNeedsRebuild() {
    if (!installed || rebuildPlanned) return;
    rebuildPlanned = true;
    Platform::mainQueue().post([weak = std::weak_ptr<StatusMenu*>(self)] {
        auto alive = weak.lock();
        if (!alive || !*alive) return;
        StatusMenu& menu = **alive;
        menu.rebuildPlanned = false;
        menu.rebuild();
    });
}

void StatusMenu::rebuild() { Platform::statusItem().show(rows(state(), actions())); }

MenuState StatusMenu::state() {
    const Geo::Held screens;
    MenuState s;
    s.appName = Config::appName();
    if (auto location = registry.currentLocation()) {
        s.locationKnown = true;
        s.hiddenHere = registry.hiddenHere(*location);
        s.here = registry.here();
    }
    s.snoozed = registry.snoozed();
    s.canUndoDelete = registry.canUndoDelete();
    s.altClickEnabled = Config::altClickEnabled();
    const LoginItem& login = Platform::loginItem();
    s.loginItemAvailable = login.available();
    s.loginItemEnabled = s.loginItemAvailable && login.enabled();
    // Nothing is said about the desktop features before they were looked for.
    s.desktopFeaturesOn = permissions.trusted() || !permissions.started();
    return s;
}

MenuActions StatusMenu::actions() {
    MenuActions a;
    a.newSticky = [this] { registry.newSticky(Stickies::Placement::screen); };
    a.toggleHere = [this] { registry.toggleHere(); };
    a.jump = [this](const std::string& id) { registry.jump(id, false); };
    a.unsnooze = [this](const std::string& id) { registry.unsnooze(id); };
    a.undoDelete = [this] { registry.undoDelete(); };
    a.openNotesFolder = [this] { openNotesFolder(); };
    a.openTrash = [this] { openTrash(); };
    a.toggleAltClick = [this] { toggleAltClick(); };
    a.toggleLoginItem = [this] { toggleLoginItem(); };
    a.explainDesktopFeatures = [this] { permissions.showWelcome(); };
    a.about = [this] { showAbout(); };
    a.leaveTip = [this] { leaveTip(); };
    a.quit = [this] {
        if (quitAction) quitAction();
    };
    return a;
}

std::vector<MenuRow> StatusMenu::rows(const MenuState& state, const MenuActions& actions) {
    RowMaker menu;
    // An update waiting and the tip nudge each put a line and a separator here.

    if (state.locationKnown) {
        menu.add("New Sticky", actions.newSticky, newStickyKey);
        menu.add(state.hiddenHere ? "Show Stickies on This Desktop" : "Hide Stickies on This Desktop",
                 actions.toggleHere, toggleHereKey);
        // Searching the notes goes here, with Ctrl+Alt+L.
        menu.separator();
        if (state.here.empty()) {
            menu.heading("No stickies on this desktop");
        } else {
            menu.heading("On This Desktop");
            for (const auto& note : state.here)
                menu.indented(note.title, forNote(actions.jump, note.id));
        }
    } else {
        menu.heading("Full-screen app: stickies live on desktops");
        // Searching the notes goes here too: it works over a full-screen window.
    }

    if (!state.snoozed.empty()) {
        menu.separator();
        menu.heading("Snoozed (click to bring back)");
        for (const auto& note : state.snoozed)
            menu.indented(note.title + snoozeSeparator + note.label, forNote(actions.unsnooze, note.id));
    }

    menu.separator();
    if (state.canUndoDelete) menu.add("Undo Delete", actions.undoDelete);
    menu.add("Open Stickies Folder", actions.openNotesFolder);
    menu.add("Open Trash", actions.openTrash);

    menu.separator();
    menu.check("Alt-Click Desktop for New Sticky", state.altClickEnabled, actions.toggleAltClick);
    if (state.loginItemAvailable)
        menu.check("Open at Login", state.loginItemEnabled, actions.toggleLoginItem);
    if (!state.desktopFeaturesOn)
        menu.add("\u26a0\ufe0f Desktop Features Unavailable\u2026", actions.explainDesktopFeatures);

    menu.separator();
    menu.add("About " + state.appName, actions.about);
    menu.add("Leave a Tip\u2026", actions.leaveTip);
    // Checking for updates and installing them automatically go here.
    menu.add("Quit " + state.appName, actions.quit, quitKey);
    return std::move(menu.rows);
}

std::string StatusMenu::aboutCredits() {
    return "Free, always. Leave a tip at " + withoutScheme(Config::supportURL());
}

void StatusMenu::openNotesFolder() { Platform::workspace().openFolder(Config::notesDir()); }

void StatusMenu::openTrash() {
    const auto trash = Config::notesDir() / Store::trashFolderName;
    // A trash folder that can't be made is still asked for: the file browser says what is wrong.
    (void)Store::files().createDirectories(trash);
    Platform::workspace().openFolder(trash);
}

void StatusMenu::toggleAltClick() {
    Platform::defaults().setFlag(Config::altClickKey, !Config::altClickEnabled());
    setNeedsRebuild();
}

void StatusMenu::toggleLoginItem() {
    LoginItem& login = Platform::loginItem();
    const Files::Result result = login.setEnabled(!login.enabled());
    if (result.failed()) {
        Log::error("login item: " + result.reason());
        HUD::show("Couldn't change login item", loginItemMessageSeconds);
    }
    // The check mark follows what the login item reports, changed or not.
    setNeedsRebuild();
}

void StatusMenu::showAbout() {
    Platform::workspace().activate();
    Platform::statusItem().showAbout({Config::appName(), Config::version(), aboutCredits()});
}

void StatusMenu::leaveTip() {
    Platform::defaults().setFlag(tipLinkOpenedKey, true);
    Platform::workspace().openURL(Config::supportURL());
}

}
