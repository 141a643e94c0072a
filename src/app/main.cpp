#include "app/AppDelegate.h"
#include "platform/Platform.h"
#include "platform/linux/GLibMainQueue.h"
#include "platform/linux/InotifyFolderEvents.h"
#include "platform/linux/KeyFileDefaults.h"
#include "platform/linux/SystemClock.h"
#include "shell/Config.h"

using namespace marrowleaf;

int main(int argc, char** argv) {
    Config::configure(Config::processSources(argc, argv));

    GLibMainQueue queue;
    SystemClock clock;
    KeyFileDefaults defaults(Config::configDir() / "defaults.ini");
    InotifyFolderEvents folderEvents;
    Platform::Services platform;
    platform.mainQueue = &queue;
    platform.clock = &clock;
    platform.defaults = &defaults;
    platform.folderEvents = &folderEvents;
    Platform::install(platform);

    AppDelegate delegate;
    return delegate.run(argc, argv);
}
