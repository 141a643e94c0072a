#pragma once
#include "platform/Defaults.h"

#include <filesystem>
#include <memory>

typedef struct _GKeyFile GKeyFile;

namespace marrowleaf {

// Per-user values in a key file, group [Defaults]. Every read loads the file
// again, so values the user edits from outside are seen at once; every write
// loads, changes one key and replaces the file atomically. The file holds
// text only, so each type has one spelling and anything else reads as absent:
// a flag is true or false, an integer is decimal, a date is ISO 8601 in UTC.
class KeyFileDefaults : public Defaults {
public:
    explicit KeyFileDefaults(std::filesystem::path file);

    std::optional<std::string> text(const std::string& key) const override;
    std::optional<bool> flag(const std::string& key) const override;
    std::optional<std::int64_t> integer(const std::string& key) const override;
    std::optional<double> date(const std::string& key) const override;

    void setText(const std::string& key, const std::string& value) override;
    void setFlag(const std::string& key, bool value) override;
    void setInteger(const std::string& key, std::int64_t value) override;
    void setDate(const std::string& key, double secondsSince1970) override;
    void remove(const std::string& key) override;

    const std::filesystem::path& path() const { return file; }

private:
    struct KeyFileDeleter {
        void operator()(GKeyFile* keys) const;
    };
    using KeyFilePtr = std::unique_ptr<GKeyFile, KeyFileDeleter>;

    std::filesystem::path file;
    // The last read failure logged, so a broken file is reported once, not on every read.
    mutable std::string lastFailure;

    // The file's keys; empty when it is missing. Null with `error` set when it can't be read.
    KeyFilePtr load(std::string& error) const;
    KeyFilePtr loadForReading() const;
    std::optional<std::string> rawValue(const std::string& key) const;
    // Loads, applies `change`, saves; nothing is written when the file can't be read.
    template <class Change> void update(Change change);
};

}
