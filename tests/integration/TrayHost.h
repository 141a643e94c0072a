#pragma once
// A tray host as the tests see one: the items registered with a stand-in
// StatusNotifierWatcher on the session's bus, and an item's menu read and
// clicked over com.canonical.dbusmenu.
#include "integration/AppClient.h"
#include "integration/Harness.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace marrowleaf::testing {

inline constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
inline constexpr const char* watcherPath = "/StatusNotifierWatcher";
inline constexpr const char* indent = "    ";
inline constexpr auto menuTimeout = 15s;

// One row of the menu as the program sent it.
struct TrayRow {
    int id = 0;
    std::string label;
    bool enabled = true;
    bool visible = true;
    bool separator = false;
    std::string toggleType;   // "checkmark" for a row with a check
    int toggleState = -1;     // 0 off, 1 on
    std::vector<std::vector<std::string>> shortcut;

    // The label as a host shows it: without its indent, and with the doubled
    // underscores that keep a "_" from marking a mnemonic made single again.
    std::string title() const {
        const std::string text = label.substr(static_cast<std::size_t>(indentLevel()) * 4);
        std::string shown;
        for (std::size_t i = 0; i < text.size(); ++i) {
            shown += text[i];
            if (text[i] == '_' && i + 1 < text.size() && text[i + 1] == '_') ++i;
        }
        return shown;
    }
    int indentLevel() const {
        int level = 0;
        while (label.compare(static_cast<std::size_t>(level) * 4, 4, indent) == 0)
            ++level;
        return level;
    }
};

using TrayMenu = std::vector<TrayRow>;

// "---" for a separator, else the title.
inline std::vector<std::string> titles(const TrayMenu& menu) {
    std::vector<std::string> result;
    for (const auto& row : menu)
        result.push_back(row.separator ? "---" : row.title());
    return result;
}

inline std::optional<TrayRow> rowTitled(const TrayMenu& menu, const std::string& title) {
    for (const auto& row : menu)
        if (!row.separator && row.title() == title) return row;
    return std::nullopt;
}

inline std::string describe(const std::optional<TrayMenu>& menu) {
    if (!menu) return "(no menu)";
    std::ostringstream text;
    for (const auto& row : *menu) {
        text << "\n  " << row.id << " ";
        if (row.separator) {
            text << "---";
            continue;
        }
        text << '"' << row.label << '"' << (row.enabled ? "" : " disabled");
        if (!row.toggleType.empty()) text << " " << row.toggleType << "=" << row.toggleState;
        for (const auto& keys : row.shortcut) {
            text << " [";
            for (const auto& key : keys)
                text << key << " ";
            text << "]";
        }
    }
    return text.str();
}

