// The desktop probe against a desktop program that shows icons over AT-SPI
// (pcmanfm --desktop), in a private Xvfb + openbox session.
#include "integration/Harness.h"
#include "integration/TestWindow.h"

#include "geometry/AX.h"
#include "platform/Platform.h"
#include "platform/linux/XcbAccessibility.h"
#include "platform/linux/XcbConnection.h"

#include <atspi/atspi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

namespace {

constexpr int screenWidth = 1280;
constexpr int screenHeight = 800;

}

namespace {

// One session for every test of the suite, kept until the process ends: this
// process joins the accessibility bus of the first session that asks and
// stays on it, so a later session's desktop could not be asked.
class DesktopIcons : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        static std::once_flag started;
        std::call_once(started, [] {
            for (const char* name : {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS"}) {
                const char* value = std::getenv(name);
                if (value) savedEnvironment[name] = value;
            }
            static Shared session;
            shared = &session;
        });
    }
    static void TearDownTestSuite() {
        // The accessibility library has read the session's address by now;
        // whatever this process starts later gets the environment it had.
        for (const char* name : {"DISPLAY", "DBUS_SESSION_BUS_ADDRESS", "AT_SPI_BUS_ADDRESS"}) {
            auto saved = savedEnvironment.find(name);
            if (saved != savedEnvironment.end())
                setenv(name, saved->second.c_str(), 1);
            else
                unsetenv(name);
        }
    }

    void SetUp() override {
        ASSERT_TRUE(shared->ready) << shared->problem;
        previous = Platform::current();
        Platform::Services platform = previous;
        platform.accessibility = shared->accessibility.get();
        Platform::install(platform);
    }
    void TearDown() override { Platform::install(previous); }

    static constexpr const char* iconFile = "shopping.txt";
    // Where the desktop's settings put the icon's top-left corner.
    static constexpr Point iconPlace{300, 200};

    struct Shared {
        XSession session;
        TemporaryFolder home{"marrowleaf-desktop-home"};
        std::unique_ptr<ChildProcess> desktop;
        std::unique_ptr<XcbConnection> connection;
        std::unique_ptr<XcbAccessibility> accessibility;
        std::optional<Rect> icon;
        bool ready = false;
        std::string problem;

        Shared() {
            prepareHome();
            startDesktop();
            // This process reads the session's accessibility bus.
            setenv("DISPLAY", session.display().c_str(), 1);
            setenv("DBUS_SESSION_BUS_ADDRESS", session.busAddress().c_str(), 1);
            unsetenv("AT_SPI_BUS_ADDRESS");
            connection = std::make_unique<XcbConnection>(session.display());
            accessibility = std::make_unique<XcbAccessibility>(*connection);
            icon = waitForIcon();
            ready = icon.has_value();
            if (!ready)
                problem = "the desktop never showed its icon over AT-SPI; its log:\n" +
                          readFile(session.folder() / "pcmanfm.log");
            if (!ready && !desktop->running())
                problem += "\npcmanfm ended with status " + std::to_string(desktop->exitCode().value_or(-1));
        }
        ~Shared() {
            accessibility.reset();
            connection.reset();
            if (desktop) desktop->stop();
        }

        void prepareHome() {
            fs::create_directories(home / "Desktop");
            writeFile(home / "Desktop" / iconFile, "milk\n");
            // Plain colour, no wallpaper to load, no window manager menu on the desktop.
            writeFile(home / ".config/pcmanfm/default/pcmanfm.conf",
                      "[config]\nbm_open_method=0\n\n[ui]\nalways_show_tabs=0\n");
            writeFile(
                home / ".config/pcmanfm/default/desktop-items-0.conf",
                "[*]\nwallpaper_mode=color\ndesktop_bg=#204a87\ndesktop_fg=#ffffff\ndesktop_shadow=#000000\n"
                "show_wm_menu=0\nshow_documents=0\nshow_trash=0\nshow_mounts=0\n\n"
                "[" +
                    std::string(iconFile) + "]\nx=" + std::to_string(int(iconPlace.x)) +
                    "\ny=" + std::to_string(int(iconPlace.y)) + "\n");
        }

        void startDesktop() {
            Environment changes = session.environment();
            changes.merge(Environment{{"HOME", home.path().string()},
                                      {"XDG_CONFIG_HOME", (home / ".config").string()},
                                      {"XDG_DATA_HOME", (home / ".local/share").string()},
                                      {"XDG_CACHE_HOME", (home / ".cache").string()},
                                      {"GTK_MODULES", "gail:atk-bridge"},
                                      {"NO_AT_BRIDGE", ""},
                                      {"GSETTINGS_BACKEND", "memory"},
                                      {"GDK_BACKEND", "x11"},
                                      {"WAYLAND_DISPLAY", ""}});
            ChildProcess::Options o;
            o.argv = {"pcmanfm", "--desktop"};
            o.environment = inheritedEnvironment(changes);
            o.standardOutput = session.folder() / "pcmanfm.log";
            o.standardError = session.folder() / "pcmanfm.log";
            desktop = std::make_unique<ChildProcess>(o);
        }

        // Waits until the desktop program shows its window and, over AT-SPI, the
        // icon at the place its settings give it. The probe under test is then
        // checked against the icon's frame as read here.
        //
        // The desktop program may crash when its accessible tree is walked while
        // it is still loading its icons, so this asks no more than the probe
        // does (its top-level window, then what lies at a point) and not often.
        std::optional<Rect> waitForIcon() {
            std::optional<Rect> found;
            waitUntil(
                [&] {
                    while (g_main_context_iteration(nullptr, FALSE)) {
                    }
                    if (!desktop->running() || !desktopWindowShows()) return !desktop->running();
                    found = iconFrame();
                    return found.has_value();
                },
                20s, 100ms);
            return found;
        }

