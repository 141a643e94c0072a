#pragma once
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace marrowleaf {

// Where Config takes its answers from: the process, the build and the user's
// environment. The application fills it from main(); tests fill it by hand.
struct ConfigSources {
    std::vector<std::string> arguments;   // argv, the program path first
    std::optional<std::string> notesDirOption;   // --notes-dir as the command line gave it
    std::filesystem::path home;
    std::optional<std::string> appName;            // compiled in; absent falls back to "Marrowleaf"
    std::optional<std::string> version;            // compiled in; absent falls back to "dev"
    std::vector<std::filesystem::path> dataDirs;   // installed data folders holding sticky.html
    std::function<std::optional<std::string>(const std::string&)> environment;
};

// Read-only values the rest of the application asks for.
struct Config {
    static void configure(ConfigSources sources);
    // The sources of the running process: the program's own argv, home, build values and environment.
    static ConfigSources processSources(int argc, char** argv);

    // The command line's --notes-dir, parsed by the application before anything starts.
    static void useNotesDirOption(std::string path);
    static std::filesystem::path notesDir();   // fixed on first use
    static std::optional<std::filesystem::path> stickyHTML();
    // The folder of the program's own icons, found like the note page.
    static std::optional<std::filesystem::path> iconsDir();
    static std::string appName();
    static std::string version();
    static std::string supportURL();
    // The project page's explanation of the desktop features and what they need.
    static std::string desktopFeaturesURL();
    static bool altClickEnabled();
    // The user default that turns Alt-click on the desktop on and off.
    static constexpr const char* altClickKey = "AltClickNewSticky";

    // $XDG_CONFIG_HOME/marrowleaf (default ~/.config/marrowleaf): the defaults key file lives here.
    static std::filesystem::path configDir();
    // $XDG_CONFIG_HOME/autostart/marrowleaf.desktop: the program starts at login while it is there.
    static std::filesystem::path autostartFile();
    // $XDG_STATE_HOME/marrowleaf/Marrowleaf.log (default ~/.local/state/…).
    static std::filesystem::path logFile();
    // $XDG_STATE_HOME/marrowleaf/unsaved: note text that could not be written at quit.
    static std::filesystem::path rescueDir();
    static std::filesystem::path expandTilde(const std::string& path);
};

}
