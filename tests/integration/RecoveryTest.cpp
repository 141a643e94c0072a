// What other programs and the disk do to note files, in the real program:
// a save by delete-then-recreate, and a notes folder that turns read-only.
#include "integration/RegistrySession.h"

#include <unistd.h>

#include <thread>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

class Recovery : public RegistrySession {
protected:
    const std::string id = "sticky-20240101-090000";

    bool logHas(const std::string& text) {
        const auto lines = app.logLines();
        return std::ranges::any_of(lines, [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
    std::size_t logCount(const std::string& text) {
        const auto lines = app.logLines();
        return static_cast<std::size_t>(
            std::ranges::count_if(lines, [&](const std::string& line) { return line.find(text) != std::string::npos; }));
    }
};

}

TEST_F(Recovery, aNoteSavedByDeleteThenRecreateKeepsItsLookWindowAndPlace) {
    Record look = recordOn(2, 500, 300);
    look.color = "green";
    look.pinned = true;
    seed(id, "before", look);
    ASSERT_NO_FATAL_FAILURE(start());
    const xcb_window_t window = windowOf(id);
    ASSERT_NE(window, XCB_NONE);

    fs::remove(noteFile(id));
    std::this_thread::sleep_for(50ms);   // the other program's own pause between delete and write
    writeFile(noteFile(id), "after");

    ASSERT_TRUE(waitForPage(id, "after")) << diagnostics();
    auto note = AppClient::note(*client.snapshot(), id);
    ASSERT_TRUE(note);
    EXPECT_EQ((*note)["window"], window);
    EXPECT_EQ((*note)["record"]["color"], "green");
    EXPECT_EQ((*note)["record"]["pinned"], true);
    EXPECT_EQ((*note)["record"]["desktop"], 2);
    EXPECT_EQ((*note)["record"]["frame"], json({{"x", 500}, {"y", 300}, {"w", 260}, {"h", 220}}));
    // Past the grace period the note is still there, as it was.
    std::this_thread::sleep_for(2500ms);
    EXPECT_EQ(stateOnDisk()["stickies"][id]["color"], "green") << readFile(stateFile());
}

// The notes folder is bind-mounted read-only over itself in a mount namespace
// of the program's own, then made writable again.
TEST_F(Recovery, textTypedWhileTheFolderIsReadOnlyArrivesOnceItIsWritableAgain) {
    if (geteuid() != 0) GTEST_SKIP() << "a private mount namespace needs root";
    seed(id, "before", recordOn(1, 300, 200));
    const std::string folder = notes().string();
    const std::string setUp = "mount --make-rprivate / && mount --bind \"$0\" \"$0\" && exec \"$@\"";
    ASSERT_NO_FATAL_FAILURE(start({"unshare", "-m", "sh", "-c", setUp, folder}));
    const std::string pid = std::to_string(app.pid());
    auto remount = [&](const std::string& mode) {
        return runCommand({"nsenter", "-t", pid, "-m", "mount", "-o", "remount,bind," + mode, folder}, {}).exitCode;
    };
    ASSERT_EQ(remount("ro"), 0);

    ASSERT_TRUE(client.runScript(id, typeScript("typed while read-only")));
    ASSERT_TRUE(client.runScript(id, leaveEditorScript));
    ASSERT_TRUE(waitUntil([&] { return logHas("can't save " + id + ": "); })) << diagnostics();
    EXPECT_EQ(readFile(noteFile(id)), "before");

    ASSERT_EQ(remount("rw"), 0);
    // Tries come 1, 2, 4, 8, 16 and then every 30 s apart.
    EXPECT_TRUE(waitForFile(noteFile(id), "typed while read-only", 35s)) << diagnostics();
    EXPECT_TRUE(waitUntil([&] { return logHas("saved 1 note that could not be saved before"); })) << diagnostics();
    EXPECT_EQ(logCount("can't save " + id), 1u) << diagnostics();
}
