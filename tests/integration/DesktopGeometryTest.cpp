// The X11 adapters for screens, desktops and the desktop probe, driven in this
// process against a private Xvfb + openbox session, with the session changed
// the way a person or another program would (xdotool, wmctrl, xrandr, a panel).

#include "integration/Harness.h"
#include "integration/TestWindow.h"

#include "geometry/AX.h"
#include "geometry/Geo.h"
#include "geometry/Spaces.h"
#include "platform/Platform.h"
#include "platform/linux/DisplayUuid.h"
#include "platform/linux/GLibMainQueue.h"
#include "platform/linux/XcbAccessibility.h"
#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbScreens.h"
#include "platform/linux/XcbWindowServer.h"

#include <atspi/atspi.h>
#include <gtest/gtest.h>
#include <xcb/randr.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <numeric>

using namespace marrowleaf;
using namespace marrowleaf::testing;
namespace fs = std::filesystem;

namespace {

constexpr int screenWidth = 1280;
constexpr int screenHeight = 800;

// A base EDID block of a made-up display: maker "MRW", product 0x1234, the
// given serial number, and a valid checksum.
std::vector<std::uint8_t> fakeEdid(std::uint32_t serial) {
    std::vector<std::uint8_t> edid(128, 0);
    const std::uint8_t header[] = {0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00};
    std::memcpy(edid.data(), header, sizeof header);
    const unsigned maker = (('M' - 'A' + 1) << 10) | (('R' - 'A' + 1) << 5) | ('W' - 'A' + 1);
    edid[8] = static_cast<std::uint8_t>(maker >> 8);
    edid[9] = static_cast<std::uint8_t>(maker & 0xff);
    edid[10] = 0x34;
    edid[11] = 0x12;
    for (int i = 0; i < 4; ++i)
        edid[12 + i] = static_cast<std::uint8_t>(serial >> (8 * i));
    edid[18] = 1;   // EDID version 1.4
    edid[19] = 4;
    const unsigned sum = std::accumulate(edid.begin(), edid.end() - 1, 0u);
    edid[127] = static_cast<std::uint8_t>((256 - sum % 256) % 256);
    return edid;
}

// Gives the X screen's one output the EDID, through RandR, as a driver would.
void writeEdid(XConnection& x, const std::vector<std::uint8_t>& edid) {
    xcb_connection_t* c = x.get();
    XcbReply<xcb_randr_get_screen_resources_current_reply_t> resources(
        xcb_randr_get_screen_resources_current_reply(c, xcb_randr_get_screen_resources_current(c, x.root()),
                                                     nullptr));
    ASSERT_TRUE(resources);
    ASSERT_GT(xcb_randr_get_screen_resources_current_outputs_length(resources.get()), 0);
    const xcb_randr_output_t output = xcb_randr_get_screen_resources_current_outputs(resources.get())[0];
    XcbReply<xcb_generic_error_t> error(xcb_request_check(
        c, xcb_randr_change_output_property_checked(c, output, x.atom("EDID"), XCB_ATOM_INTEGER, 8,
                                                    XCB_PROP_MODE_REPLACE,
                                                    static_cast<std::uint32_t>(edid.size()), edid.data())));
    ASSERT_FALSE(error) << "the X server refused the EDID property";
}

std::string firstDisplayUuid(const XSession& session) {
    XcbConnection connection(session.display());
    XcbScreens screens(connection);
    const auto all = screens.all();
    return all.empty() ? std::string() : all.front().uuid;
}

void splitIntoTwoMonitors(const XSession& session) {
    const int half = screenWidth / 2;
    const std::string size = std::to_string(half) + "/169x" + std::to_string(screenHeight) + "/212";
    auto left = session.run({"xrandr", "--setmonitor", "left", size + "+0+0", "screen"});
    ASSERT_EQ(left.exitCode, 0) << left.err;
    auto right =
        session.run({"xrandr", "--setmonitor", "right", size + "+" + std::to_string(half) + "+0", "none"});
    ASSERT_EQ(right.exitCode, 0) << right.err;
}

// The adapters on the session's display, installed as the platform the
// portable geometry code reads through.
class DesktopGeometry : public ::testing::Test {
protected:
    XSession session;
    XcbConnection connection{session.display()};
    XcbScreens screens{connection};
    XcbWindowServer windowServer{connection, screens};
    XcbAccessibility accessibility{connection};
    GLibMainQueue mainQueue;

