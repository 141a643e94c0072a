#pragma once
#include "geometry/Rect.h"
#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace marrowleaf {

// One entry of the fixed note palette; every colour is CSS hex text.
struct StickyColor {
    std::string name;
    std::string bg;    // note background
    std::string fg;    // ink
    std::string bar;   // header strip

    bool operator==(const StickyColor&) const = default;

    // The palette in lookup order.
    static const std::array<StickyColor, 6>& all();
    // The entry named exactly `name` (case-sensitive); anything else is yellow.
    static const StickyColor& named(const std::optional<std::string>& name);
};

// A note window's rectangle in points, top-left origin on the primary display.
struct Frame {
    double x = 0;
    double y = 0;
    double w = 0;
    double h = 0;

    // The one conversion between the stored frame and the geometry rectangle.
    static Frame of(const Rect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }
    Rect rect() const { return {x, y, w, h}; }

    // Whether it can be a window at all: every number finite, both sizes above 0.
    bool drawable() const;
    // Where a note whose stored frame can't be drawn shows: the size of a new
    // note, moved onto its display when it opens.
    static Frame fallback() { return {0, 0, 260, 220}; }

    // Exact comparison: frames differing in the last bit are different frames.
    bool operator==(const Frame&) const = default;
};

// Where and how one note shows.
struct Record {
    std::string screen;         // display UUID text
    std::int64_t desktop = 1;   // one-based desktop number on that display
    std::string color = "yellow";
    std::optional<bool> pinned;   // absent and false are written differently
    Frame frame;
    std::optional<double> snoozeUntil;   // seconds since 1970
    std::optional<std::string> snoozeLabel;

    bool operator==(const Record&) const = default;
};

// The whole state file.
struct AppState {
    std::map<std::string, Record> stickies;   // note id → record
    std::map<std::string, bool> hidden;       // desktop key → hidden
    std::optional<std::string> last;

    bool operator==(const AppState&) const = default;
};

// JSON form of the state. Decoding reads each member of AppState on its own:
// a malformed member falls back to its default without costing the others.
struct ModelJSON {
    static nlohmann::json encode(const AppState& state);
    static nlohmann::json encode(const Record& record);
    static nlohmann::json encode(const Frame& frame);

    // Empty when the value is not an object.
    static std::optional<AppState> decodeState(const nlohmann::json& value);
    // Empty on a missing or mistyped required key, or a mistyped optional one.
    static std::optional<Record> decodeRecord(const nlohmann::json& value);
    static std::optional<Frame> decodeFrame(const nlohmann::json& value);

    // Pretty-printed, keys sorted, whole numbers without a fraction.
    static std::string text(const AppState& state);
    // A number as JSON: whole values as integers, others as the shortest exact double.
    static nlohmann::json number(double value);
};

}
