#pragma once
#include "platform/Platform.h"
#include "platform/linux/AppIndicatorStatusItem.h"
#include "platform/linux/AutostartLoginItem.h"
#include "platform/linux/GdkAppMouseMonitor.h"
#include "platform/linux/GtkHudView.h"
#include "platform/linux/GtkNoteWindow.h"
#include "platform/linux/GtkSelectionBoxView.h"
#include "platform/linux/GtkTrashTargetView.h"
#include "platform/linux/GtkWelcomeView.h"
#include "platform/linux/GtkWorkspace.h"
#include "platform/linux/XcbAccessibility.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbHotkeySource.h"
#include "platform/linux/XcbMouseTap.h"
#include "platform/linux/XcbScreens.h"
#include "platform/linux/XcbWindowServer.h"
#include "shell/Config.h"

namespace marrowleaf {

// The desktop services that need the display, made once GTK is up and kept
// for the life of the process.
struct LinuxDesktop {
    XcbConnection connection;
    XcbScreens screens{connection};
    XcbWindowServer windowServer{connection, screens};
    XcbAccessibility accessibility{connection};
    XcbHotkeySource hotkeys{connection};
    XcbMouseTap mouseTap{connection};
    GdkAppMouseMonitor appMouseMonitor;
    GtkNoteWindowFactory noteWindows;
    GtkHudView hud;
    GtkWorkspace workspace;
    GtkPasteboard pasteboard;
    CanberraSounds sounds;
    AppIndicatorStatusItem statusItem{Config::iconsDir()};
    AutostartLoginItem loginItem{Config::autostartFile(), AutostartLoginItem::runningProgram()};
    GtkWelcomeView welcome{Config::iconsDir()};
    GtkTrashTargetView trashTarget{Config::iconsDir()};
    GtkSelectionBoxView selectionBox;

    // Adds these services to the ones already installed.
    void install() {
        Platform::Services platform = Platform::current();
        platform.screens = &screens;
        platform.windowServer = &windowServer;
        platform.accessibility = &accessibility;
        platform.hotkeySource = &hotkeys;
        platform.mouseTap = &mouseTap;
        platform.appMouseMonitor = &appMouseMonitor;
        platform.noteWindowFactory = &noteWindows;
        platform.hudView = &hud;
        platform.workspace = &workspace;
        platform.pasteboard = &pasteboard;
        platform.sounds = &sounds;
        platform.statusItem = &statusItem;
        platform.loginItem = &loginItem;
        platform.welcomeView = &welcome;
        platform.trashTargetView = &trashTarget;
        platform.selectionBoxView = &selectionBox;
        accessibility.setTrashTarget([this] { return trashTarget.shownFrame(); });
        Platform::install(platform);
    }
};

}