    void SetUp() override {
        previous = Platform::current();
        Platform::Services platform = previous;
        platform.mainQueue = &mainQueue;
        platform.screens = &screens;
        platform.windowServer = &windowServer;
        platform.accessibility = &accessibility;
        Platform::install(platform);
        Spaces::reset();
    }

    void TearDown() override {
        Spaces::reset();
        Platform::install(previous);
    }

    XConnection& x() { return session.x(); }

    std::unique_ptr<TestWindow> managedWindow(TestWindow::Options options = {}) {
        auto window = std::make_unique<TestWindow>(x(), std::move(options));
        EXPECT_TRUE(window->waitUntilManaged()) << "openbox never managed the window";
        return window;
    }

    bool isActive(const TestWindow& window) {
        auto active = x().rootCardinals("_NET_ACTIVE_WINDOW");
        return active && !active->empty() && active->front() == window.id();
    }

    // Moves the window and waits for the window manager's answer; absent when none came.
    std::optional<bool> move(xcb_window_t window, SpaceId space) {
        std::optional<bool> answer;
        Spaces::move(window, space, [&](bool moved) { answer = moved; });
        runMainContextUntil([&] { return answer.has_value(); }, 15s);
        return answer;
    }

    std::optional<DisplayDescription> firstDisplay() {
        auto displays = windowServer.describeDisplays();
        if (!displays || displays->empty()) return std::nullopt;
        return displays->front();
    }

private:
    Platform::Services previous;
};

}

// --- desktops

TEST_F(DesktopGeometry, everyMonitorListsTheWindowManagersFourDesktopsAsOrdinaryOnes) {
    Spaces::update();
    ASSERT_EQ(Spaces::displays().size(), 1u);
    const DisplaySpaces& display = Spaces::displays().front();
    EXPECT_EQ(display.display, screens.all().front().uuid);
    EXPECT_EQ(display.userSpaces(), (std::vector<SpaceId>{1, 2, 3, 4}));
    EXPECT_EQ(display.current, 1u);
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{1}));
}

