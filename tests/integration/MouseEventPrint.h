#pragma once
// Mouse events in test failure messages, as a person would read them.
#include "platform/MouseTap.h"

#include <ostream>

namespace marrowleaf {

inline void PrintTo(MouseEvent::Kind kind, std::ostream* out) {
    const char* kinds[] = {"press", "drag", "release"};
    *out << kinds[static_cast<int>(kind)];
}

inline void PrintTo(const MouseEvent& event, std::ostream* out) {
    PrintTo(event.kind, out);
    *out << " at " << event.point << " modifiers " << event.modifiers;
}

}
