#pragma once
#include "platform/LoginItem.h"

#include <filesystem>
#include <string>

namespace marrowleaf {

// Starting at login through an XDG autostart entry: the program starts at
// login while its entry exists and is not marked Hidden=true.
class AutostartLoginItem : public LoginItem {
public:
    // `entry` is the desktop file to write ($XDG_CONFIG_HOME/autostart/…);
    // `program` the path it starts, empty when the program does not know it.
    AutostartLoginItem(std::filesystem::path entry, std::filesystem::path program);

    bool available() const override;
    bool enabled() const override;
    Files::Result setEnabled(bool on) override;

    // The path of the program running now; empty when the system does not say.
    static std::filesystem::path runningProgram();
    // The entry's text for a program at `program`.
    static std::string entryText(const std::filesystem::path& program);
    // `program` as a desktop entry's Exec line holds it: quoted and escaped when it needs to be.
    static std::string execValue(const std::filesystem::path& program);

private:
    std::filesystem::path entry;
    std::filesystem::path program;
};

}
