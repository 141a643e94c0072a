#pragma once
#include "platform/Defaults.h"

#include <map>
#include <variant>

namespace marrowleaf {

// Per-user values held in memory, with the same typing rules as the real store.
class FakeDefaults : public Defaults {
public:
    struct Date {
        double seconds;
        bool operator==(const Date&) const = default;
    };
    using Value = std::variant<std::string, bool, std::int64_t, Date>;

    std::optional<std::string> text(const std::string& key) const override { return get<std::string>(key); }
    std::optional<bool> flag(const std::string& key) const override { return get<bool>(key); }
    std::optional<std::int64_t> integer(const std::string& key) const override { return get<std::int64_t>(key); }
    std::optional<double> date(const std::string& key) const override {
        auto d = get<Date>(key);
        return d ? std::optional<double>(d->seconds) : std::nullopt;
    }

    void setText(const std::string& key, const std::string& value) override { values[key] = value; }
    void setFlag(const std::string& key, bool value) override { values[key] = value; }
    void setInteger(const std::string& key, std::int64_t value) override { values[key] = value; }
    void setDate(const std::string& key, double seconds) override { values[key] = Date{seconds}; }
    void remove(const std::string& key) override { values.erase(key); }

    std::map<std::string, Value> values;

private:
    template <class T> std::optional<T> get(const std::string& key) const {
        auto found = values.find(key);
        if (found == values.end()) return std::nullopt;
        if (auto* v = std::get_if<T>(&found->second)) return *v;
        return std::nullopt;
    }
};

}
