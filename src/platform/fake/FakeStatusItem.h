#pragma once
#include "platform/StatusItem.h"

#include <optional>
#include <stdexcept>

namespace marrowleaf {

// A tray item that records what a person would have seen in it.
class FakeStatusItem : public StatusItem {
public:
    void install(const std::string& itemName) override {
        name = itemName;
        installed = true;
    }
    void setBadge(bool available, const std::string& text) override {
        badge = available;
        tooltip = text;
    }
    void show(std::vector<MenuRow> newRows) override {
        rows = std::move(newRows);
        ++builds;
    }
    void showAbout(const AboutInfo& info) override { about = info; }

    // The row of the menu shown now with this title; throws when there is none.
    const MenuRow& row(const std::string& title) const {
        for (const auto& r : rows)
            if (!r.separator && r.title == title) return r;
        throw std::out_of_range("no row \"" + title + "\" in the menu");
    }
    bool has(const std::string& title) const {
        for (const auto& r : rows)
            if (!r.separator && r.title == title) return true;
        return false;
    }
    // Chooses a row of the menu shown now, as a click would.
    void choose(const std::string& title) const {
        const MenuRow& chosen = row(title);
        if (!chosen.enabled || !chosen.action) return;
        chosen.action();
    }

    bool installed = false;
    std::string name;
    bool badge = false;
    std::string tooltip;
    std::vector<MenuRow> rows;
    int builds = 0;
    std::optional<AboutInfo> about;
};

}
