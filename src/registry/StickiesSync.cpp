#include "registry/Stickies.h"

#include "geometry/Geo.h"
#include "geometry/Spaces.h"
#include "input/StickyDrag.h"
#include "platform/Clock.h"
#include "platform/NoteWindow.h"
#include "platform/Platform.h"
#include "platform/Screens.h"
#include "platform/Workspace.h"
#include "shell/Config.h"
#include "shell/Log.h"
#include "storage/FileWatcher.h"
#include "storage/Files.h"
#include "storage/Store.h"

#include <algorithm>

namespace marrowleaf {

namespace {

// Unexpected files cascade down-left from the top-right corner of the screen.
constexpr double cascadeStep = 24;
constexpr int cascadeSteps = 6;
constexpr double cascadeRight = 300;
constexpr double cascadeTop = 40;

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}

Stickies& Stickies::shared() {
    static Stickies* instance = new Stickies();   // lives for the process
    return *instance;
}

Stickies::Stickies()
    : pages([this](const std::string& id) {
          if (auto* controller = this->controller(id)) controller->loadPage();
      }),
      unsaved([](const std::string& id, const std::string& text) { return Store::tryWrite(id, text); },
              [](const std::string& id, const std::string& text) { return Store::rescue(id, text); }) {}

Stickies::~Stickies() {
    observers.clear();
    watcher.reset();
    if (!Platform::current().mainQueue) return;
    if (snoozeTimer) Platform::mainQueue().cancel(*snoozeTimer);
    if (screenChangeWork) Platform::mainQueue().cancel(*screenChangeWork);
    for (TimerId work : pendingWork)
        Platform::mainQueue().cancel(work);
}

void Stickies::later(double seconds, std::function<void()> work) {
    auto id = std::make_shared<TimerId>(0);
    *id = Platform::mainQueue().after(seconds, [this, id, work = std::move(work)] {
        std::erase(pendingWork, *id);
        work();
    });
    pendingWork.push_back(*id);
}

void Stickies::start() {
    Store::ensureDirs();
    const auto page = Config::stickyHTML();
    std::string text;
    if (!page || Store::files().read(*page, text).failed()) {
        Log::error("sticky.html not found");
        return;
    }
    pageTemplate = std::move(text);
    state = Store::loadState();
    // The web engine works on one page at a time: the pages of the desktop in
    // front are asked for alone, so they are ready first.
    pages.beginStart();
    sync();
    pages.endStart();
    watcher = std::make_unique<FileWatcher>(
        Config::notesDir(), [this](const std::vector<std::string>& paths) { onFolderChange(paths); });
    observeDesktop();
    snoozeTimer = Platform::mainQueue().every(snoozeInterval, 1.0, [this] { checkSnoozes(); });
    checkSnoozes();
    // A note made from scratch is usually yellow: its page is kept loaded, so
    // the new note can be typed into at once.
    Record blank;
    blank.color = newColor;
    Platform::noteWindowFactory().keepReady(StickyController::page(pageTemplate, blank, "", true));
}

void Stickies::announceChange() {
    if (changed) changed();
}

void Stickies::observeDesktop() {
    observers.push_back(Platform::windowServer().watchActiveSpace([this] {
        // Another desktop in front: no page waits any longer.
        pages.loadWaiting();
        refresh();
        finishPendingJump();
    }));
    observers.push_back(
        Platform::workspace().watchWake([this] { later(wakeDelay, [this] { checkSnoozes(); }); }));
    observers.push_back(Platform::screens().watchChanges([this] {
        // A re-plug sends a burst of changes; one refresh after it settles is enough.
        if (screenChangeWork) Platform::mainQueue().cancel(*screenChangeWork);
        screenChangeWork = Platform::mainQueue().after(screenChangeDelay, [this] {
            screenChangeWork.reset();
            refresh();
        });
    }));
}

void Stickies::onFolderChange(const std::vector<std::string>& paths) {
    const std::string folder = Config::notesDir().string();
    const bool notesChanged = std::ranges::any_of(paths, [&](const std::string& path) {
        if (path == folder) return true;   // the system lost track: look at everything again
        return endsWith(path, Store::noteExtension) && path.find("/.trash/") == std::string::npos;
    });
    if (notesChanged) sync();
}

Record Stickies::makeRecordForStrayFile() {
    Record record;
    const auto screens = Platform::screens().all();
    std::optional<Screen> screen;
    if (auto here = currentLocation()) {
        record.screen = here->screen;
        record.desktop = here->desktop;
        screen = Geo::mouseScreen();
    } else {
        record.screen = Geo::primaryUUID();
        record.desktop = 1;
        if (!screens.empty()) screen = screens.front();
    }
    const Rect visible = screen ? screen->visibleFrame : Rect{0, 0, 1280, 800};
    const double k = static_cast<double>(open.size() % cascadeSteps);
    record.frame = {visible.maxX() - cascadeRight - cascadeStep * k,
                    visible.minY() + cascadeTop + cascadeStep * k, newWidth, newHeight};
    record.color = "yellow";
    return record;
}

void Stickies::sync() {
    Spaces::update();
    std::vector<std::string> ids = Store::noteIds();
    // Ids carry their creation time, so this opens (and cascades) oldest first;
    // notes of the desktops in front come first, so their pages load first.
    std::ranges::sort(ids);
    std::stable_partition(ids.begin(), ids.end(),
                          [this](const std::string& id) { return onActiveDesktop(id); });
    const std::set<std::string> present(ids.begin(), ids.end());
    bool changed = false;

    for (const auto& id : ids) {
        auto text = Store::read(id);
        if (!text) continue;
        if (auto found = open.find(id); found != open.end()) {
            StickyController& controller = *found->second;
            if (missing.missing(id)) {
                Log::info("the file of " + id + " came back; the note keeps its look and place");
                missing.found(id);
            }
            if (unsaved.holds(id)) {
                // The page holds newer text than the disk; the disk gets it, not the other way round.
                unsaved.retry();
                continue;
            }
            if (*text != controller.content) pushContent(controller, *text);
            continue;
        }
        if (!state.stickies.count(id)) {
            state.stickies[id] = makeRecordForNewFile(id);
            changed = true;
        }
        openSticky(id, *text, false);
    }

    const double now = Platform::clock().now();
    for (auto it = open.begin(); it != open.end();) {
        const std::string id = it->first;
        ++it;
        if (present.count(id) || !letGo(id, now)) continue;
        closeController(id);
        selected.erase(id);
        state.stickies.erase(id);
        changed = true;
    }
    for (auto it = state.stickies.begin(); it != state.stickies.end();) {
        if (present.count(it->first) || missing.missing(it->first)) {
            ++it;
            continue;
        }
        it = state.stickies.erase(it);
        changed = true;
    }
    if (changed) Store::saveState(state);
    updateConflictBanners();
    refresh();
}

bool Stickies::letGo(const std::string& id, double now) {
    if (missing.gone(id, now)) {
        Log::info("the file of " + id + " was removed by another program; the note is closed");
        return true;
    }
    if (!missingCheckPlanned) {
        missingCheckPlanned = true;
        later(vanishGrace, [this] {
            missingCheckPlanned = false;
            sync();
        });
    }
    return false;
}

void Stickies::pushContent(StickyController& controller, const std::string& text) {
    controller.content = text;
    controller.sendContent(text);
}

void Stickies::openSticky(const std::string& id, const std::string& content, bool editNow) {
    auto found = state.stickies.find(id);
    if (found == state.stickies.end()) return;
    Record& record = found->second;
    const auto screens = Platform::screens().all();
    std::optional<Screen> screen = Geo::screen(record.screen);
    if (!screen && !screens.empty()) screen = screens.front();
    if (screen) record.frame = Frame::of(Geo::clamp(record.frame.rect(), *screen, windowMargin));
    const bool loadNow = pages.loadsNow(id, onActiveDesktop(id));
    const auto copyOf = conflictOriginal(id);
    auto controller = std::make_unique<StickyController>(
        id, content, record, editNow, pageTemplate,
        [this](StickyController& controller, const std::string& type, const nlohmann::json& body) {
            handle(controller, type, body);
        },
        loadNow && !copyOf ? StickyController::PageLoad::now : StickyController::PageLoad::later);
    if (copyOf) {
        // A conflicting copy's page starts with its banner.
        controller->copyOf = copyOf;
        Log::warn(id + Store::noteExtension + " is a sync tool's conflicting copy of " + *copyOf +
                  Store::noteExtension + "; it shows beside that note");
        if (auto original = Store::read(*copyOf)) controller->sendConflict(title(*original));
        if (loadNow) controller->loadPage();
    }
    open[id] = std::move(controller);
}

void Stickies::closeController(const std::string& id) {
    auto found = open.find(id);
    if (found == open.end()) return;
    found->second->close();
    open.erase(found);
    unsaved.forget(id);
    missing.found(id);
}

void Stickies::refresh() {
    const Geo::Held screens;
    Spaces::update();
    const double now = Platform::clock().now();
    for (auto& [id, controllerPointer] : open) {
        StickyController& controller = *controllerPointer;
        auto found = state.stickies.find(id);
        if (found == state.stickies.end()) continue;
        const Record& record = found->second;

        // While a note is dragged, the drag owns the levels: it lifts its notes and puts them back.
        const WindowLevel level = StickyController::level(record.pinned.value_or(false));
        if (!StickyDrag::anyInProgress() && controller.window().level() != level)
            controller.window().setLevel(level);

        const auto where = Locations::resolve(record);
        const bool asleep = record.snoozeUntil && now < *record.snoozeUntil;
        const bool show = where && !hiddenHere(*where) && !asleep;
        const SpaceId space = where ? where->space : 0;

        if (controller.moving && !(show && controller.moving == space)) stopMoving(controller);
        if (controller.visible && !(show && controller.placed == space)) {
            controller.window().orderOut();
            controller.visible = false;
            controller.placed.reset();
        }
        if (show && !controller.visible && !controller.moving) place(controller, space);

        if (!onScreen(controller) && selected.count(id)) {
            selected.erase(id);
            controller.sendSelected(false);
        }
    }
    announceChange();
}

// Shows a note that should be seen on its desktop, in front of the user or
// (once per note) on a desktop that is not in front.
void Stickies::place(StickyController& controller, SpaceId space) {
    if (Spaces::active().count(space)) {
        controller.window().orderFront();
        controller.visible = true;
        controller.placed = space;
        return;
    }
    const SpaceId focused = Platform::windowServer().focusedSpace();
    const auto focusedType = Spaces::typeOf(focused);
    if (!controller.remoteTried && focusedType && *focusedType == WindowServer::ordinaryType) {
        // Shown unseen, so the window manager takes the window, then sent on.
        NoteWindow& window = controller.window();
        window.setAlpha(0);
        window.orderFront();
        controller.moving = space;
        Spaces::move(window.windowNumber(), space,
                     [this, id = controller.id, space](bool moved) { finishMoving(id, space, moved); });
        return;
    }
    // Placing on a desktop that is not in front is tried once; after that the
    // note waits until its desktop comes to the front.
    controller.remoteTried = true;
}

void Stickies::finishMoving(const std::string& id, SpaceId space, bool moved) {
    auto found = open.find(id);
    // A note closed, hidden or sent elsewhere meanwhile has no use for the answer.
    if (found == open.end() || found->second->moving != space) return;
    StickyController& controller = *found->second;
    controller.moving.reset();
    NoteWindow& window = controller.window();
    if (moved) {
        window.setAlpha(1);
        controller.visible = true;
        controller.placed = space;
        return;
    }
    window.orderOut();
    window.setAlpha(1);
    controller.remoteTried = true;
    const auto number = Locations::desktopNumber(space);
    Log::error("can't put " + id + " on desktop " +
               (number ? std::to_string(*number) : std::to_string(space)) +
               ": the window manager did not move it; it shows when that desktop is in front");
    // Its desktop may have come to the front while the window manager was asked.
    if (Spaces::active().count(space)) place(controller, space);
}

void Stickies::stopMoving(StickyController& controller) {
    controller.moving.reset();
    controller.window().orderOut();
    controller.window().setAlpha(1);
}

bool Stickies::onActiveDesktop(const std::string& id) {
    auto record = state.stickies.find(id);
    if (record == state.stickies.end()) return false;
    const auto where = Locations::resolve(record->second);
    return where && Spaces::active().count(where->space);
}

bool Stickies::onScreen(const StickyController& controller) const {
    return controller.visible && controller.placed && Spaces::active().count(*controller.placed);
}

void Stickies::commitFrames(const std::vector<std::string>& ids) {
    Spaces::update();
    for (const auto& id : ids) {
        auto controller = open.find(id);
        auto record = state.stickies.find(id);
        if (controller == open.end() || record == state.stickies.end()) continue;
        const Rect frame = controller->second->window().frame();
        record->second.frame = Frame::of(frame);
        auto screen = Geo::screenContaining(frame.centre());
        if (!screen) continue;
        auto uuid = Geo::uuid(*screen);
        if (!uuid) continue;
        record->second.screen = *uuid;
        auto display = Spaces::display(*uuid);
        if (!display) continue;
        for (SpaceId space : Spaces::spacesForWindow(controller->second->window().windowNumber())) {
            if (auto number = Locations::desktopNumber(*display, space)) {
                record->second.desktop = *number;
                break;
            }
        }
    }
    Store::saveState(state);
}

bool Stickies::anyOnScreen() {
    Spaces::update();
    return std::ranges::any_of(open, [this](const auto& entry) { return onScreen(*entry.second); });
}

void Stickies::saveAll() {
    unsaved.quit();
    Store::saveState(state);
}

void Stickies::writeNote(StickyController& controller, const std::string& text) {
    const bool retitled = title(text) != title(controller.content);
    controller.content = text;
    if (retitled) announceChange();
    // Text the disk refuses stays here (the page holds it too) and is written again later.
    unsaved.save(controller.id, text);
}

}
