#pragma once

// The names the note page and the program share. The page's script is their
// other end: a name changed here is changed there (Resources/sticky/).
namespace marrowleaf::page {

// The messages the page posts: an object whose member `type` names what happened.
namespace message {
inline constexpr const char* type = "t";

inline constexpr const char* save = "save";   // text, version
inline constexpr const char* bar = "bar";     // width
inline constexpr const char* focus = "focus";
inline constexpr const char* clearSelection = "clearSelection";
inline constexpr const char* color = "color";   // name
inline constexpr const char* pin = "pin";
inline constexpr const char* close = "close";
inline constexpr const char* snooze = "snooze";   // at, label
inline constexpr const char* link = "link";       // url
inline constexpr const char* copy = "copy";       // copied
inline constexpr const char* paste = "paste";
inline constexpr const char* conflict = "conflict";   // choice
}

// The members the messages carry besides their type.
namespace field {
inline constexpr const char* text = "c";        // the note's whole text
inline constexpr const char* version = "v";     // how many texts from the program the page had seen
inline constexpr const char* width = "w";       // of the button group, in points
inline constexpr const char* name = "name";     // of a palette colour
inline constexpr const char* at = "at";         // a wake time, ms since 1970
inline constexpr const char* label = "label";   // the words for that time
inline constexpr const char* url = "url";
inline constexpr const char* copied = "text";     // what the person copied
inline constexpr const char* choice = "choice";   // what to do with a conflicting copy
}

// The choices of a conflicting copy's banner.
namespace choice {
inline constexpr const char* keep = "keep";         // its text replaces the original's
inline constexpr const char* dismiss = "dismiss";   // it goes to the trash
}

// The ids of the page's elements.
namespace element {
inline constexpr const char* note = "note";
inline constexpr const char* header = "header";
inline constexpr const char* drag = "drag";
inline constexpr const char* body = "body";
inline constexpr const char* view = "view";
inline constexpr const char* editor = "editor";
inline constexpr const char* colorButton = "colorButton";
inline constexpr const char* pinButton = "pinButton";
inline constexpr const char* snoozeButton = "snoozeButton";
inline constexpr const char* closeButton = "closeButton";
inline constexpr const char* colorMenu = "colorMenu";
inline constexpr const char* swatches = "swatches";
inline constexpr const char* snoozeMenu = "snoozeMenu";
inline constexpr const char* snoozeChoices = "snoozeChoices";
inline constexpr const char* picker = "picker";
inline constexpr const char* pickDate = "pickDate";
inline constexpr const char* pickTime = "pickTime";
inline constexpr const char* pickGo = "pickGo";
inline constexpr const char* pickError = "pickError";
inline constexpr const char* conflict = "conflict";
inline constexpr const char* conflictText = "conflictText";
inline constexpr const char* keepCopy = "keepCopy";
inline constexpr const char* dismissCopy = "dismissCopy";
}

}
