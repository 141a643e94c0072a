#pragma once

namespace marrowleaf {

class MainQueue;
class Clock;
class Defaults;
class FolderEvents;
class Screens;
class WindowServer;
class Accessibility;
class NoteWindowFactory;
class HudView;
class Workspace;
class Pasteboard;
class Sounds;

// The desktop services the portable code talks to. The application installs
// the Linux ones at start; tests install fakes. Whoever installs them keeps
// them alive for as long as they are installed.
struct Platform {
    MainQueue* queue = nullptr;
    Clock* clock = nullptr;
    Defaults* defaults = nullptr;
    FolderEvents* folderEvents = nullptr;
    Screens* screens = nullptr;
    WindowServer* windowServer = nullptr;
    Accessibility* accessibility = nullptr;
    NoteWindowFactory* noteWindowFactory = nullptr;
    HudView* hudView = nullptr;
    Workspace* workspace = nullptr;
    Pasteboard* pasteboard = nullptr;
    Sounds* sounds = nullptr;

    static const Platform& current();
    static void install(const Platform& platform);

    static MainQueue& mainQueue();
    static Clock& systemClock();
    static Defaults& userDefaults();
    static FolderEvents& folders();
    static Screens& displays();
    static WindowServer& windowSystem();
    static Accessibility& accessibilityProbes();
    static NoteWindowFactory& noteWindows();
    static HudView& hud();
    static Workspace& desktop();
    static Pasteboard& clipboard();
    static Sounds& eventSounds();
};

}
