#pragma once
#include "platform/linux/GObjectPtr.h"

#include <gtk/gtk.h>

#include <memory>

namespace marrowleaf {

struct LinuxDesktop;
class TestInterface;

// The single-instance application around the core: starts the subsystems in
// order when launching has finished, carries out command lines (its own and
// those a second launch hands over), and saves what needs saving at the end.
class AppDelegate {
public:
    static constexpr const char* applicationId = "org.marrowleaf.Marrowleaf";

    AppDelegate();
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    int run(int argc, char** argv);

private:
    GObjectPtr<GtkApplication> application;
    bool launched = false;
    bool optionsParsed = false;
    std::unique_ptr<LinuxDesktop> desktop;
    std::unique_ptr<TestInterface> testInterface;

    // The GApplication signals, each handled once.
    int onHandleLocalOptions(GVariantDict* options);
    void onStartup();
    int onCommandLine(GApplicationCommandLine* line);
    void onShutdown();

    void installMainMenu();
    void loadMarkdownPage();
    void quit();
    GApplication* gApplication() const { return G_APPLICATION(application.get()); }
};

}
