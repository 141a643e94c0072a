#pragma once
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace marrowleaf {

// Stable UUID texts for displays, so that a note stays with its display across
// re-plugging and restarts. A UUID is name-based (SHA-1, version 5) over what
// identifies the display, so the same display always gets the same text.
struct DisplayUuid {
    // From the display's EDID: its maker, product code and serial number. Two
    // displays of one model without a serial number differ by connector.
    // Nothing when the EDID is not a valid base block.
    static std::optional<std::string> fromEdid(std::span<const std::uint8_t> edid,
                                               std::string_view connector);
    // From the connector's name alone, for displays that report no EDID.
    static std::string fromConnector(std::string_view connector);
    // A version-5 UUID over `name` in this program's namespace, upper-case.
    static std::string nameBased(std::string_view name);
};

}
