#pragma once
#include <memory>
#include <string>
#include <vector>

typedef struct _GtkApplication GtkApplication;
typedef struct _GApplicationCommandLine GApplicationCommandLine;

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
    GtkApplication* application;
    bool launched = false;
    std::unique_ptr<LinuxDesktop> desktop;
    std::unique_ptr<TestInterface> testInterface;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    void installMainMenu();
    void loadMarkdownPage();
    int commandLine(GApplicationCommandLine* line);
    void quit();
};

}