TEST_F(DesktopGeometry, aDesktopSwitchMadeWithXdotoolIsAnnouncedAndBecomesTheCurrentDesktop) {
    int announced = 0;
    auto watch = windowServer.watchActiveSpace([&] { ++announced; });
    auto result = session.run({"xdotool", "set_desktop", "2"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(runMainContextUntil([&] { return announced > 0; }));
    EXPECT_EQ(windowServer.focusedSpace(), 3u);
    Spaces::update();
    EXPECT_EQ(Spaces::active(), (std::set<SpaceId>{3}));
}

TEST_F(DesktopGeometry, noAnnouncementFollowsOnceTheWatchIsGone) {
    int announced = 0;
    auto watch = windowServer.watchActiveSpace([&] { ++announced; });
    watch.reset();
    int later = 0;
    auto other = windowServer.watchActiveSpace([&] { ++later; });
    ASSERT_EQ(session.run({"xdotool", "set_desktop", "1"}).exitCode, 0);
    ASSERT_TRUE(runMainContextUntil([&] { return later > 0; }));
    EXPECT_EQ(announced, 0);
}

TEST_F(DesktopGeometry, aWindowPutOnDesktopThreeIsThereAndHiddenWhileDesktopOneShows) {
    auto window = managedWindow();
    ASSERT_TRUE(window->isViewable());
    EXPECT_EQ(move(window->id(), 3), true);
    EXPECT_EQ(windowServer.spacesOfWindow(window->id()), (std::vector<SpaceId>{3}));
    // What the window manager itself publishes, read apart from the adapter.
    EXPECT_EQ(x().cardinals(window->id(), "_NET_WM_DESKTOP"), std::vector<std::uint32_t>{2});
    EXPECT_EQ(windowServer.focusedSpace(), 1u);
    EXPECT_TRUE(waitUntil([&] { return !window->isViewable(); }));
}

TEST_F(DesktopGeometry, aWindowBroughtBackToTheShownDesktopIsVisibleAgain) {
    auto window = managedWindow();
    ASSERT_EQ(move(window->id(), 2), true);
    ASSERT_TRUE(waitUntil([&] { return !window->isViewable(); }));
    EXPECT_EQ(move(window->id(), 1), true);
    EXPECT_TRUE(waitUntil([&] { return window->isViewable(); }));
}

TEST_F(DesktopGeometry, aWindowOnAllDesktopsIsListedOnEachOfThem) {
    auto window = managedWindow();
    ASSERT_EQ(session.run({"xdotool", "set_desktop_for_window", window->hexId(), "-1"}).exitCode, 0);
    ASSERT_TRUE(waitUntil([&] { return windowServer.spacesOfWindow(window->id()).size() == 4; }));
    EXPECT_EQ(windowServer.spacesOfWindow(window->id()), (std::vector<SpaceId>{1, 2, 3, 4}));
}

TEST_F(DesktopGeometry, aWindowTheWindowManagerNeverSawIsOnNoDesktop) {
    TestWindow::Options hidden;
    hidden.mapped = false;
    TestWindow window(x(), hidden);
    EXPECT_EQ(windowServer.spacesOfWindow(window.id()), std::vector<SpaceId>{});
}

TEST_F(DesktopGeometry, aWindowThatDoesNotExistIsOnNoDesktop) {
    EXPECT_EQ(windowServer.spacesOfWindow(0x7ffffff0), std::vector<SpaceId>{});
}

TEST_F(DesktopGeometry, anUnmappedWindowPutOnADesktopShowsThereWhenMapped) {
    TestWindow::Options hidden;
    hidden.mapped = false;
    TestWindow window(x(), hidden);
    // The window manager is asked once it has taken the window.
    std::optional<bool> answer;
    Spaces::move(window.id(), 4, [&](bool moved) { answer = moved; });
    xcb_map_window(x().get(), window.id());
    xcb_flush(x().get());
    ASSERT_TRUE(window.waitUntilManaged());
    ASSERT_TRUE(runMainContextUntil([&] { return answer.has_value(); }, 15s));
    EXPECT_EQ(answer, true);
    EXPECT_EQ(x().cardinals(window.id(), "_NET_WM_DESKTOP"), std::vector<std::uint32_t>{3});
    // Taken on the desktop in front, then sent on: it leaves the screen once moved.
    EXPECT_TRUE(waitUntil([&] { return !window.isViewable(); }));
}

TEST_F(DesktopGeometry, puttingAWindowOnADesktopThatDoesNotExistLeavesItWhereItIs) {
    auto window = managedWindow();
    EXPECT_EQ(move(window->id(), 9), false);
    EXPECT_EQ(windowServer.spacesOfWindow(window->id()), (std::vector<SpaceId>{1}));
}

TEST_F(DesktopGeometry, aFullScreenWindowTurnsItsMonitorsCurrentDesktopIntoAFullScreenOne) {
    auto window = managedWindow();
    ASSERT_TRUE(waitUntil([&] { return isActive(*window); }));
    int announced = 0;
    auto watch = windowServer.watchActiveSpace([&] { ++announced; });
    ASSERT_EQ(session.run({"wmctrl", "-i", "-r", window->hexId(), "-b", "add,fullscreen"}).exitCode, 0);
    EXPECT_TRUE(runMainContextUntil([&] { return announced > 0; }));
    ASSERT_TRUE(waitUntil([&] { return windowServer.focusedSpace() > 4; }));

    Spaces::update();
    const DisplaySpaces& display = Spaces::displays().front();
    EXPECT_EQ(Spaces::typeOf(display.current), WindowServer::fullScreenType);
    EXPECT_EQ(display.current, windowServer.focusedSpace());
    EXPECT_EQ(display.userSpaces(), (std::vector<SpaceId>{1, 2, 3, 4}));
}

TEST_F(DesktopGeometry, leavingFullScreenShowsTheOrdinaryDesktopAgain) {
    auto window = managedWindow();
    ASSERT_TRUE(waitUntil([&] { return isActive(*window); }));
    ASSERT_EQ(session.run({"wmctrl", "-i", "-r", window->hexId(), "-b", "add,fullscreen"}).exitCode, 0);
    ASSERT_TRUE(waitUntil([&] { return windowServer.focusedSpace() > 4; }));
    ASSERT_EQ(session.run({"wmctrl", "-i", "-r", window->hexId(), "-b", "remove,fullscreen"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return windowServer.focusedSpace() == 1; }));
    Spaces::update();
    EXPECT_EQ(Spaces::typeOf(Spaces::displays().front().current), WindowServer::ordinaryType);
}

// --- screens

TEST_F(DesktopGeometry, theScreenIsOneDisplayFillingTheXScreen) {
    const auto all = screens.all();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.front().frame, (Rect{0, 0, screenWidth, screenHeight}));
    EXPECT_EQ(all.front().visibleFrame, all.front().frame);
    EXPECT_FALSE(all.front().uuid.empty());
}

TEST_F(DesktopGeometry, aDockWithAStrutAlongTheTopShrinksTheVisibleFrameAndIsAnnounced) {
    int announced = 0;
    auto watch = screens.watchChanges([&] { ++announced; });
    TestWindow::Options dock;
    dock.area = {0, 0, screenWidth, 30};
    dock.types = {"_NET_WM_WINDOW_TYPE_DOCK"};
    dock.strutPartial = {0, 0, 30, 0, 0, 0, 0, 0, 0, screenWidth - 1, 0, 0};
    auto panel = managedWindow(dock);
    EXPECT_TRUE(runMainContextUntil([&] { return announced > 0; }));
    const auto all = screens.all();
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.front().visibleFrame, (Rect{0, 30, screenWidth, screenHeight - 30}));
    EXPECT_EQ(all.front().frame, (Rect{0, 0, screenWidth, screenHeight}));
}

