#include "platform/Platform.h"

#include <cstdio>
#include <cstdlib>

namespace marrowleaf {

namespace {

Platform installed;

template <class T> T& required(T* service, const char* name) {
    if (!service) {
        // A missing service is a wiring mistake of the program, not bad input.
        std::fprintf(stderr, "marrowleaf: platform service %s used before it was installed\n", name);
        std::abort();
    }
    return *service;
}

}

const Platform& Platform::current() { return installed; }
void Platform::install(const Platform& platform) { installed = platform; }

MainQueue& Platform::mainQueue() { return required(installed.queue, "queue"); }
Clock& Platform::systemClock() { return required(installed.clock, "clock"); }
Defaults& Platform::userDefaults() { return required(installed.defaults, "defaults"); }
FolderEvents& Platform::folders() { return required(installed.folderEvents, "folderEvents"); }
Screens& Platform::displays() { return required(installed.screens, "screens"); }
WindowServer& Platform::windowSystem() { return required(installed.windowServer, "windowServer"); }
Accessibility& Platform::accessibilityProbes() { return required(installed.accessibility, "accessibility"); }
NoteWindowFactory& Platform::noteWindows() { return required(installed.noteWindowFactory, "noteWindowFactory"); }
HudView& Platform::hud() { return required(installed.hudView, "hudView"); }
Workspace& Platform::desktop() { return required(installed.workspace, "workspace"); }
Pasteboard& Platform::clipboard() { return required(installed.pasteboard, "pasteboard"); }
Sounds& Platform::eventSounds() { return required(installed.sounds, "sounds"); }

}
