#pragma once
#include <stdexcept>
#include "FaultyFiles.h"
#include "LogCapture.h"
#include "TempFolder.h"
#include "geometry/Spaces.h"
#include "input/HUD.h"
#include "platform/fake/FakePlatform.h"
#include "registry/Stickies.h"
#include "shell/Config.h"
#include "storage/FileWatcher.h"
#include "storage/Store.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace marrowleaf::support {

// A registry over the in-memory desktop: one 1440 × 900 display "MAIN" with a
// 25-point bar at the top and three shared desktops, desktop 1 in front; a
// notes folder of the test's own; the clock at 2025-03-14 09:30:00 UTC.
class RegistryFixture : public ::testing::Test {
protected:
    static constexpr double morning = 1741944600;
    static constexpr const char* pageTemplate = "<page color=__COLOR__ edit=__EDIT__>__CONTENT__</page>";

    FakePlatform platform;
    TempFolder root;
    LogCapture log;
    std::filesystem::path notes = root / "notes";
    std::unique_ptr<Stickies> registry = std::make_unique<Stickies>();

    void SetUp() override {
        Spaces::reset();
        HUD::reset();
        platform.clock.set(morning);
        writeFile(root / "share/sticky.html", pageTemplate);
        ConfigSources sources;
        // A program path of the test's own, so no page beside a real build is found.
        sources.arguments = {(root / "bin/marrowleaf").string()};
        sources.notesDirOption = notes.string();
        sources.home = root.path;
        sources.dataDirs = {root / "share"};
        Config::configure(sources);
        platform.screens.screens = {FakeScreens::display(1, "MAIN", {0, 0, 1440, 900})};
        platform.screens.pointerAt = {700, 400};
        platform.windowServer.shareDesktops({"MAIN"}, 3, 1);
        std::filesystem::create_directories(notes);
    }

    void TearDown() override {
        registry.reset();
        Store::useFiles(nullptr);
        HUD::reset();
        Spaces::reset();
    }

    void writeNote(const std::string& id, const std::string& text) { writeFile(notes / (id + ".md"), text); }
    std::string noteText(const std::string& id) { return readFile(notes / (id + ".md")); }

    Record record(std::int64_t desktop = 1, Frame frame = {100, 120, 260, 220}) {
        Record r;
        r.screen = "MAIN";
        r.desktop = desktop;
        r.color = "yellow";
        r.frame = frame;
        return r;
    }

    void saveState(const AppState& state) { writeFile(notes / ".stickies.json", ModelJSON::text(state)); }
    AppState stateOnDisk() {
        return ModelJSON::decodeState(nlohmann::json::parse(readFile(notes / ".stickies.json"))).value();
    }

    StickyController& controller(const std::string& id) {
        StickyController* found = registry->controller(id);
        if (!found) throw std::out_of_range("no open note " + id);
        return *found;
    }
    FakeNoteWindow& window(const std::string& id) {
        return *platform.noteWindows.window(controller(id).window().windowNumber());
    }
    // The page posts a message.
    void post(const std::string& id, const nlohmann::json& body) { window(id).deliver(body); }
    // Tells the registry that files changed, as the folder watcher would.
    void folderChanged(std::vector<std::string> names) {
        std::vector<std::string> paths;
        for (auto& name : names)
            paths.push_back((notes / name).string());
        platform.folderEvents.emit(notes, paths);
        platform.clock.advance(FileWatcher::latency);   // past any batching
    }
    std::string hudText() {
        auto* pill = platform.hud.onScreen();
        return pill ? pill->text : "";
    }
    bool shown(const std::string& id) { return controller(id).visible && window(id).orderedIn; }
};

}
