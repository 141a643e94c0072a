#include "platform/linux/KeyFileDefaults.h"

#include "shell/Log.h"

#include <glib.h>

#include <charconv>
#include <cmath>
#include <system_error>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

constexpr const char* group = "Defaults";
constexpr const char* trueText = "true";
constexpr const char* falseText = "false";
constexpr double microsecondsPerSecond = 1e6;

std::string takeMessage(GError* error) {
    std::string message = error ? error->message : "unknown error";
    g_clear_error(&error);
    return message;
}

std::optional<std::int64_t> parseDecimal(const std::string& text) {
    std::int64_t value = 0;
    const char* begin = text.data();
    const char* end = text.data() + text.size();
    if (begin == end) return std::nullopt;
    auto [stop, status] = std::from_chars(begin, end, value, 10);
    if (status != std::errc() || stop != end) return std::nullopt;
    return value;
}

std::optional<double> parseDate(const std::string& text) {
    GTimeZone* utc = g_time_zone_new_utc();
    GDateTime* moment = g_date_time_new_from_iso8601(text.c_str(), utc);
    g_time_zone_unref(utc);
    if (!moment) return std::nullopt;
    const double seconds = static_cast<double>(g_date_time_to_unix(moment)) +
                           g_date_time_get_microsecond(moment) / microsecondsPerSecond;
    g_date_time_unref(moment);
    return seconds;
}

std::optional<std::string> formatDate(double secondsSince1970) {
    if (!std::isfinite(secondsSince1970)) return std::nullopt;
    const double whole = std::floor(secondsSince1970);
    const auto micros = static_cast<gint64>(std::llround((secondsSince1970 - whole) * microsecondsPerSecond));
    GDateTime* base = g_date_time_new_from_unix_utc(static_cast<gint64>(whole));
    if (!base) return std::nullopt;
    GDateTime* moment = g_date_time_add(base, micros);
    g_date_time_unref(base);
    if (!moment) return std::nullopt;
    gchar* text = g_date_time_format_iso8601(moment);
    g_date_time_unref(moment);
    std::string result = text ? text : "";
    g_free(text);
    if (result.empty()) return std::nullopt;
    return result;
}

}

void KeyFileDefaults::KeyFileDeleter::operator()(GKeyFile* keys) const { g_key_file_free(keys); }

KeyFileDefaults::KeyFileDefaults(fs::path file) : file(std::move(file)) {}

KeyFileDefaults::KeyFilePtr KeyFileDefaults::load(std::string& error) const {
    KeyFilePtr keys(g_key_file_new());
    std::error_code missing;
    if (!fs::exists(file, missing)) return keys;
    GError* failure = nullptr;
    // Comments are kept so that a file the user annotated survives our writes.
    if (!g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_KEEP_COMMENTS, &failure)) {
        error = takeMessage(failure);
        return nullptr;
    }
    return keys;
}

KeyFileDefaults::KeyFilePtr KeyFileDefaults::loadForReading() const {
    std::string error;
    KeyFilePtr keys = load(error);
    if (keys) {
        lastFailure.clear();
        return keys;
    }
    if (error != lastFailure) {
        Log::error("can't read " + file.string() + ": " + error);
        lastFailure = error;
    }
    return nullptr;
}

std::optional<std::string> KeyFileDefaults::rawValue(const std::string& key) const {
    KeyFilePtr keys = loadForReading();
    if (!keys) return std::nullopt;
    gchar* value = g_key_file_get_string(keys.get(), group, key.c_str(), nullptr);
    if (!value) return std::nullopt;
    std::string result = value;
    g_free(value);
    return result;
}

std::optional<std::string> KeyFileDefaults::text(const std::string& key) const { return rawValue(key); }

std::optional<bool> KeyFileDefaults::flag(const std::string& key) const {
    auto value = rawValue(key);
    if (value == trueText) return true;
    if (value == falseText) return false;
    return std::nullopt;
}

std::optional<std::int64_t> KeyFileDefaults::integer(const std::string& key) const {
    auto value = rawValue(key);
    return value ? parseDecimal(*value) : std::nullopt;
}

std::optional<double> KeyFileDefaults::date(const std::string& key) const {
    auto value = rawValue(key);
    return value ? parseDate(*value) : std::nullopt;
}

template <class Change> void KeyFileDefaults::update(Change change) {
    std::string error;
    KeyFilePtr keys = load(error);
    if (!keys) {
        // Overwriting a file we can't parse would throw away whatever the user put in it.
        Log::error("can't save defaults: " + file.string() + ": " + error);
        return;
    }
    change(keys.get());
    std::error_code folderError;
    fs::create_directories(file.parent_path(), folderError);
    if (folderError) {
        Log::error("can't save defaults: " + file.parent_path().string() + ": " + folderError.message());
        return;
    }
    GError* failure = nullptr;
    if (!g_key_file_save_to_file(keys.get(), file.c_str(), &failure))
        Log::error("can't save defaults: " + takeMessage(failure));
}

void KeyFileDefaults::setText(const std::string& key, const std::string& value) {
    update([&](GKeyFile* keys) { g_key_file_set_string(keys, group, key.c_str(), value.c_str()); });
}

void KeyFileDefaults::setFlag(const std::string& key, bool value) {
    update([&](GKeyFile* keys) { g_key_file_set_value(keys, group, key.c_str(), value ? trueText : falseText); });
}

void KeyFileDefaults::setInteger(const std::string& key, std::int64_t value) {
    const std::string text = std::to_string(value);
    update([&](GKeyFile* keys) { g_key_file_set_value(keys, group, key.c_str(), text.c_str()); });
}

void KeyFileDefaults::setDate(const std::string& key, double secondsSince1970) {
    auto text = formatDate(secondsSince1970);
    if (!text) {
        Log::error("can't save defaults: " + key + " is not a date (" + std::to_string(secondsSince1970) + ")");
        return;
    }
    update([&](GKeyFile* keys) { g_key_file_set_value(keys, group, key.c_str(), text->c_str()); });
}

void KeyFileDefaults::remove(const std::string& key) {
    std::string error;
    KeyFilePtr keys = load(error);
    if (keys && !g_key_file_has_key(keys.get(), group, key.c_str(), nullptr)) return;   // nothing to write
    update([&](GKeyFile* keys) { g_key_file_remove_key(keys, group, key.c_str(), nullptr); });
}

}