inline TrayRow parseRow(GVariant* layout) {
    TrayRow row;
    GVariant* properties = nullptr;
    GVariant* children = nullptr;
    g_variant_get(layout, "(i@a{sv}@av)", &row.id, &properties, &children);
    GVariantIter iter;
    g_variant_iter_init(&iter, properties);
    const char* key = nullptr;
    GVariant* value = nullptr;
    while (g_variant_iter_next(&iter, "{&sv}", &key, &value)) {
        const std::string name = key;
        if (name == "label" && g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
            row.label = g_variant_get_string(value, nullptr);
        else if (name == "enabled" && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN))
            row.enabled = g_variant_get_boolean(value);
        else if (name == "visible" && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN))
            row.visible = g_variant_get_boolean(value);
        else if (name == "type" && g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
            row.separator = std::string(g_variant_get_string(value, nullptr)) == "separator";
        else if (name == "toggle-type" && g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
            row.toggleType = g_variant_get_string(value, nullptr);
        else if (name == "toggle-state" && g_variant_is_of_type(value, G_VARIANT_TYPE_INT32))
            row.toggleState = g_variant_get_int32(value);
        else if (name == "shortcut" && g_variant_is_of_type(value, G_VARIANT_TYPE("aas"))) {
            GVariantIter combos;
            g_variant_iter_init(&combos, value);
            GVariant* combo = nullptr;
            while ((combo = g_variant_iter_next_value(&combos))) {
                std::vector<std::string> keys;
                gsize count = 0;
                const char** strings = g_variant_get_strv(combo, &count);
                for (gsize i = 0; i < count; ++i)
                    keys.emplace_back(strings[i]);
                g_free(strings);
                row.shortcut.push_back(std::move(keys));
                g_variant_unref(combo);
            }
        }
        g_variant_unref(value);
    }
    g_variant_unref(properties);
    g_variant_unref(children);
    return row;
}

// What a tray host sees on the session bus: the items registered with the
// watcher, and our item's menu.
class TrayHost {
public:
    explicit TrayHost(const XSession& session) : bus(connectToSessionBus(session)) {}
    ~TrayHost() { g_object_unref(bus); }
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;

    bool watcherRunning() {
        GVariant* reply = call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                               "NameHasOwner", g_variant_new("(s)", watcherName), "(b)");
        if (!reply) return false;
        gboolean owned = FALSE;
        g_variant_get(reply, "(b)", &owned);
        g_variant_unref(reply);
        return owned;
    }

    // Every item the watcher holds, as "<bus name><object path>".
    std::vector<std::string> items() {
        std::vector<std::string> result;
        GVariant* value = property(watcherName, watcherPath, watcherName, "RegisteredStatusNotifierItems");
        if (!value) return result;
        gsize count = 0;
        const char** strings = g_variant_get_strv(value, &count);
        for (gsize i = 0; i < count; ++i)
            result.emplace_back(strings[i]);
        g_free(strings);
        g_variant_unref(value);
        return result;
    }

    // A text property of the one registered item (its Id, Title, IconName…); absent without one.
    std::optional<std::string> itemText(const char* name) {
        const auto all = items();
        if (all.size() != 1) return std::nullopt;
        const auto slash = all.front().find('/');
        if (slash == std::string::npos) return std::nullopt;
        GVariant* value = property(all.front().substr(0, slash), all.front().substr(slash),
                                   "org.kde.StatusNotifierItem", name);
        if (!value) return std::nullopt;
        std::optional<std::string> text;
        if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) ||
            g_variant_is_of_type(value, G_VARIANT_TYPE_OBJECT_PATH))
            text = g_variant_get_string(value, nullptr);
        g_variant_unref(value);
        return text;
    }

    // The menu of the one registered item, top-level rows that show, in order.
    std::optional<TrayMenu> menu() {
        const auto all = items();
        if (all.size() != 1) return std::nullopt;
        auto menuPath = itemText("Menu");
        if (!menuPath) return std::nullopt;
        menuOwner = all.front().substr(0, all.front().find('/'));
        menuObject = *menuPath;

        const char* noProperties[] = {nullptr};
        GVariant* reply = call(menuOwner, menuObject, "com.canonical.dbusmenu", "GetLayout",
                               g_variant_new("(ii^as)", 0, -1, noProperties), "(u(ia{sv}av))");
        if (!reply) return std::nullopt;
        guint revision = 0;
        GVariant* root = nullptr;
        g_variant_get(reply, "(u@(ia{sv}av))", &revision, &root);
        TrayMenu rows;
        GVariant* children = g_variant_get_child_value(root, 2);
        for (gsize i = 0; i < g_variant_n_children(children); ++i) {
            GVariant* boxed = g_variant_get_child_value(children, i);
            GVariant* child = g_variant_get_variant(boxed);
            TrayRow row = parseRow(child);
            if (row.visible) rows.push_back(std::move(row));
            g_variant_unref(child);
            g_variant_unref(boxed);
        }
        g_variant_unref(children);
        g_variant_unref(root);
        g_variant_unref(reply);
        return rows;
    }

    // Clicks a row of the menu read last, as a tray host does.
    bool click(int id) {
        if (menuObject.empty()) return false;
        const auto now = static_cast<guint32>(std::time(nullptr));
        GVariant* reply = call(menuOwner, menuObject, "com.canonical.dbusmenu", "Event",
                               g_variant_new("(isvu)", id, "clicked", g_variant_new_int32(0), now), nullptr);
        if (!reply) return false;
        g_variant_unref(reply);
        return true;
    }

