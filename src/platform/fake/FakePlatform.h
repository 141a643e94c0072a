#pragma once
#include "platform/Platform.h"
#include "platform/fake/FakeAccessibility.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeDefaults.h"
#include "platform/fake/FakeFolderEvents.h"
#include "platform/fake/FakeHotkeySource.h"
#include "platform/fake/FakeHudView.h"
#include "platform/fake/FakeLoginItem.h"
#include "platform/fake/FakeMouse.h"
#include "platform/fake/FakeStatusItem.h"
#include "platform/fake/FakeWorkspace.h"
#include "platform/fake/FakeNoteWindow.h"
#include "platform/fake/FakeScreens.h"
#include "platform/fake/FakeWelcomeView.h"
#include "platform/fake/FakeWindowServer.h"

namespace marrowleaf {

// The whole in-memory desktop, installed for the lifetime of the object and
// replaced by whatever was installed before when it goes.
class FakePlatform {
public:
    FakePlatform() : previous(Platform::current()) { Platform::install(services()); }
    ~FakePlatform() { Platform::install(previous); }
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    FakeClock clock;
    FakeDefaults defaults;
    FakeFolderEvents folderEvents;
    FakeScreens screens;
    FakeWindowServer windowServer;
    FakeAccessibility accessibility;
    FakeNoteWindowFactory noteWindows;
    FakeHudView hud;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeSounds sounds;
    FakeStatusItem statusItem;
    FakeLoginItem loginItem;
    FakeHotkeySource hotkeys;
    FakeMouseTap mouseTap;
    FakeAppMouseMonitor appMouse;
    FakeTrashTargetView trashTarget;
    FakeSelectionBoxView selectionBox;
    FakeWelcomeView welcome;

    // Re-installs after a test changed a member's wiring.
    void reinstall() { Platform::install(services()); }

private:
    Platform::Services previous;
    Platform::Services services() {
        Platform::Services p;
        p.mainQueue = &clock;
        p.clock = &clock;
        p.defaults = &defaults;
        p.folderEvents = &folderEvents;
        p.screens = &screens;
        p.windowServer = &windowServer;
        p.accessibility = &accessibility;
        p.noteWindowFactory = &noteWindows;
        p.hudView = &hud;
        p.workspace = &workspace;
        p.pasteboard = &pasteboard;
        p.sounds = &sounds;
        p.statusItem = &statusItem;
        p.loginItem = &loginItem;
        p.hotkeySource = &hotkeys;
        p.mouseTap = &mouseTap;
        p.appMouseMonitor = &appMouse;
        p.trashTargetView = &trashTarget;
        p.selectionBoxView = &selectionBox;
        p.welcomeView = &welcome;
        return p;
    }
};

}
