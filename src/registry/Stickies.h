#pragma once
#include "geometry/Rect.h"
#include "platform/MainQueue.h"
#include "platform/WindowServer.h"
#include "registry/Locations.h"
#include "registry/MissingNotes.h"
#include "registry/PageSchedule.h"
#include "registry/UnsavedNotes.h"
#include "storage/Model.h"
#include "window/StickyController.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace marrowleaf {

class FileWatcher;
class Subscription;

// The one owner of every note while the program runs. It reconciles the note
// files (the notes' text), the state file (where and how each note shows) and
// the windows on screen, and carries out what the pages ask for.
class Stickies {
public:
    using Location = marrowleaf::Location;

    // A sleeping note as menus list it.
    struct Snoozed {
        std::string id;
        std::string title;
        std::string label;

        bool operator==(const Snoozed&) const = default;
    };

    // Where a new note goes: centred under the pointer (the hot key), just
    // below-right of a click on the desktop, or centred high on the screen
    // under the pointer (the tray menu).
    enum class Placement { mouse, desktopClick, screen };

    // The look a new note takes from its nearest neighbour.
    struct Template {
        std::string color;
        double width = 0;
        double height = 0;

        bool operator==(const Template&) const = default;
    };

    // A note as a menu lists it.
    struct Listed {
        std::string id;
        std::string title;

        bool operator==(const Listed&) const = default;
    };

    // The part of a note a point lies on: the header strip left of its
    // buttons, which moves it; the bottom-right grip, which resizes it; or
    // anything else inside it.
    enum class Part { drag, resize, body };

    struct Hit {
        std::string id;
        Part part = Part::body;

        bool operator==(const Hit&) const = default;
    };

    // A note as the search panel lists it.
    struct SearchItem {
        std::string id;
        std::string title;
        std::string detail;   // where it is (or until when it sleeps), "  ·  ", the start of its text
        bool snoozed = false;

        bool operator==(const SearchItem&) const = default;
    };

    static Stickies& shared();

    Stickies();
    ~Stickies();
    Stickies(const Stickies&) = delete;
    Stickies& operator=(const Stickies&) = delete;

    // --- start-up and sync with the folder
    void start();
    void sync();
    void refresh();
    void openSticky(const std::string& id, const std::string& content, bool editNow);
    void commitFrames(const std::vector<std::string>& ids);
    bool anyOnScreen();
    // Writes the state once more and any note text still waiting for the disk.
    void saveAll();

    // --- page messages
    void handle(StickyController& controller, const std::string& type, const nlohmann::json& body);

    // --- places
    std::optional<Location> currentLocation();
    std::optional<Location> resolve(const Record& record);
    bool hiddenHere(const Location& location) const;
    // The notes of the desktop in front, awake, oldest first.
    std::vector<Listed> here();
    Template templateFor(Point point);
    // Makes a note, shows it and gives it the keyboard to type into.
    void newSticky(Placement placement);
    // Frames of the notes on screen, but those named.
    std::vector<Rect> neighbours(const std::set<std::string>& excluding);

    // --- visibility and jumping
    // Hides the notes of the desktop in front, or shows them again.
    void toggleHere();
    // Shows the note's desktop and brings the note forward with the keyboard;
    // `flash` makes it pulse so the eye finds it.
    void jump(const std::string& id, bool flash);
    // A note chosen in the search panel: woken when asleep, else jumped to.
    void pick(const std::string& id);

    // --- search
    std::vector<SearchItem> searchItems();

    // --- selection
    // The frontmost note on screen under the point, and which part of it.
    std::optional<Hit> hitTest(Point point);
    // The selection becomes the notes on screen that the box touches.
    void select(Rect box);
    void setSelected(const std::string& id, bool on);
    void clearSelection();

    // --- deletion
    void deleteNotes(const std::vector<std::string>& ids, bool fromTrashDrop);
    void undoDelete();

    // --- conflicting copies a sync tool wrote beside a note
    // The copy's text replaces its original's, and the copy goes to the trash;
    // Undo Delete brings both back as they were.
    void keepConflictCopy(const std::string& id);
    // The copy goes to the trash.
    void dismissConflictCopy(const std::string& id);

    // --- snooze
    std::vector<Snoozed> snoozed();
    void unsnooze(const std::string& id);
    void checkSnoozes();

    // Refreshes, then brings the note's window to the front with keyboard focus.
    void front(const std::string& id);

    // A one-line name for a note: its first line that has text once its
    // heading, task or bullet marks and its white space are gone, at most 40
    // characters.
    static std::string title(const std::string& text);