private:
    GDBusConnection* bus = nullptr;
    std::string menuOwner;
    std::string menuObject;

    GVariant* call(const std::string& name, const std::string& path, const char* interface,
                   const char* method, GVariant* parameters, const char* replyType) {
        return g_dbus_connection_call_sync(bus, name.c_str(), path.c_str(), interface, method, parameters,
                                           replyType ? G_VARIANT_TYPE(replyType) : nullptr,
                                           G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    }

    GVariant* property(const std::string& name, const std::string& path, const char* interface,
                       const char* property) {
        GVariant* reply = call(name, path, "org.freedesktop.DBus.Properties", "Get",
                               g_variant_new("(ss)", interface, property), "(v)");
        if (!reply) return nullptr;
        GVariant* value = nullptr;
        g_variant_get(reply, "(v)", &value);
        g_variant_unref(reply);
        return value;
    }
};

// A tray on the session's desktop: the watcher stand-in running on the
// session's bus, and the program's menu waited for and chosen from as a
// person would with the tray's menu open.
class DesktopTray : public TrayHost {
public:
    explicit DesktopTray(const XSession& session) : TrayHost(session), session(session) {}

    // Starts the watcher stand-in and waits until it holds its name.
    ::testing::AssertionResult start() {
        ChildProcess::Options o;
        o.argv = {std::string(MARROWLEAF_TEST_SERVICES) + "/status_notifier_watcher.py"};
        o.environment = inheritedEnvironment(session.environment());
        o.standardOutput = log();
        o.standardError = log();
        watcher = std::make_unique<ChildProcess>(o);
        if (waitUntil([&] { return watcherRunning(); })) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "the watcher stand-in never took its name:" << lastLines(log());
    }

    std::filesystem::path log() const { return session.folder() / "watcher.log"; }

    // Waits until the menu satisfies `condition`; the last menu read, or absent.
    std::optional<TrayMenu> waitForMenu(const std::function<bool(const TrayMenu&)>& condition,
                                        std::chrono::milliseconds timeout = menuTimeout) {
        std::optional<TrayMenu> last;
        waitUntil(
            [&] {
                last = menu();
                return last && condition(*last);
            },
            timeout, 50ms);
        return last && condition(*last) ? last : std::nullopt;
    }

    std::optional<TrayMenu> waitForRow(const std::string& title, std::chrono::milliseconds timeout = menuTimeout) {
        return waitForMenu([&](const TrayMenu& rows) { return rowTitled(rows, title).has_value(); }, timeout);
    }

    // Clicks the row with this title once the menu shows it.
    ::testing::AssertionResult choose(const std::string& title) {
        auto rows = waitForRow(title);
        if (!rows)
            return ::testing::AssertionFailure()
                   << "no row \"" << title << "\" in the menu:" << describe(menu()) << diagnostics();
        const TrayRow row = *rowTitled(*rows, title);
        if (!row.enabled) return ::testing::AssertionFailure() << "the row \"" << title << "\" is disabled";
        if (!click(row.id))
            return ::testing::AssertionFailure() << "the menu did not take the click on \"" << title << "\"";
        return ::testing::AssertionSuccess();
    }

    // The watcher's last lines, for a failure message.
    std::string diagnostics() const { return "\nwatcher:" + lastLines(log()); }

private:
    const XSession& session;
    std::unique_ptr<ChildProcess> watcher;
};

}
