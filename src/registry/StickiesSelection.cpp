#include "registry/Stickies.h"

namespace marrowleaf {

void Stickies::setSelected(const std::string& id, bool on) {
    auto controller = open.find(id);
    if (on && !selected.count(id)) {
        selected.insert(id);
        if (controller != open.end()) controller->second->sendSelected(true);
    } else if (!on && selected.count(id)) {
        selected.erase(id);
        if (controller != open.end()) controller->second->sendSelected(false);
    }
}

void Stickies::clearSelection() {
    for (const auto& id : selected) {
        if (auto controller = open.find(id); controller != open.end())
            controller->second->sendSelected(false);
    }
    selected.clear();
}

}
