#include "storage/Store.h"

#include "platform/Clock.h"
#include "platform/Platform.h"
#include "shell/Config.h"
#include "shell/Log.h"
#include "storage/Files.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>
#include <utf8proc.h>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

Files* replacement = nullptr;

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::string idBase() {
    const LocalTime t = Platform::clock().local(Platform::clock().now());
    char text[64];
    std::snprintf(text, sizeof text, "sticky-%04d%02d%02d-%02d%02d%02d", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return text;
}

bool isValidUTF8(const std::string& bytes) {
    const auto* data = reinterpret_cast<const utf8proc_uint8_t*>(bytes.data());
    utf8proc_ssize_t remaining = static_cast<utf8proc_ssize_t>(bytes.size());
    while (remaining > 0) {
        utf8proc_int32_t codepoint;
        const utf8proc_ssize_t used = utf8proc_iterate(data, remaining, &codepoint);
        if (used < 0) return false;
        data += used;
        remaining -= used;
    }
    return true;
}

// Notes we already complained about, so a note that stays unreadable is logged once, not on every sync.
std::set<std::string>& reportedUnreadable() {
    static std::set<std::string> ids;
    return ids;
}

// A note file that is a link to nothing would otherwise just not show, with no word why.
void reportBrokenLink(const std::string& id, const std::string& reason) {
    const auto target = Store::files().linkTarget(Store::notePath(id));
    if (!target || !reportedUnreadable().insert(id).second) return;
    Log::warn(Store::notePath(id).filename().string() + " is a link to " + target->string() + ", which can't be read (" +
              reason + "); the note is not shown");
}

}

Files& Store::files() {
    static DiskFiles disk;
    return replacement ? *replacement : disk;
}

void Store::useFiles(Files* files) { replacement = files; }

fs::path Store::notePath(const std::string& id) { return Config::notesDir() / (id + noteExtension); }
fs::path Store::statePath() { return Config::notesDir() / stateFileName; }
fs::path Store::trashPath(const std::string& id) {
    return Config::notesDir() / trashFolderName / (id + noteExtension);
}

void Store::ensureDirs() {
    if (auto created = files().createDirectories(Config::notesDir()); created.failed())
        Log::error("can't create the notes folder " + Config::notesDir().string() + ": " + created.reason());
    // Writes cut short by a killed run leave their temporary files; the notes are whole.
    auto names = files().list(Config::notesDir());
    if (!names) return;
    for (const auto& name : *names) {
        if (!Files::isTemporaryName(name)) continue;
        if (auto removed = files().remove(Config::notesDir() / name); removed.failed())
            Log::error("can't remove the unfinished write " + name + ": " + removed.reason());
        else
            Log::info("removed " + name + ", a write the last run did not finish");
    }
}

std::vector<std::string> Store::noteIds() {
    auto names = files().list(Config::notesDir());
    if (!names) return {};
    std::vector<std::string> ids;
    for (const auto& name : *names) {
        if (name.empty() || name.front() == '.' || !endsWith(name, noteExtension)) continue;
        ids.push_back(name.substr(0, name.size() - 3));
    }
    return ids;
}

std::string Store::newId() {
    const std::string base = idBase();
    std::string candidate = base;
    for (int n = 2; files().exists(notePath(candidate)); ++n) candidate = base + "-" + std::to_string(n);
    return candidate;
}

bool Store::write(const std::string& id, const std::string& text) {
    if (auto written = tryWrite(id, text); written.failed()) {
        Log::error("can't save " + id + ": " + written.reason());
        return false;
    }
    return true;
}

Files::Result Store::tryWrite(const std::string& id, const std::string& text) {
    return files().writeAtomically(notePath(id), text);
}

std::optional<std::filesystem::path> Store::rescue(const std::string& id, const std::string& text) {
    const std::filesystem::path folder = Config::rescueDir();
    if (files().createDirectories(folder).failed()) return std::nullopt;
    const std::filesystem::path file = folder / (id + noteExtension);
    if (files().writeAtomically(file, text).failed()) return std::nullopt;
    return file;
}

std::optional<std::string> Store::read(const std::string& id) {
    std::string bytes;
    if (auto read = files().read(notePath(id), bytes); read.failed()) {
        reportBrokenLink(id, read.reason());
        return std::nullopt;
    }
    if (!isValidUTF8(bytes)) {
        // Left exactly as it is on disk: showing it would mean rewriting bytes we can't represent.
        if (reportedUnreadable().insert(id).second)
            Log::error("can't read " + id + ": the file is not UTF-8 text; it is left untouched");
        return std::nullopt;
    }
    reportedUnreadable().erase(id);
    return bytes;
}

AppState Store::loadState() {
    std::string bytes;
    if (files().read(statePath(), bytes).failed()) return AppState{};
    std::optional<AppState> state;
    std::string problem;
    try {
        state = ModelJSON::decodeState(nlohmann::json::parse(bytes));
        if (!state) problem = "the top level is not a JSON object";
    } catch (const nlohmann::json::exception& error) {
        problem = error.what();
    }
    if (!state) {
        Log::error("can't read " + statePath().string() + ": " + problem);
        return AppState{};
    }
    return *state;
}

bool Store::saveState(const AppState& state) {
    std::string text;
    try {
        text = ModelJSON::text(state);
    } catch (const nlohmann::json::exception& error) {
        Log::error(std::string("can't save state: ") + error.what());
        return false;
    }
    if (auto written = files().writeAtomically(statePath(), text); written.failed()) {
        Log::error("can't save state: " + written.reason());
        return false;
    }
    return true;
}

Files::Result Store::moveToTrash(const std::string& id) {
    files().createDirectories(Config::notesDir() / trashFolderName);
    files().remove(trashPath(id));   // an older trashed copy of the same id gives way
    return files().moveWithoutReplacing(notePath(id), trashPath(id));
}

Files::Result Store::restoreFromTrash(const std::string& id) {
    return files().moveWithoutReplacing(trashPath(id), notePath(id));
}

bool Store::exists(const std::string& id) { return files().exists(notePath(id)); }

}
