#include "shell/Config.h"

#include "platform/Defaults.h"
#include "platform/Platform.h"

#include <cstdlib>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

constexpr const char* notesDirKey = "NotesDirectory";
constexpr int pageSearchDepth = 6;
constexpr const char* projectPage = "https://marrowleaf.app/";

ConfigSources sources;
std::optional<fs::path> cachedNotesDir;

std::optional<std::string> environmentValue(const std::string& name) {
    if (!sources.environment) return std::nullopt;
    auto value = sources.environment(name);
    if (!value || value->empty()) return std::nullopt;
    return value;
}

std::optional<std::string> userDefaultText(const std::string& key) {
    if (!Platform::current().defaults) return std::nullopt;
    return Platform::defaults().text(key);
}

fs::path computeNotesDir() {
    // An empty option falls through to the user default.
    if (sources.notesDirOption && !sources.notesDirOption->empty()) return Config::expandTilde(*sources.notesDirOption);
    if (auto fromDefaults = userDefaultText(notesDirKey)) return Config::expandTilde(*fromDefaults);
    return sources.home / "Notes" / "stickies";
}

// The executable's folder with links resolved: /proc knows it best when argv[0] is a bare name.
std::optional<fs::path> executableFolder() {
    std::error_code error;
    fs::path program;
    if (!sources.arguments.empty()) program = fs::canonical(sources.arguments.front(), error);
    if (program.empty() || error) return std::nullopt;
    return program.parent_path();
}

// A file or folder the program ships: in an installed data folder, else in
// the Resources folder of a build, found by walking up from the program.
std::optional<fs::path> resource(const fs::path& name, fs::file_type type) {
    std::error_code error;
    for (const auto& dir : sources.dataDirs) {
        if (fs::status(dir / name, error).type() == type) return dir / name;
    }
    auto folder = executableFolder();
    for (int step = 0; folder && step < pageSearchDepth; ++step) {
        auto candidate = *folder / "Resources" / name;
        if (fs::status(candidate, error).type() == type) return candidate;
        if (folder->parent_path() == *folder) break;
        folder = folder->parent_path();
    }
    return std::nullopt;
}

// XDG base folders: an absolute value of the variable, else the default under home.
fs::path xdgFolder(const std::string& variable, const fs::path& fallbackUnderHome) {
    if (auto value = environmentValue(variable); value && fs::path(*value).is_absolute()) return *value;
    return sources.home / fallbackUnderHome;
}

}

void Config::configure(ConfigSources newSources) {
    sources = std::move(newSources);
    cachedNotesDir.reset();
}

ConfigSources Config::processSources(int argc, char** argv) {
    ConfigSources s;
    s.arguments.assign(argv, argv + argc);
    s.environment = [](const std::string& name) -> std::optional<std::string> {
        const char* value = std::getenv(name.c_str());
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    const char* home = std::getenv("HOME");
    s.home = home && *home ? fs::path(home) : fs::current_path();
#ifdef MARROWLEAF_VERSION
    s.version = std::string(MARROWLEAF_VERSION);
#endif
    s.appName = std::string("Marrowleaf");
    // An installed program reads the page installed beside it; a program in a
    // build folder finds the page built beside it by walking up.
    std::error_code error;
    if (auto self = fs::read_symlink("/proc/self/exe", error);
        !error && self.parent_path().filename() == "bin")
        s.dataDirs.push_back(self.parent_path().parent_path() / "share" / "marrowleaf");
    return s;
}

void Config::useNotesDirOption(std::string path) {
    sources.notesDirOption = std::move(path);
    cachedNotesDir.reset();
}

fs::path Config::notesDir() {
    if (!cachedNotesDir) cachedNotesDir = computeNotesDir();
    return *cachedNotesDir;
}

std::optional<fs::path> Config::stickyHTML() { return resource("sticky.html", fs::file_type::regular); }

std::optional<fs::path> Config::iconsDir() { return resource("icons", fs::file_type::directory); }

std::string Config::appName() { return sources.appName.value_or("Marrowleaf"); }

std::string Config::version() {
    if (sources.version && !sources.version->empty()) return *sources.version;
    return "dev";
}

std::string Config::supportURL() { return std::string(projectPage) + "tip"; }

std::string Config::desktopFeaturesURL() { return std::string(projectPage) + "#desktop-features"; }

bool Config::altClickEnabled() {
    if (!Platform::current().defaults) return true;
    return Platform::defaults().flag(altClickKey).value_or(true);
}

fs::path Config::configDir() { return xdgFolder("XDG_CONFIG_HOME", ".config") / "marrowleaf"; }

fs::path Config::autostartFile() {
    return xdgFolder("XDG_CONFIG_HOME", ".config") / "autostart" / "marrowleaf.desktop";
}

fs::path Config::logFile() {
    return xdgFolder("XDG_STATE_HOME", ".local/state") / "marrowleaf" / "Marrowleaf.log";
}

fs::path Config::rescueDir() { return xdgFolder("XDG_STATE_HOME", ".local/state") / "marrowleaf" / "unsaved"; }

fs::path Config::expandTilde(const std::string& path) {
    if (path == "~") return sources.home;
    if (path.rfind("~/", 0) == 0) return sources.home / path.substr(2);
    return path;
}

}
