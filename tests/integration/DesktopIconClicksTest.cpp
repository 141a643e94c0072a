// Alt-clicks in the real program over a desktop program that shows icons
// over AT-SPI (pcmanfm --desktop), in a private Xvfb + openbox session: its
// background takes a new note, its icons do not.
#include "integration/RegistrySession.h"
#include "platform/linux/GObjectPtr.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

const std::string first = "sticky-20240101-090000";
constexpr const char* iconFile = "shopping.txt";
// Where the desktop's settings put the icon's top-left corner.
constexpr Point iconPlace{300, 200};
// A point of the desktop program's background: no icon, away from the note
// already there and from the middle of the screen, where notes made
// elsewhere than at the click would go.
constexpr Point background{1000, 560};
constexpr double iconCellWidth = 100, iconCellHeight = 90, iconCellStep = 20;
constexpr guint32 screenCoordinates = 0;   // ATSPI_COORD_TYPE_SCREEN
constexpr gint callTimeoutMilliseconds = 2000;

// An accessible object: the bus name of the program that shows it and its path.
struct Accessible {
    std::string name;
    std::string path;
};

// A session's accessibility bus asked over plain D-Bus, as a screen reader
// would: the accessibility library keeps one bus per process, for good, and
// each test here has a session of its own.
class AccessibilityBus {
public:
    explicit AccessibilityBus(const XSession& session) : sessionBus(connectToSessionBus(session)) {}

    // Connects on the first call; whether the bus is there.
    bool reachable() {
        if (bus) return true;
        GVariantPtr reply(call(sessionBus.get(), {"org.a11y.Bus", "/org/a11y/bus"}, "org.a11y.Bus",
                               "GetAddress", nullptr, "(s)"));
        if (!reply) return false;
        const gchar* address = nullptr;
        g_variant_get(reply.get(), "(&s)", &address);
        GErrorOut error;
        bus.reset(g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, &error));
        if (error) problem = std::string("can't connect to the accessibility bus: ") + error.message();
        return bus != nullptr;
    }

    // The frame of the accessible named `label` that program `pid` shows
    // somewhere in the cell whose top-left corner is `place`: its top-level
    // windows are asked what lies at a few points of the cell (only an icon's
    // picture and its name answer, not the cell's padding). Asks no more than
    // the program under test does: a desktop program may crash when its
    // whole tree is walked while it is still loading its icons.
    std::optional<Rect> itemAt(pid_t pid, const std::string& label, Point place) {
        if (!reachable()) return std::nullopt;
        auto application = applicationOf(pid);
        if (!application) return std::nullopt;
        for (const auto& window : children(*application)) {
            for (double dy = iconCellStep; dy < iconCellHeight; dy += iconCellStep)
                for (double dx = iconCellStep; dx < iconCellWidth; dx += iconCellStep) {
                    auto item = accessibleAt(window, {place.x + dx, place.y + dy});
                    if (item && nameOf(*item) == label) return extentsOf(*item);
                }
        }
        return std::nullopt;
    }

    std::string problem;

