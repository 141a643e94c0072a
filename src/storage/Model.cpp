#include "storage/Model.h"

#include "shell/Log.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <type_traits>

namespace marrowleaf {

using nlohmann::json;

namespace {

// Integers in this range convert to double and back exactly.
constexpr double largestExactInteger = 9007199254740992.0;   // 2^53

std::optional<double> readNumber(const json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end() || !found->is_number()) return std::nullopt;
    return found->get<double>();
}

std::optional<std::int64_t> readInteger(const json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end()) return std::nullopt;
    if (found->is_number_integer()) return found->get<std::int64_t>();
    if (found->is_number_float()) {
        const double value = found->get<double>();
        if (std::trunc(value) == value && std::fabs(value) <= largestExactInteger)
            return static_cast<std::int64_t>(value);
    }
    return std::nullopt;
}

std::optional<std::string> readText(const json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end() || !found->is_string()) return std::nullopt;
    return found->get<std::string>();
}

template <class T> bool holds(const json& value) {
    if constexpr (std::is_same_v<T, bool>)
        return value.is_boolean();
    else if constexpr (std::is_arithmetic_v<T>)
        return value.is_number();
    else
        return value.is_string();
}

// Reads an optional member into `target`: absent (or null) is fine and leaves
// it empty; false when the member is there with the wrong type.
template <class T> bool readOptional(const json& object, const char* key, std::optional<T>& target) {
    auto found = object.find(key);
    if (found == object.end() || found->is_null()) return true;
    if (!holds<T>(*found)) return false;
    target = found->get<T>();
    return true;
}

}

const std::array<StickyColor, 6>& StickyColor::all() {
    static const std::array<StickyColor, 6> palette{{
        {"yellow", "#fff4a3", "#3b3415", "#f3e27a"},
        {"pink", "#ffd1e0", "#40202b", "#f7b5cb"},
        {"blue", "#cfe6ff", "#18304a", "#acd2fb"},
        {"green", "#d4f5cf", "#1f3a1c", "#b3e8ab"},
        {"purple", "#e5d9ff", "#2e2347", "#cdb9fb"},
        {"mocha", "#313244", "#cdd6f4", "#45475a"},
    }};
    return palette;
}

const StickyColor& StickyColor::named(const std::optional<std::string>& name) {
    const auto& palette = all();
    if (name) {
        for (const auto& color : palette) {
            if (color.name == *name) return color;
        }
    }
    return palette.front();
}

json ModelJSON::number(double value) {
    if (std::trunc(value) == value && std::fabs(value) <= largestExactInteger)
        return static_cast<std::int64_t>(value);
    return value;
}

bool Frame::drawable() const {
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(w) && std::isfinite(h) && w > 0 && h > 0;
}

json ModelJSON::encode(const Frame& frame) {
    return json{
        {"x", number(frame.x)}, {"y", number(frame.y)}, {"w", number(frame.w)}, {"h", number(frame.h)}};
}

json ModelJSON::encode(const Record& record) {
    json out{{"screen", record.screen},
             {"desktop", record.desktop},
             {"color", record.color},
             {"frame", encode(record.frame)}};
    if (record.pinned) out["pinned"] = *record.pinned;
    if (record.snoozeUntil) out["snoozeUntil"] = number(*record.snoozeUntil);
    if (record.snoozeLabel) out["snoozeLabel"] = *record.snoozeLabel;
    return out;
}

json ModelJSON::encode(const AppState& state) {
    json stickies = json::object();
    for (const auto& [id, record] : state.stickies)
        stickies[id] = encode(record);
    json hidden = json::object();
    for (const auto& [key, flag] : state.hidden)
        hidden[key] = flag;
    json out{{"stickies", stickies}, {"hidden", hidden}};
    if (state.last) out["last"] = *state.last;
    return out;
}

std::optional<Frame> ModelJSON::decodeFrame(const json& value) {
    if (!value.is_object()) return std::nullopt;
    auto x = readNumber(value, "x");
    auto y = readNumber(value, "y");
    auto w = readNumber(value, "w");
    auto h = readNumber(value, "h");
    if (!x || !y || !w || !h) return std::nullopt;
    return Frame{*x, *y, *w, *h};
}

std::optional<Record> ModelJSON::decodeRecord(const json& value) {
    if (!value.is_object()) return std::nullopt;
    Record record;
    auto screen = readText(value, "screen");
    if (!screen) return std::nullopt;
    record.screen = *screen;
    auto desktop = readInteger(value, "desktop");
    if (!desktop) return std::nullopt;
    record.desktop = *desktop;
    auto color = readText(value, "color");
    if (!color) return std::nullopt;
    record.color = *color;

    if (!readOptional(value, "pinned", record.pinned)) return std::nullopt;

    auto frameValue = value.find("frame");
    if (frameValue == value.end()) return std::nullopt;
    auto frame = decodeFrame(*frameValue);
    if (!frame) return std::nullopt;
    record.frame = *frame;

    if (!readOptional(value, "snoozeUntil", record.snoozeUntil)) return std::nullopt;
    if (!readOptional(value, "snoozeLabel", record.snoozeLabel)) return std::nullopt;
    return record;
}

namespace {

std::string describe(const Frame& frame) {
    auto text = [](double value) { return ModelJSON::number(value).dump(); };
    return text(frame.w) + " × " + text(frame.h) + " at " + text(frame.x) + ", " + text(frame.y);
}

std::map<std::string, Record> decodeStickies(const json& state) {
    auto found = state.find("stickies");
    if (found == state.end() || !found->is_object()) return {};
    std::map<std::string, Record> stickies;
    for (const auto& [id, value] : found->items()) {
        auto record = ModelJSON::decodeRecord(value);
        if (!record) return {};   // one bad record costs the whole map
        if (!record->frame.drawable()) {
            const Frame& f = record->frame;
            Log::warn("the frame of " + id + " in the state file can't be shown (" + describe(f) +
                      "); the note gets a default frame");
            record->frame = Frame::fallback();
        }
        stickies[id] = *record;
    }
    return stickies;
}

std::map<std::string, bool> decodeHidden(const json& state) {
    auto found = state.find("hidden");
    if (found == state.end() || !found->is_object()) return {};
    std::map<std::string, bool> hidden;
    for (const auto& [key, value] : found->items()) {
        if (!value.is_boolean()) return {};
        hidden[key] = value.get<bool>();
    }
    return hidden;
}

}

std::optional<AppState> ModelJSON::decodeState(const json& value) {
    if (!value.is_object()) return std::nullopt;
    AppState state;
    state.stickies = decodeStickies(value);
    state.hidden = decodeHidden(value);
    state.last = readText(value, "last");
    return state;
}

std::string ModelJSON::text(const AppState& state) {
    // nlohmann's object is an ordered std::map, so keys come out sorted.
    return encode(state).dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

}
