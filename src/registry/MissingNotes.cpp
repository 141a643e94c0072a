#include "registry/MissingNotes.h"

namespace marrowleaf {

bool MissingNotes::gone(const std::string& id, double now) {
    auto [entry, first] = since.try_emplace(id, now);
    if (first || now - entry->second < grace) return false;
    since.erase(entry);
    return true;
}

}
