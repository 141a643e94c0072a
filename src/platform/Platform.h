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
class StatusItem;
class LoginItem;
class HotkeySource;
class MouseTap;
class AppMouseMonitor;
class TrashTargetView;
class SelectionBoxView;
class WelcomeView;

// The desktop services the portable code talks to. The application installs
// the Linux ones at start; tests install fakes. Whoever installs them keeps
// them alive for as long as they are installed. Each accessor is named after
// the interface it returns, and aborts when that service was never installed.
class Platform {
public:
    struct Services {
        MainQueue* mainQueue = nullptr;
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
        StatusItem* statusItem = nullptr;
        LoginItem* loginItem = nullptr;
        HotkeySource* hotkeySource = nullptr;
        MouseTap* mouseTap = nullptr;
        AppMouseMonitor* appMouseMonitor = nullptr;
        TrashTargetView* trashTargetView = nullptr;
        SelectionBoxView* selectionBoxView = nullptr;
        WelcomeView* welcomeView = nullptr;
    };

    static const Services& current();
    static void install(const Services& services);

    static MainQueue& mainQueue();
    static Clock& clock();
    static Defaults& defaults();
    static FolderEvents& folderEvents();
    static Screens& screens();
    static WindowServer& windowServer();
    static Accessibility& accessibility();
    static NoteWindowFactory& noteWindowFactory();
    static HudView& hudView();
    static Workspace& workspace();
    static Pasteboard& pasteboard();
    static Sounds& sounds();
    static StatusItem& statusItem();
    static LoginItem& loginItem();
    static HotkeySource& hotkeySource();
    static MouseTap& mouseTap();
    static AppMouseMonitor& appMouseMonitor();
    static TrashTargetView& trashTargetView();
    static SelectionBoxView& selectionBoxView();
    static WelcomeView& welcomeView();
};

}
