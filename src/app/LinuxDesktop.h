#pragma once
#include "platform/Platform.h"
#include "platform/linux/GtkHudView.h"
#include "platform/linux/GtkNoteWindow.h"
#include "platform/linux/GtkWorkspace.h"
#include "platform/linux/XcbAccessibility.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbScreens.h"
#include "platform/linux/XcbWindowServer.h"

namespace marrowleaf {

// The desktop services that need the display, made once GTK is up and kept
// for the life of the process.
struct LinuxDesktop {
    XcbConnection connection;
    XcbScreens screens{connection};
    XcbWindowServer windowServer{connection, screens};
    XcbAccessibility accessibility{connection};
    GtkNoteWindowFactory noteWindows;
    GtkHudView hud;
    GtkWorkspace workspace;
    GtkPasteboard pasteboard;
    CanberraSounds sounds;

    // Adds these services to the ones already installed.
    void install() {
        Platform::Services platform = Platform::current();
        platform.screens = &screens;
        platform.windowServer = &windowServer;
        platform.accessibility = &accessibility;
        platform.noteWindowFactory = &noteWindows;
        platform.hudView = &hud;
        platform.workspace = &workspace;
        platform.pasteboard = &pasteboard;
        platform.sounds = &sounds;
        Platform::install(platform);
    }
};

}
