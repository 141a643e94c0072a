#include "registry/Characters.h"

#include <utf8proc.h>

namespace marrowleaf {

std::vector<std::size_t> Characters::boundaries(const std::string& text) {
    std::vector<std::size_t> starts;
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    utf8proc_ssize_t at = 0;
    const auto size = static_cast<utf8proc_ssize_t>(text.size());
    utf8proc_int32_t previous = -1;
    utf8proc_int32_t state = 0;
    while (at < size) {
        utf8proc_int32_t codepoint;
        utf8proc_ssize_t used = utf8proc_iterate(bytes + at, size - at, &codepoint);
        if (used <= 0) {   // not UTF-8: count the byte on its own
            used = 1;
            codepoint = -1;
        }
        if (previous < 0 || codepoint < 0 || utf8proc_grapheme_break_stateful(previous, codepoint, &state))
            starts.push_back(static_cast<std::size_t>(at));
        previous = codepoint;
        at += used;
    }
    starts.push_back(text.size());
    return starts;
}

std::string Characters::first(const std::string& text, std::size_t count) {
    const auto starts = boundaries(text);
    if (starts.size() - 1 <= count) return text;
    return text.substr(0, starts[count]);
}

}