TEST_F(DesktopGeometry, aPanelThatGoesAwayGivesItsSpaceBack) {
    TestWindow::Options dock;
    dock.area = {0, screenHeight - 40, screenWidth, 40};
    dock.types = {"_NET_WM_WINDOW_TYPE_DOCK"};
    dock.strutPartial = {0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 0, screenWidth - 1};
    auto panel = managedWindow(dock);
    ASSERT_EQ(screens.all().front().visibleFrame, (Rect{0, 0, screenWidth, screenHeight - 40}));
    int announced = 0;
    auto watch = screens.watchChanges([&] { ++announced; });
    panel.reset();
    EXPECT_TRUE(runMainContextUntil([&] { return announced > 0; }));
    EXPECT_EQ(screens.all().front().visibleFrame, (Rect{0, 0, screenWidth, screenHeight}));
}

TEST_F(DesktopGeometry, thePointerIsWhereXdotoolPutIt) {
    ASSERT_EQ(session.run({"xdotool", "mousemove", "321", "123"}).exitCode, 0);
    EXPECT_EQ(screens.pointer(), (Point{321, 123}));
    EXPECT_EQ(Geo::mouse(), (Point{321, 123}));
}

TEST_F(DesktopGeometry, twoMonitorsMadeWithSetmonitorAreTwoDisplaysSideBySide) {
    splitIntoTwoMonitors(session);
    const auto all = screens.all();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].frame, (Rect{0, 0, screenWidth / 2, screenHeight}));
    EXPECT_EQ(all[1].frame, (Rect{screenWidth / 2, 0, screenWidth / 2, screenHeight}));
    EXPECT_NE(all[0].uuid, all[1].uuid);
    Spaces::update();
    ASSERT_EQ(Spaces::displays().size(), 2u);
    EXPECT_EQ(Spaces::displays()[1].display, all[1].uuid);
    EXPECT_EQ(Spaces::displays()[1].userSpaces(), (std::vector<SpaceId>{1, 2, 3, 4}));
}

TEST_F(DesktopGeometry, monitorsMadeWithSetmonitorAreAnnounced) {
    int announced = 0;
    auto watch = screens.watchChanges([&] { ++announced; });
    splitIntoTwoMonitors(session);
    EXPECT_TRUE(runMainContextUntil([&] { return announced > 0; }));
}