        bool desktopWindowShows() {
            auto clients = session.x().rootCardinals("_NET_CLIENT_LIST");
            if (!clients) return false;
            for (auto window : *clients) {
                auto types = session.x().cardinals(window, "_NET_WM_WINDOW_TYPE");
                if (types && std::ranges::find(*types, session.x().atom("_NET_WM_WINDOW_TYPE_DESKTOP")) !=
                                 types->end())
                    return true;
            }
            return false;
        }

        std::optional<Rect> iconFrame() {
            constexpr int alreadyInitialised = 1;
            if (atspi_init() > alreadyInitialised) return std::nullopt;
            std::optional<Rect> frame;
            AtspiAccessible* root = atspi_get_desktop(0);
            const gint apps = atspi_accessible_get_child_count(root, nullptr);
            for (gint a = 0; a < apps && !frame; ++a) {
                AtspiAccessible* app = atspi_accessible_get_child_at_index(root, a, nullptr);
                if (!app) continue;
                if (atspi_accessible_get_process_id(app, nullptr) == static_cast<guint>(desktop->pid()))
                    frame = namedItemAt(app, iconPlace);
                g_object_unref(app);
            }
            g_object_unref(root);
            return frame;
        }

        static std::optional<Rect> extentsOf(AtspiAccessible* node) {
            AtspiComponent* component = atspi_accessible_get_component_iface(node);
            if (!component) return std::nullopt;
            AtspiRect* r = atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, nullptr);
            g_object_unref(component);
            if (!r) return std::nullopt;
            Rect frame{static_cast<double>(r->x), static_cast<double>(r->y), static_cast<double>(r->width),
                       static_cast<double>(r->height)};
            g_free(r);
            return frame;
        }

        // The frame of the accessible named after the icon's file, found by
        // asking the program's top-level windows what lies at a few points of
        // the icon's cell (only its picture and its name answer, not the cell's
        // padding).
        static std::optional<Rect> namedItemAt(AtspiAccessible* app, Point place) {
            constexpr double cellWidth = 100, cellHeight = 90, step = 20;
            std::optional<Rect> frame;
            const gint windows = atspi_accessible_get_child_count(app, nullptr);
            for (gint w = 0; w < windows && !frame; ++w) {
                AtspiAccessible* window = atspi_accessible_get_child_at_index(app, w, nullptr);
                if (!window) continue;
                AtspiComponent* component = atspi_accessible_get_component_iface(window);
                for (double dy = step; component && dy < cellHeight && !frame; dy += step) {
                    for (double dx = step; dx < cellWidth && !frame; dx += step) {
                        AtspiAccessible* item = atspi_component_get_accessible_at_point(
                            component, static_cast<gint>(place.x + dx), static_cast<gint>(place.y + dy),
                            ATSPI_COORD_TYPE_SCREEN, nullptr);
                        if (!item) continue;
                        gchar* name = atspi_accessible_get_name(item, nullptr);
                        if (name && std::string(name) == iconFile) frame = extentsOf(item);
                        g_free(name);
                        g_object_unref(item);
                    }
                }
                if (component) g_object_unref(component);
                g_object_unref(window);
            }
            return frame;
        }
    };

    static Shared* shared;
    static inline Environment savedEnvironment;

private:
    Platform::Services previous;
};

DesktopIcons::Shared* DesktopIcons::shared = nullptr;

}

TEST_F(DesktopIcons, aPointOnADesktopIconIsNotTheBareDesktop) {
    const Point onIcon = shared->icon->centre();
    ASSERT_EQ(shared->icon->x, iconPlace.x);
    EXPECT_EQ(shared->accessibility->whatIsAt(onIcon), DesktopHit::desktopIcon);
    EXPECT_FALSE(AX::isDesktop(onIcon));
}

TEST_F(DesktopIcons, aPointOnAnIconsNameLabelIsNotTheBareDesktop) {
    const Rect& icon = *shared->icon;
    const Point onLabel{icon.midX(), icon.maxY() - 8};
    EXPECT_EQ(shared->accessibility->whatIsAt(onLabel), DesktopHit::desktopIcon);
}

TEST_F(DesktopIcons, aPointOnTheDesktopProgramsBackgroundIsTheDesktopButNotTheBareRoot) {
    const Point background{screenWidth * 0.6, screenHeight * 0.6};
    ASSERT_FALSE(shared->icon->contains(background));
    EXPECT_EQ(shared->accessibility->whatIsAt(background), DesktopHit::desktopBackground);
    EXPECT_TRUE(AX::isDesktop(background));
}

TEST_F(DesktopIcons, aPointJustBesideAnIconIsTheDesktopProgramsBackground) {
    const Rect& icon = *shared->icon;
    const Point beside{icon.maxX() + 8, icon.midY()};
    EXPECT_EQ(shared->accessibility->whatIsAt(beside), DesktopHit::desktopBackground);
}

TEST_F(DesktopIcons, anotherProgramsWindowOverTheDesktopIsAWindow) {
    TestWindow::Options other;
    other.area = {500, 300, 200, 150};
    TestWindow window(shared->session.x(), other);
    ASSERT_TRUE(window.waitUntilManaged());
    ASSERT_TRUE(waitUntil([&] { return window.isViewable(); }));
    EXPECT_EQ(shared->accessibility->whatIsAt({600, 375}), DesktopHit::window);
}
