#pragma once
#include <cstddef>
#include <string>
#include <vector>

namespace marrowleaf {

// Text measured as a reader counts it: an emoji or a letter with a combining
// accent is one character. A byte that is not UTF-8 counts as one.
struct Characters {
    // Byte offsets where each character starts, plus the end.
    static std::vector<std::size_t> boundaries(const std::string& text);
    // The first `count` characters of `text`, or all of it.
    static std::string first(const std::string& text, std::size_t count);
};

}