TEST_F(DesktopGeometry, thePrimaryMonitorComesFirstThoughMadeLast) {
    const std::string size =
        std::to_string(screenWidth / 2) + "/169x" + std::to_string(screenHeight) + "/212";
    ASSERT_EQ(session.run({"xrandr", "--setmonitor", "left", size + "+0+0", "screen"}).exitCode, 0);
    // A leading star makes the monitor the primary one.
    ASSERT_EQ(session.run({"xrandr", "--setmonitor", "*right", size + "+640+0", "none"}).exitCode, 0);
    const auto all = screens.all();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].frame.x, screenWidth / 2);
    EXPECT_EQ(all[1].frame.x, 0);
}

TEST_F(DesktopGeometry, aStrutOnOneMonitorLeavesTheOtherWhole) {
    splitIntoTwoMonitors(session);
    TestWindow::Options dock;
    dock.area = {screenWidth / 2, 0, screenWidth / 2, 24};
    dock.types = {"_NET_WM_WINDOW_TYPE_DOCK"};
    dock.strutPartial = {0, 0, 24, 0, 0, 0, 0, 0, screenWidth / 2, screenWidth - 1, 0, 0};
    auto panel = managedWindow(dock);
    const auto all = screens.all();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].visibleFrame, all[0].frame);
    EXPECT_EQ(all[1].visibleFrame, (Rect{screenWidth / 2, 24, screenWidth / 2, screenHeight - 24}));
}

TEST_F(DesktopGeometry, theFocusedScreenIsTheOneHoldingTheActiveWindow) {
    splitIntoTwoMonitors(session);
    TestWindow::Options right;
    right.area = {900, 300, 200, 150};
    auto window = managedWindow(right);
    ASSERT_TRUE(waitUntil([&] { return isActive(*window); }));
    const auto focused = screens.focused();
    ASSERT_TRUE(focused);
    EXPECT_EQ(focused->frame, (Rect{screenWidth / 2, 0, screenWidth / 2, screenHeight}));
}

// --- display names

TEST(DisplayUuid, theSameEdidGivesTheSameUuid) {
    EXPECT_EQ(DisplayUuid::fromEdid(fakeEdid(7), "DP-1"), DisplayUuid::fromEdid(fakeEdid(7), "DP-1"));
}

TEST(DisplayUuid, aDisplayWithASerialNumberKeepsItsUuidOnAnotherConnector) {
    EXPECT_EQ(DisplayUuid::fromEdid(fakeEdid(7), "DP-1"), DisplayUuid::fromEdid(fakeEdid(7), "HDMI-1"));
}

TEST(DisplayUuid, anotherSerialNumberGivesAnotherUuid) {
    EXPECT_NE(DisplayUuid::fromEdid(fakeEdid(7), "DP-1"), DisplayUuid::fromEdid(fakeEdid(8), "DP-1"));
}

TEST(DisplayUuid, twoDisplaysOfOneModelWithoutSerialNumbersDifferByConnector) {
    EXPECT_NE(DisplayUuid::fromEdid(fakeEdid(0), "DP-1"), DisplayUuid::fromEdid(fakeEdid(0), "DP-2"));
}

TEST(DisplayUuid, anEdidWithABadChecksumIsRefused) {
    auto edid = fakeEdid(7);
    edid[127] ^= 0xff;
    EXPECT_EQ(DisplayUuid::fromEdid(edid, "DP-1"), std::nullopt);
    EXPECT_EQ(DisplayUuid::fromEdid(std::vector<std::uint8_t>(20, 0), "DP-1"), std::nullopt);
}

TEST(DisplayUuid, isAVersionFiveUuidInUpperCase) {
    const std::string uuid = DisplayUuid::fromConnector("DP-1");
    ASSERT_EQ(uuid.size(), 36u);
    EXPECT_EQ(uuid[8], '-');
    EXPECT_EQ(uuid[14], '5');
    EXPECT_NE(std::string("89AB").find(uuid[19]), std::string::npos);
    EXPECT_EQ(uuid.find_first_of("abcdef"), std::string::npos);
}

TEST(XcbScreensRestart, aDisplayWithoutEdidIsNamedByItsConnectorTheSameWayEachRun) {
    std::string first, second;
    {
        XSession session;
        first = firstDisplayUuid(session);
    }
    {
        XSession session;
        second = firstDisplayUuid(session);
    }
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, DisplayUuid::fromConnector("screen"));
}

