#include "platform/Platform.h"

#include <cstdio>
#include <cstdlib>

namespace marrowleaf {

namespace {

Platform::Services installed;

template <class T> T& required(T* service, const char* name) {
    if (!service) {
        // A missing service is a wiring mistake of the program, not bad input.
        std::fprintf(stderr, "marrowleaf: platform service %s used before it was installed\n", name);
        std::abort();
    }
    return *service;
}

}

const Platform::Services& Platform::current() { return installed; }
void Platform::install(const Services& services) { installed = services; }

MainQueue& Platform::mainQueue() { return required(installed.mainQueue, "mainQueue"); }
Clock& Platform::clock() { return required(installed.clock, "clock"); }
Defaults& Platform::defaults() { return required(installed.defaults, "defaults"); }
FolderEvents& Platform::folderEvents() { return required(installed.folderEvents, "folderEvents"); }
Screens& Platform::screens() { return required(installed.screens, "screens"); }
WindowServer& Platform::windowServer() { return required(installed.windowServer, "windowServer"); }
Accessibility& Platform::accessibility() { return required(installed.accessibility, "accessibility"); }
NoteWindowFactory& Platform::noteWindowFactory() { return required(installed.noteWindowFactory, "noteWindowFactory"); }
HudView& Platform::hudView() { return required(installed.hudView, "hudView"); }
Workspace& Platform::workspace() { return required(installed.workspace, "workspace"); }
Pasteboard& Platform::pasteboard() { return required(installed.pasteboard, "pasteboard"); }
Sounds& Platform::sounds() { return required(installed.sounds, "sounds"); }
StatusItem& Platform::statusItem() { return required(installed.statusItem, "statusItem"); }
LoginItem& Platform::loginItem() { return required(installed.loginItem, "loginItem"); }
HotkeySource& Platform::hotkeySource() { return required(installed.hotkeySource, "hotkeySource"); }
MouseTap& Platform::mouseTap() { return required(installed.mouseTap, "mouseTap"); }
AppMouseMonitor& Platform::appMouseMonitor() { return required(installed.appMouseMonitor, "appMouseMonitor"); }
TrashTargetView& Platform::trashTargetView() { return required(installed.trashTargetView, "trashTargetView"); }
SelectionBoxView& Platform::selectionBoxView() { return required(installed.selectionBoxView, "selectionBoxView"); }
WelcomeView& Platform::welcomeView() { return required(installed.welcomeView, "welcomeView"); }

}
