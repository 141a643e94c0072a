#pragma once
#include "window/PageNames.h"

#include <string>

// Pieces of script that reach into a note page, built from the page's names.
namespace marrowleaf::testing {

namespace element = page::element;

// The script expression for the element with that id.
inline std::string byId(const char* id) { return std::string("document.getElementById('") + id + "')"; }

// A CSS selector for that element, or for what `inside` selects within it.
inline std::string selector(const char* id, const std::string& inside = "") {
    return std::string("#") + id + (inside.empty() ? "" : " " + inside);
}

}
