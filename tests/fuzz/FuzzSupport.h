#pragma once
#include "TempFolder.h"
#include "geometry/Spaces.h"
#include "input/HUD.h"
#include "platform/fake/FakePlatform.h"
#include "shell/Config.h"
#include "shell/Log.h"
#include "storage/Files.h"
#include "storage/Store.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

// What every fuzz target has in common: the check that stops a run, a disk in
// memory and the in-memory desktop the registry runs on.
namespace marrowleaf::fuzz {

// Stops the run, naming the property, when an input breaks it; the fuzzer
// keeps the input as a crash.
inline void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", property);
    std::abort();
}

// A disk in memory for the fuzz targets: every input starts from the same
// files without touching the real disk, so a run is fast and repeatable.
// Paths are compared as written; there are no links.
class MemoryFiles : public Files {
public:
    std::map<std::filesystem::path, std::string> files;
    std::set<std::filesystem::path> folders;

    void clear() {
        files.clear();
        folders.clear();
    }

    Result createDirectories(const std::filesystem::path& folder) override {
        if (files.contains(folder)) return failure(EEXIST);
        for (auto at = folder; !at.empty() && at != at.root_path(); at = at.parent_path())
            folders.insert(at);
        return Result::done();
    }
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override {
        if (!folders.contains(folder)) return std::nullopt;
        std::vector<std::string> names;
        for (const auto& [path, bytes] : files)
            if (path.parent_path() == folder) names.push_back(path.filename().string());
        for (const auto& path : folders)
            if (path.parent_path() == folder) names.push_back(path.filename().string());
        return names;
    }
    bool exists(const std::filesystem::path& path) override {
        return files.contains(path) || folders.contains(path);
    }
    std::optional<std::filesystem::path> linkTarget(const std::filesystem::path&) override {
        return std::nullopt;
    }
    Result read(const std::filesystem::path& file, std::string& bytes) override {
        if (folders.contains(file)) return failure(EISDIR);
        auto found = files.find(file);
        if (found == files.end()) return failure(ENOENT);
        bytes = found->second;
        return Result::done();
    }
    Result writeAtomically(const std::filesystem::path& file, std::string_view bytes) override {
        if (!folders.contains(file.parent_path())) return failure(ENOENT);
        if (folders.contains(file)) return failure(EISDIR);
        files[file] = std::string(bytes);
        return Result::done();
    }
    Result moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) override {
        auto found = files.find(from);
        if (found == files.end()) return failure(ENOENT);
        if (exists(to)) return failure(EEXIST);
        if (!folders.contains(to.parent_path())) return failure(ENOENT);
        files[to] = std::move(found->second);
        files.erase(from);
        return Result::done();
    }
    Result remove(const std::filesystem::path& file) override {
        return files.erase(file) == 1 ? Result::done() : failure(ENOENT);
    }

private:
    static Result failure(int number) { return Result::failure(std::strerror(number)); }
};

// The desktop of the registry's unit tests, made once per run: one 1440 × 900
// display "MAIN" with three shared desktops, desktop 1 in front; the notes
// folder in memory; the log silent. `reset` puts everything back before an input.
class Desktop {
    support::TempFolder root;

public:
    static constexpr double morning = 1741944600;   // 2025-03-14 09:30:00 UTC
    // Every placeholder the page fills, around short markup.
    static constexpr const char* pageTemplate =
        "<page bg=__BG__ fg=__FG__ bar=__BAR__ color=__COLOR__ colors=__COLORS__ edit=__EDIT__ "
        "conflict=__CONFLICT__>__CONTENT__</page>";

    FakePlatform platform;
    MemoryFiles disk;
    const std::filesystem::path notes = root / "notes";

    Desktop() {
        Log::setEcho(false);
        Log::setFile({});
        // Config finds the page template on the real disk; the store reads it from memory.
        support::writeFile(templatePath(), pageTemplate);
        ConfigSources sources;
        sources.arguments = {(root / "bin/marrowleaf").string()};
        sources.notesDirOption = notes.string();
        sources.home = root.path;
        sources.dataDirs = {root / "share"};
        Config::configure(sources);
        Store::useFiles(&disk);
        reset();
    }
    ~Desktop() { Store::useFiles(nullptr); }
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    void reset() {
        Spaces::reset();
        HUD::reset();
        platform.clock.set(morning);
        platform.screens.screens = {FakeScreens::display(1, "MAIN", {0, 0, 1440, 900})};
        platform.screens.pointerAt = {700, 400};
        platform.windowServer.windowSpaces.clear();
        platform.windowServer.moves.clear();
        platform.windowServer.shareDesktops({"MAIN"}, 3, 1);
        platform.hud.pills.clear();
        platform.accessibility.asked.clear();
        platform.workspace.opened.clear();
        platform.pasteboard.text.reset();
        disk.clear();
        disk.createDirectories(notes);
        disk.files[templatePath()] = pageTemplate;
    }

    void writeNote(const std::string& id, const std::string& text) { disk.files[Store::notePath(id)] = text; }
    void writeState(const std::string& bytes) { disk.files[Store::statePath()] = bytes; }

    // Runs what falls due in the next `seconds`, then checks that nothing is
    // left waiting: called once the registry is gone, a timer still set would
    // call into it.
    void drain(double seconds) {
        platform.clock.advance(seconds);
        HUD::reset();
        require(platform.clock.pendingCount() == 0, "no work is left waiting once the registry is gone");
    }

private:
    std::filesystem::path templatePath() const { return root / "share/sticky.html"; }
};

}
