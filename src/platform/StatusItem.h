#pragma once
#include <functional>
#include <string>
#include <vector>

namespace marrowleaf {

// One line of the tray menu, or a separator between lines.
struct MenuRow {
    enum class Check { none, off, on };

    std::string title;
    // The key that also does what the row does, as GTK writes accelerators
    // ("<Control><Alt>n"); empty for none. It labels the row only.
    std::string key;
    bool enabled = true;
    Check check = Check::none;
    int indent = 0;
    // The row's number among the rows with an action, 0 for the first; -1 for
    // none. A chosen row is run by this number, and only in the menu it was
    // built for.
    int tag = -1;
    std::function<void()> action;
    bool separator = false;

    static MenuRow line() {
        MenuRow row;
        row.separator = true;
        return row;
    }
    // Everything but the action, which can't be compared.
    bool looksLike(const MenuRow& other) const {
        return title == other.title && key == other.key && enabled == other.enabled && check == other.check &&
               indent == other.indent && tag == other.tag && separator == other.separator &&
               static_cast<bool>(action) == static_cast<bool>(other.action);
    }
};

// What the About panel shows.
struct AboutInfo {
    std::string name;
    std::string version;
    std::string credits;
};

// The application's item in the desktop's tray, the menu under it, and the
// About panel the menu opens.
class StatusItem {
public:
    virtual ~StatusItem() = default;
    // Puts the item in the tray, named `name` for tool tips and screen readers.
    virtual void install(const std::string& name) = 0;
    // The note icon, with a badge when an update waits; `tooltip` goes with it.
    virtual void setBadge(bool updateAvailable, const std::string& tooltip) = 0;
    // Replaces the whole menu; the rows' actions replace the previous ones.
    virtual void show(std::vector<MenuRow> rows) = 0;
    virtual void showAbout(const AboutInfo& about) = 0;
};

}