private:
    GObjectPtr<GDBusConnection> sessionBus;
    GObjectPtr<GDBusConnection> bus;

    static GVariant* call(GDBusConnection* connection, const Accessible& object, const char* interface,
                          const char* method, GVariant* parameters, const char* replyType) {
        return g_dbus_connection_call_sync(connection, object.name.c_str(), object.path.c_str(), interface,
                                           method, parameters, G_VARIANT_TYPE(replyType),
                                           G_DBUS_CALL_FLAGS_NONE, callTimeoutMilliseconds, nullptr, nullptr);
    }

    GVariant* ask(const Accessible& object, const char* interface, const char* method, GVariant* parameters,
                  const char* replyType) {
        return call(bus.get(), object, interface, method, parameters, replyType);
    }

    std::vector<Accessible> children(const Accessible& parent) {
        std::vector<Accessible> result;
        GVariantPtr reply(ask(parent, "org.a11y.atspi.Accessible", "GetChildren", nullptr, "(a(so))"));
        if (!reply) return result;
        GVariantIter* iter = nullptr;
        g_variant_get(reply.get(), "(a(so))", &iter);
        const gchar* name = nullptr;
        const gchar* path = nullptr;
        while (g_variant_iter_next(iter, "(&s&o)", &name, &path))
            result.push_back({name, path});
        g_variant_iter_free(iter);
        return result;
    }

    std::optional<Accessible> applicationOf(pid_t pid) {
        for (const auto& application :
             children({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"})) {
            GVariantPtr reply(ask({"org.freedesktop.DBus", "/org/freedesktop/DBus"}, "org.freedesktop.DBus",
                                  "GetConnectionUnixProcessID",
                                  g_variant_new("(s)", application.name.c_str()), "(u)"));
            guint32 owner = 0;
            if (reply) g_variant_get(reply.get(), "(u)", &owner);
            if (reply && owner == static_cast<guint32>(pid)) return application;
        }
        return std::nullopt;
    }

    std::optional<Accessible> accessibleAt(const Accessible& window, Point point) {
        GVariantPtr reply(ask(window, "org.a11y.atspi.Component", "GetAccessibleAtPoint",
                              g_variant_new("(iiu)", static_cast<gint32>(point.x),
                                            static_cast<gint32>(point.y), screenCoordinates),
                              "((so))"));
        if (!reply) return std::nullopt;
        const gchar* name = nullptr;
        const gchar* path = nullptr;
        g_variant_get(reply.get(), "((&s&o))", &name, &path);
        if (std::string(path) == "/org/a11y/atspi/null") return std::nullopt;
        return Accessible{name, path};
    }

    std::string nameOf(const Accessible& object) {
        GVariantPtr reply(ask(object, "org.freedesktop.DBus.Properties", "Get",
                              g_variant_new("(ss)", "org.a11y.atspi.Accessible", "Name"), "(v)"));
        if (!reply) return {};
        GVariant* inner = nullptr;
        g_variant_get(reply.get(), "(v)", &inner);
        const GVariantPtr value(inner);
        if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING)) return {};
        return g_variant_get_string(value.get(), nullptr);
    }

    std::optional<Rect> extentsOf(const Accessible& object) {
        GVariantPtr reply(ask(object, "org.a11y.atspi.Component", "GetExtents",
                              g_variant_new("(u)", screenCoordinates), "((iiii))"));
        if (!reply) return std::nullopt;
        gint32 x = 0, y = 0, width = 0, height = 0;
        g_variant_get(reply.get(), "((iiii))", &x, &y, &width, &height);
        return Rect{static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
                    static_cast<double>(height)};
    }
};

class DesktopIconClicks : public RegistrySession {
protected:
    TemporaryFolder desktopHome{"marrowleaf-desktop-home"};
    std::unique_ptr<ChildProcess> desktop;
    AccessibilityBus accessibility{session};
    Rect icon;

    fs::path desktopLog() const { return session.folder() / "pcmanfm.log"; }

    // The desktop program with its icon in place and shown over AT-SPI, then
    // the program with one note on the desktop in front.
    void startOnADesktopWithIcons() {
        ASSERT_NO_FATAL_FAILURE(startDesktop());
        seed(first, "already here", recordOn(1, 700, 80));
        ASSERT_NO_FATAL_FAILURE(start());
    }

    void startDesktop() {
        fs::create_directories(desktopHome / "Desktop");
        writeFile(desktopHome / "Desktop" / iconFile, "milk\n");
        // Plain colour, no wallpaper to load, no window manager menu on the desktop.
        writeFile(desktopHome / ".config/pcmanfm/default/pcmanfm.conf",
                  "[config]\nbm_open_method=0\n\n[ui]\nalways_show_tabs=0\n");
        writeFile(
            desktopHome / ".config/pcmanfm/default/desktop-items-0.conf",
            "[*]\nwallpaper_mode=color\ndesktop_bg=#204a87\ndesktop_fg=#ffffff\ndesktop_shadow=#000000\n"
            "show_wm_menu=0\nshow_documents=0\nshow_trash=0\nshow_mounts=0\n\n"
            "[" +
                std::string(iconFile) + "]\nx=" + std::to_string(int(iconPlace.x)) +
                "\ny=" + std::to_string(int(iconPlace.y)) + "\n");

        Environment changes = session.environment();
        changes.merge(Environment{{"HOME", desktopHome.path().string()},
                                  {"XDG_CONFIG_HOME", (desktopHome / ".config").string()},
                                  {"XDG_DATA_HOME", (desktopHome / ".local/share").string()},
                                  {"XDG_CACHE_HOME", (desktopHome / ".cache").string()},
                                  // Its widgets on the accessibility bus, as with a screen reader running.
                                  {"GTK_MODULES", "gail:atk-bridge"},
                                  {"NO_AT_BRIDGE", ""},
                                  {"AT_SPI_BUS_ADDRESS", ""},
                                  {"GSETTINGS_BACKEND", "memory"},
                                  {"GDK_BACKEND", "x11"},
                                  {"WAYLAND_DISPLAY", ""}});
        ChildProcess::Options o;
        o.argv = {"pcmanfm", "--desktop"};
        o.environment = inheritedEnvironment(changes);
        o.standardOutput = desktopLog();
        o.standardError = desktopLog();
        desktop = std::make_unique<ChildProcess>(o);

        std::optional<Rect> shown;
        waitUntil(
            [&] {
                if (!desktop->running()) return true;
                if (!desktopWindowShows()) return false;
                shown = accessibility.itemAt(desktop->pid(), iconFile, iconPlace);
                return shown.has_value();
            },
            20s, 100ms);
        ASSERT_TRUE(desktop->running())
            << "pcmanfm ended with status " << desktop->exitCode().value_or(-1) << ":\n"
            << readFile(desktopLog());
        ASSERT_TRUE(shown) << "the desktop never showed its icon over AT-SPI. " << accessibility.problem
                           << "\nIts log:\n"
                           << readFile(desktopLog());
        icon = *shown;
    }