TEST(XcbScreensRestart, aFakeEdidWrittenThroughRandrGivesTheSameUuidAcrossTwoRuns) {
    std::string first, second;
    {
        XSession session;
        writeEdid(session.x(), fakeEdid(0x00abcdef));
        first = firstDisplayUuid(session);
    }
    {
        XSession session;
        writeEdid(session.x(), fakeEdid(0x00abcdef));
        second = firstDisplayUuid(session);
    }
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, DisplayUuid::fromEdid(fakeEdid(0x00abcdef), "screen"));
    EXPECT_NE(first, DisplayUuid::fromConnector("screen"));
}

TEST_F(DesktopGeometry, aNewEdidRenamesTheDisplayAndIsAnnounced) {
    const std::string before = screens.all().front().uuid;
    int announced = 0;
    auto watch = screens.watchChanges([&] { ++announced; });
    writeEdid(x(), fakeEdid(42));
    EXPECT_TRUE(runMainContextUntil([&] { return announced > 0; }));
    EXPECT_NE(screens.all().front().uuid, before);
}

// --- what is under a point

TEST_F(DesktopGeometry, theProbesAreTrustedOnAnXServerWithTheInputExtension) {
    EXPECT_TRUE(accessibility.trusted());
}

TEST_F(DesktopGeometry, aPointOverNoWindowAtAllIsTheBareDesktop) {
    EXPECT_EQ(accessibility.whatIsAt({640, 400}), DesktopHit::bareDesktop);
    EXPECT_TRUE(AX::isDesktop({640, 400}));
}

TEST_F(DesktopGeometry, aPointOnAnotherProgramsWindowIsNotTheDesktop) {
    TestWindow::Options other;
    other.area = {200, 200, 300, 200};
    other.pid = session.processes().front();
    auto window = managedWindow(other);
    ASSERT_TRUE(waitUntil([&] { return window->isViewable(); }));
    EXPECT_EQ(accessibility.whatIsAt({350, 300}), DesktopHit::window);
    EXPECT_FALSE(AX::isDesktop({350, 300}));
    EXPECT_EQ(accessibility.whatIsAt({900, 600}), DesktopHit::bareDesktop);
}

TEST_F(DesktopGeometry, aPointOnOneOfOurWindowsIsOurs) {
    TestWindow::Options ours;
    ours.area = {200, 200, 300, 200};
    ours.pid = getpid();
    auto window = managedWindow(ours);
    ASSERT_TRUE(waitUntil([&] { return window->isViewable(); }));
    EXPECT_EQ(accessibility.whatIsAt({350, 300}), DesktopHit::ownWindow);
}

TEST_F(DesktopGeometry, aWindowOnAnotherDesktopHidesNothing) {
    TestWindow::Options other;
    other.area = {200, 200, 300, 200};
    auto window = managedWindow(other);
    ASSERT_EQ(move(window->id(), 2), true);
    ASSERT_TRUE(waitUntil([&] { return !window->isViewable(); }));
    EXPECT_EQ(accessibility.whatIsAt({350, 300}), DesktopHit::bareDesktop);
}

TEST_F(DesktopGeometry, aDesktopWindowOfOursIsStillOurs) {
    TestWindow::Options desktop;
    desktop.area = {0, 0, screenWidth, screenHeight};
    desktop.types = {"_NET_WM_WINDOW_TYPE_DESKTOP"};
    desktop.pid = getpid();
    auto window = managedWindow(desktop);
    ASSERT_TRUE(waitUntil([&] { return window->isViewable(); }));
    EXPECT_EQ(accessibility.whatIsAt({640, 400}), DesktopHit::ownWindow);
}

TEST_F(DesktopGeometry, anotherProgramsDesktopWindowIsItsDesktopBackgroundNotTheBareRoot) {
    TestWindow::Options desktop;
    desktop.area = {0, 0, screenWidth, screenHeight};
    desktop.types = {"_NET_WM_WINDOW_TYPE_DESKTOP"};
    auto window = managedWindow(desktop);
    ASSERT_TRUE(waitUntil([&] { return window->isViewable(); }));
    EXPECT_EQ(accessibility.whatIsAt({640, 400}), DesktopHit::desktopBackground);
    EXPECT_TRUE(AX::isDesktop({640, 400}));
}
