// Whatever bytes a note file holds, the store either refuses them or gives
// them back unchanged, and it refuses exactly what the page can't be given:
// text it accepts always reaches the page, as the page's content, as a script
// argument and through its title.
#include "FuzzSupport.h"
#include "registry/Stickies.h"
#include "window/StickyController.h"

#include <cstddef>
#include <cstdint>

using namespace marrowleaf;
using namespace marrowleaf::fuzz;

namespace {

constexpr const char* noteId = "sticky-20250314-093000";
constexpr const char* unserialisable = "null";

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Desktop desktop;
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    desktop.writeNote(noteId, bytes);
    const std::optional<std::string> text = Store::read(noteId);
    const bool pageTakesIt = StickyController::scriptArgument(bytes) != unserialisable;
    require(text.has_value() == pageTakesIt, "the store refuses exactly the text the page can't be given");
    if (!text) return 0;
    require(*text == bytes, "the store gives back the file's bytes unchanged");

    const std::string title = Stickies::title(*text);
    require(!title.empty(), "every note has a title");
    require(StickyController::scriptArgument(title) != unserialisable, "a note's title reaches the page");

    const Record record;
    require(StickyController::page("__CONTENT__", record, *text, false) != unserialisable,
            "the page is built with the note's text");
    require(StickyController::page("__CONFLICT__", record, *text, false, title) != unserialisable,
            "the page is built with a conflicting copy's title");
    StickyController::page(Desktop::pageTemplate, record, *text, true, title);
    return 0;
}
