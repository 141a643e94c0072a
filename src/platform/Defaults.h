#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace marrowleaf {

// Typed per-user values. A value stored with another type than the one asked
// for reads as absent: the text "NO" is not a flag.
class Defaults {
public:
    virtual ~Defaults() = default;

    virtual std::optional<std::string> text(const std::string& key) const = 0;
    virtual std::optional<bool> flag(const std::string& key) const = 0;
    virtual std::optional<std::int64_t> integer(const std::string& key) const = 0;
    // A moment, as seconds since 1970.
    virtual std::optional<double> date(const std::string& key) const = 0;

    virtual void setText(const std::string& key, const std::string& value) = 0;
    virtual void setFlag(const std::string& key, bool value) = 0;
    virtual void setInteger(const std::string& key, std::int64_t value) = 0;
    virtual void setDate(const std::string& key, double secondsSince1970) = 0;
    virtual void remove(const std::string& key) = 0;
};

}
