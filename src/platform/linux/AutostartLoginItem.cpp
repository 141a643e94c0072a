#include "platform/linux/AutostartLoginItem.h"

#include "platform/linux/GObjectPtr.h"
#include "shell/Config.h"

#include <glib.h>
#include <glib/gstdio.h>

#include <cerrno>
#include <cstring>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

constexpr const char* entryGroup = "Desktop Entry";
// Characters that make an Exec argument need quotes.
constexpr std::string_view reservedInExec = " \t\n\"'\\><~|&;$*?#()`";
// Characters escaped with a backslash inside a quoted Exec argument.
constexpr std::string_view escapedInQuotes = "\"`$\\";

}

AutostartLoginItem::AutostartLoginItem(fs::path entry, fs::path program)
    : entry(std::move(entry)), program(std::move(program)) {}

fs::path AutostartLoginItem::runningProgram() {
    std::error_code error;
    fs::path self = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path() : self;
}

std::string AutostartLoginItem::execValue(const fs::path& path) {
    const std::string text = path.string();
    std::string value;
    const bool quoted = text.find_first_of(reservedInExec) != std::string::npos;
    if (quoted) value += '"';
    for (char c : text) {
        if (quoted && escapedInQuotes.find(c) != std::string_view::npos) value += '\\';
        if (c == '%') value += '%';   // a lone % would start a field code
        value += c;
    }
    if (quoted) value += '"';
    // The key file's own escaping comes on top: a backslash is written twice.
    std::string escaped;
    for (char c : value) {
        if (c == '\\') escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string AutostartLoginItem::entryText(const fs::path& path) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=" +
           Config::appName() +
           "\n"
           "Comment=Sticky notes on your desktop\n"
           "Exec=" +
           execValue(path) +
           "\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

bool AutostartLoginItem::available() const { return !program.empty(); }

bool AutostartLoginItem::enabled() const {
    std::error_code error;
    if (!fs::exists(entry, error)) return false;
    // An entry that can't be read is still there, and the session starts what it can of it.
    GKeyFile* file = g_key_file_new();
    bool hidden = false;
    if (g_key_file_load_from_file(file, entry.c_str(), G_KEY_FILE_NONE, nullptr))
        hidden = g_key_file_get_boolean(file, entryGroup, "Hidden", nullptr);
    g_key_file_free(file);
    return !hidden;
}

Files::Result AutostartLoginItem::setEnabled(bool on) {
    if (!on) {
        if (g_remove(entry.c_str()) != 0 && errno != ENOENT) {
            const int reason = errno;
            return Files::Result::failure("can't remove " + entry.string() + ": " + std::strerror(reason));
        }
        return Files::Result::done();
    }
    if (!available()) return Files::Result::failure("can't tell which program to start at login");
    const fs::path folder = entry.parent_path();
    if (g_mkdir_with_parents(folder.c_str(), 0700) != 0) {
        const int reason = errno;
        return Files::Result::failure("can't make " + folder.string() + ": " + std::strerror(reason));
    }
    const std::string text = entryText(program);
    GErrorOut error;
    if (!g_file_set_contents(entry.c_str(), text.data(), static_cast<gssize>(text.size()), &error))
        return Files::Result::failure("can't write " + entry.string() + ": " + error.message());
    return Files::Result::done();
}

}
