#include "integration/Harness.h"
#include "integration/Processes.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace marrowleaf::testing;
namespace fs = std::filesystem;

TEST(XSession, runsAWindowManagerWithTheDesktopsAsked) {
    XSession::Options options;
    options.desktops = 3;
    XSession session(options);
    EXPECT_EQ(session.x().rootCardinals("_NET_NUMBER_OF_DESKTOPS"), std::vector<std::uint32_t>{3});
    const CommandResult desktops = session.run({"wmctrl", "-d"});
    ASSERT_EQ(desktops.exitCode, 0) << desktops.err;
    EXPECT_EQ(std::count(desktops.out.begin(), desktops.out.end(), '\n'), 3) << desktops.out;
}

TEST(XSession, hasTheScreenSizeAsked) {
    XSession::Options options;
    options.width = 1024;
    options.height = 600;
    XSession session(options);
    const CommandResult geometry = session.run({"xdotool", "getdisplaygeometry"});
    ASSERT_EQ(geometry.exitCode, 0) << geometry.err;
    EXPECT_EQ(geometry.out, "1024 600\n");
}

TEST(XSession, givesEachSessionADisplayAndABusOfItsOwn) {
    XSession first;
    XSession second;
    EXPECT_NE(first.display(), second.display());
    EXPECT_NE(first.busAddress(), second.busAddress());
    const CommandResult bus = first.run({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
                                         "/org/freedesktop/DBus", "org.freedesktop.DBus.GetId"});
    EXPECT_EQ(bus.exitCode, 0) << bus.err;
}

TEST(XSession, leavesNothingRunningAndNoFolderBehind) {
    std::vector<pid_t> started;
    fs::path folder;
    {
        XSession session;
        started = session.processes();
        folder = session.folder();
        ASSERT_EQ(started.size(), 3u);
        for (pid_t pid : started) EXPECT_TRUE(isRunning(pid)) << pid;
    }
    for (pid_t pid : started) EXPECT_FALSE(isRunning(pid)) << pid;
    EXPECT_FALSE(fs::exists(folder));
}

TEST(Harness, aCommandThatOverrunsItsDeadlineIsStopped) {
    const auto start = SteadyClock::now();
    const CommandResult result = runCommand({"sleep", "30"}, inheritedEnvironment(), 200ms);
    EXPECT_TRUE(result.timedOut());
    EXPECT_LT(SteadyClock::now() - start, 10s);
}

TEST(Harness, aCommandReportsItsExitCodeAndOutput) {
    const CommandResult result =
        runCommand({"sh", "-c", "echo out; echo err >&2; exit 3"}, inheritedEnvironment(), 10s);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "out\n");
    EXPECT_EQ(result.err, "err\n");
}

TEST(Harness, aCommandThatCannotRunSaysSo) {
    EXPECT_THROW(runCommand({"/nonexistent/program"}, inheritedEnvironment()), std::runtime_error);
}

TEST(Harness, waitUntilGivesUpAtItsDeadline) {
    const auto start = SteadyClock::now();
    EXPECT_FALSE(waitUntil([] { return false; }, 100ms));
    EXPECT_GE(SteadyClock::now() - start, 100ms);
}

TEST(AppProcess, runsTheProgramWithAHomeOfItsOwnInTheSession) {
    XSession session;
    fs::path home;
    {
        AppProcess app(session);
        home = app.home();
        const Environment& env = app.environment();
        EXPECT_EQ(env.at("HOME"), home.string());
        EXPECT_EQ(env.at("XDG_STATE_HOME"), (home / ".local/state").string());
        EXPECT_EQ(env.at("XDG_CONFIG_HOME"), (home / ".config").string());
        EXPECT_EQ(env.at("XDG_DATA_HOME"), (home / ".local/share").string());
        EXPECT_EQ(env.at("DISPLAY"), session.display());
        EXPECT_EQ(env.at("DBUS_SESSION_BUS_ADDRESS"), session.busAddress());
        EXPECT_EQ(env.at("MARROWLEAF_TEST"), "1");
        EXPECT_TRUE(fs::is_directory(home));
    }
    EXPECT_FALSE(fs::exists(home));
}
