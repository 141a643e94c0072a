// Whatever an open note's page posts, parsed as JSON the way the note window
// parses it, goes through the controller's checks into the registry without
// harm. Each message is posted by a note's page and then by the page of the
// note's conflicting copy, the one page whose banner choices count. An array is
// posted whole, then element by element, so that sequences (copy then paste,
// snooze then close, keep then save) are reached too.
#include "FuzzSupport.h"
#include "registry/Stickies.h"
#include "storage/Model.h"

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>

using namespace marrowleaf;
using namespace marrowleaf::fuzz;

namespace {

constexpr const char* original = "sticky-20250314-093000";
constexpr const char* copy = "sticky-20250314-093000 (conflicted copy 2025-03-14)";
constexpr const char* neighbour = "sticky-20250314-093100";
// Enough for any two messages to meet, few enough to keep each input quick.
constexpr std::size_t messagesPosted = 16;
// Past a deletion's undo time, a snooze check and the message pill.
constexpr double settleSeconds = Stickies::snoozeInterval + Stickies::backSeconds;

Record onFirstDesktop(Frame frame) {
    Record record;
    record.screen = "MAIN";
    record.desktop = 1;
    record.frame = frame;
    return record;
}

// The note's page, while the note is open.
FakeNoteWindow* page(Desktop& desktop, const Stickies& registry, const std::string& id) {
    const StickyController* controller = registry.controller(id);
    return controller ? desktop.platform.noteWindows.window(controller->window().windowNumber()) : nullptr;
}

void post(Desktop& desktop, const Stickies& registry, const nlohmann::json& body) {
    for (const char* id : {original, copy}) {
        if (FakeNoteWindow* window = page(desktop, registry, id)) window->deliver(body);
        desktop.platform.clock.runPending();
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Desktop desktop;
    const nlohmann::json body = nlohmann::json::parse(data, data + size, nullptr, false);
    if (body.is_discarded()) return 0;
    desktop.reset();

    AppState state;
    state.stickies[original] = onFirstDesktop({100, 120, 260, 220});
    state.stickies[neighbour] = onFirstDesktop({400, 120, 260, 220});
    desktop.writeState(ModelJSON::text(state));
    desktop.writeNote(original, "# Shopping\n- [ ] milk\n- [x] bread\n");
    desktop.writeNote(copy, "# Shopping\n- [ ] milk\n- [ ] eggs\n");
    desktop.writeNote(neighbour, "Call the plumber");
    {
        Stickies registry;
        registry.start();
        desktop.platform.clock.runPending();
        require(page(desktop, registry, original) && page(desktop, registry, copy), "both pages are open");
        require(registry.controller(copy)->copyOf == original, "the copy is known as the note's copy");

        post(desktop, registry, body);
        if (body.is_array()) {
            std::size_t posted = 0;
            for (const auto& element : body)
                if (posted++ < messagesPosted) post(desktop, registry, element);
        }
        desktop.platform.clock.advance(settleSeconds);

        std::string saved;
        require(!Store::files().read(Store::statePath(), saved).failed(), "the state file is still there");
        const auto reloaded = ModelJSON::decodeState(nlohmann::json::parse(saved, nullptr, false));
        require(reloaded.has_value(), "the state file the registry writes can be read back");
        for (const auto& [id, record] : reloaded->stickies)
            require(record.frame.drawable(), "every frame written can be drawn");
    }
    desktop.drain(settleSeconds);
    return 0;
}