    // --- what the registry holds, to read
    const AppState& appState() const { return state; }
    const std::map<std::string, std::unique_ptr<StickyController>>& controllers() const { return open; }
    // The open note's controller; null when the note is not open.
    StickyController* controller(const std::string& id) const;
    const std::set<std::string>& selection() const { return selected; }
    const std::vector<std::pair<std::string, Record>>& lastDeletion() const { return lastDeleted; }
    bool canUndoDelete() const { return !lastDeleted.empty(); }

    // Called after anything a menu shows of the notes may have changed: the
    // desktop in front, notes added, removed or retitled, sleep and wake,
    // deletion and undo, hidden desktops. Several changes may call it once each.
    void setChangeHandler(std::function<void()> handler) { changed = std::move(handler); }

    static constexpr double snoozeInterval = 20;
    static constexpr double wakeDelay = 2.0;
    static constexpr double screenChangeDelay = 0.5;
    static constexpr double messageSeconds = 1.4;
    static constexpr double backSeconds = 2.5;
    static constexpr double windowMargin = 6;
    // The header strip that moves a note, and the grip that resizes it.
    static constexpr double dragStripHeight = 22;
    static constexpr double gripSize = 16;
    // A note whose file vanished is kept this long, for a save by delete-then-recreate.
    static constexpr double vanishGrace = 2.0;
    // The look of a new note with no neighbour to take one from.
    static constexpr const char* newColor = "yellow";
    static constexpr double newWidth = 260;
    static constexpr double newHeight = 220;
    // A new note is given the keyboard this long after it is made.
    static constexpr double newFocusDelay = 0.15;
    // A jumped-to note flashes this long after the jump.
    static constexpr double flashDelay = 0.6;

private:
    AppState state;
    std::map<std::string, std::unique_ptr<StickyController>> open;
    std::set<std::string> selected;
    std::string pageTemplate;
    std::vector<std::pair<std::string, Record>> lastDeleted;
    // A note whose text a kept conflicting copy replaced, with its text before;
    // undone with the last deletion.
    std::optional<std::pair<std::string, std::string>> lastReplaced;
    std::unique_ptr<FileWatcher> watcher;
    std::optional<TimerId> snoozeTimer;
    std::optional<TimerId> screenChangeWork;
    std::vector<TimerId> pendingWork;
    std::vector<std::unique_ptr<Subscription>> observers;
    PageSchedule pages;
    // Notes whose latest text could not be written; their pages are not
    // overwritten from disk, and the write is tried again.
    UnsavedNotes unsaved;
    MissingNotes missing{vanishGrace};
    bool missingCheckPlanned = false;
    std::function<void()> changed;
    // A jump waiting for its note's desktop to come to the front.
    struct Jump {
        std::string id;
        bool flash = false;
    };
    std::optional<Jump> pendingJump;

    void observeDesktop();
    void announceChange();
    void finishJump(StickyController& note, bool flash);
    void finishPendingJump();
    void onFolderChange(const std::vector<std::string>& paths);
    void later(double seconds, std::function<void()> work);
    Record makeRecordForStrayFile();
    // The record of a note file the state does not know: beside its original
    // for a conflicting copy, else where strays go.
    Record makeRecordForNewFile(const std::string& id);
    // The note a conflicting copy conflicts with, while that note's file is there.
    std::optional<std::string> conflictOriginal(const std::string& id) const;
    // Shows, updates or drops each conflicting copy's banner.
    void updateConflictBanners();
    bool onScreen(const StickyController& controller) const;
    // The note's record places it on a desktop that is in front now.
    bool onActiveDesktop(const std::string& id);
    bool isHidden(const std::string& key) const;
    void place(StickyController& controller, SpaceId space);
    void closeController(const std::string& id);
    bool trash(const std::string& id);
    void finishMoving(const std::string& id, SpaceId space, bool moved);
    void stopMoving(StickyController& controller);
    void writeNote(StickyController& controller, const std::string& text);
    // Whether a note that is open but whose file is not there is let go now.
    bool letGo(const std::string& id, double now);
    void pushContent(StickyController& controller, const std::string& text);

    void handleSave(StickyController& controller, const nlohmann::json& body);
    void handleFocus(StickyController& controller, const nlohmann::json& body);
    void handleBar(StickyController& controller, const nlohmann::json& body);
    void handleClearSelection(StickyController& controller, const nlohmann::json& body);
    void handleColor(StickyController& controller, const nlohmann::json& body);
    void handlePin(StickyController& controller, const nlohmann::json& body);
    void handleSnooze(StickyController& controller, const nlohmann::json& body);
    void handleClose(StickyController& controller, const nlohmann::json& body);
    void handleLink(StickyController& controller, const nlohmann::json& body);
    void handleCopy(StickyController& controller, const nlohmann::json& body);
    void handlePaste(StickyController& controller, const nlohmann::json& body);
    void handleConflict(StickyController& controller, const nlohmann::json& body);
};

}
