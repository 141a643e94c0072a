// Whatever bytes the state file holds, loading it gives a state whose every
// frame can be drawn, saving that state and loading it again gives the same
// state, and a registry starts on it with the notes it names.
#include "FuzzSupport.h"
#include "registry/Stickies.h"

#include <cstddef>
#include <cstdint>

using namespace marrowleaf;
using namespace marrowleaf::fuzz;

namespace {

// Enough notes for records to meet on one desktop, few enough to keep each input quick.
constexpr std::size_t notesOpened = 4;
// Past the pages' staggered loading, a snooze check and the message pill.
constexpr double settleSeconds = Stickies::snoozeInterval + Stickies::backSeconds;

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Desktop desktop;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    desktop.reset();

    desktop.writeState(bytes);
    const AppState loaded = Store::loadState();
    for (const auto& [id, record] : loaded.stickies)
        require(record.frame.drawable(), "every frame loaded can be drawn");

    require(Store::saveState(loaded), "a loaded state can be saved");
    require(Store::loadState() == loaded, "a saved state loads back the same");

    // The registry reads the state file itself; it gets the bytes as they were.
    desktop.writeState(bytes);
    std::size_t written = 0;
    for (const auto& [id, record] : loaded.stickies) {
        if (written++ == notesOpened) break;
        desktop.writeNote(id, "# " + id + "\n- [ ] one thing\n");
    }
    {
        Stickies registry;
        registry.start();
        desktop.platform.clock.advance(settleSeconds);
        for (const auto& [id, record] : registry.appState().stickies)
            require(record.frame.drawable(), "every frame the registry holds can be drawn");
    }
    desktop.drain(settleSeconds);
    return 0;
}