    bool desktopWindowShows() {
        auto clients = x().rootCardinals("_NET_CLIENT_LIST");
        if (!clients) return false;
        return std::ranges::any_of(*clients, [&](std::uint32_t window) {
            auto types = x().cardinals(window, "_NET_WM_WINDOW_TYPE");
            return types &&
                   std::ranges::find(*types, x().atom("_NET_WM_WINDOW_TYPE_DESKTOP")) != types->end();
        });
    }

    void altClick(Point point) {
        const CommandResult result =
            session.run({"xdotool", "mousemove", std::to_string(int(point.x)), std::to_string(int(point.y)),
                         "keydown", "alt", "click", "1", "keyup", "alt"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    // The notes that are not among `known`, once there is at least one.
    std::vector<json> newNotes(const std::set<std::string>& known) {
        std::vector<json> found;
        client.waitFor([&](const json& snapshot) {
            found.clear();
            for (const auto& note : snapshot["notes"])
                if (!known.count(note["id"].get<std::string>())) found.push_back(note);
            return !found.empty();
        });
        return found;
    }

    static Rect frameOf(const json& note) {
        const json& frame = note["record"]["frame"];
        return {frame["x"].get<double>(), frame["y"].get<double>(), frame["w"].get<double>(),
                frame["h"].get<double>()};
    }

    // Whether the program ever failed to ask the desktop program over AT-SPI.
    bool accessibilityFailed() {
        return std::ranges::any_of(app.logLines(), [](const std::string& line) {
            return line.find("over AT-SPI") != std::string::npos;
        });
    }

    std::string iconDiagnostics() {
        return "\nicon at " + std::to_string(icon.x) + "," + std::to_string(icon.y) + " " +
               std::to_string(icon.width) + "x" + std::to_string(icon.height) + diagnostics() +
               "\npcmanfm:" + lastLines(desktopLog());
    }
};

}

TEST_F(DesktopIconClicks, altClickOnTheDesktopProgramsBackgroundMakesANoteAtTheClick) {
    ASSERT_NO_FATAL_FAILURE(startOnADesktopWithIcons());
    ASSERT_FALSE(icon.contains(background));
    ASSERT_NO_FATAL_FAILURE(altClick(background));
    const auto made = newNotes({first});
    ASSERT_EQ(made.size(), 1u) << iconDiagnostics();
    EXPECT_TRUE(frameOf(made.front()).contains(background)) << made.front().dump();
    EXPECT_EQ(made.front()["record"]["desktop"], 1);
    EXPECT_FALSE(accessibilityFailed()) << iconDiagnostics();
}

TEST_F(DesktopIconClicks, altClickOnADesktopIconMakesNoNote) {
    ASSERT_NO_FATAL_FAILURE(startOnADesktopWithIcons());
    ASSERT_NO_FATAL_FAILURE(altClick(icon.centre()));
    // An Alt-click on the background after it: once its note is there, the
    // click on the icon, taken first, has been decided too.
    ASSERT_NO_FATAL_FAILURE(altClick(background));
    const auto made = newNotes({first});
    ASSERT_EQ(made.size(), 1u) << iconDiagnostics();
    EXPECT_TRUE(frameOf(made.front()).contains(background)) << made.front().dump();
    EXPECT_FALSE(frameOf(made.front()).contains(icon.centre()));
    // The icon was told apart, not merely left alone because the desktop program did not answer.
    EXPECT_FALSE(accessibilityFailed()) << iconDiagnostics();
}
