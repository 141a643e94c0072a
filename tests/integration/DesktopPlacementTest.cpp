// Notes put on desktops that are not in front land there, as the window
// manager reports it, even with many of them on a machine that is busy.
#include "integration/RegistrySession.h"

#include <cstdio>
#include <map>
#include <thread>

using namespace marrowleaf;
using namespace marrowleaf::testing;

namespace {

constexpr int noteCount = 300;
constexpr int runs = 10;
constexpr auto settleTimeout = 60s;

// Keeps every core busy for as long as it lives.
class CpuHog {
public:
    CpuHog() {
        ChildProcess::Options loop;
        loop.argv = {"sh", "-c", "while :; do :; done"};
        loop.environment = inheritedEnvironment();
        for (unsigned core = 0; core < std::max(1u, std::thread::hardware_concurrency()); ++core)
            loops.push_back(std::make_unique<ChildProcess>(loop));
    }

private:
    std::vector<std::unique_ptr<ChildProcess>> loops;
};

class DesktopPlacement : public RegistrySession {
protected:
    std::map<std::string, int> desktops;

    void seedMany() {
        for (int i = 0; i < noteCount; ++i) {
            char id[32];
            std::snprintf(id, sizeof id, "sticky-20240101-09%02d%02d", i / 60, i % 60);
            const int desktop = 2 + i % 3;
            desktops[id] = desktop;
            seed(id, "note " + std::to_string(i),
                 recordOn(desktop, 40.0 + (i % 20) * 50, 40.0 + (i / 20) * 40));
        }
    }

    // Whether the window manager has the window (a withdrawn window keeps the last desktop it had).
    bool managed(xcb_window_t window) {
        auto state = x().cardinals(window, "WM_STATE");
        return state && !state->empty() && state->front() != 0;
    }

    // The notes the window manager has on another desktop than their own, or on none.
    std::vector<std::string> misplaced(const std::map<std::string, xcb_window_t>& windows) {
        std::vector<std::string> wrong;
        for (const auto& [id, window] : windows) {
            const auto desktop = desktopOf(window);
            if (!managed(window) || !desktop || *desktop != static_cast<std::uint32_t>(desktops[id] - 1))
                wrong.push_back(id);
        }
        return wrong;
    }

    std::map<std::string, xcb_window_t> noteWindows() {
        std::map<std::string, xcb_window_t> windows;
        auto snapshot = client.snapshot(10s);
        if (!snapshot) return windows;
        for (const auto& note : (*snapshot)["notes"])
            windows[note["id"].get<std::string>()] = note["window"].get<xcb_window_t>();
        return windows;
    }

    std::string describe(const std::vector<std::string>& wrong,
                         const std::map<std::string, xcb_window_t>& windows) {
        std::string text;
        for (std::size_t i = 0; i < wrong.size() && i < 10; ++i) {
            const auto desktop = desktopOf(windows.at(wrong[i]));
            text += "\n  " + wrong[i] + " wants desktop " + std::to_string(desktops[wrong[i]]) + ", is on " +
                    (desktop ? std::to_string(*desktop + 1) : std::string("none")) +
                    (managed(windows.at(wrong[i])) ? "" : ", not managed");
        }
        return text;
    }
};

}

TEST_F(DesktopPlacement, threeHundredNotesOnDesktopsTwoToFourLandOnTheirOwnDesktopsOnABusyMachine) {
    seedMany();
    CpuHog hog;
    for (int run = 1; run <= runs; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        app.start();
        std::map<std::string, xcb_window_t> windows;
        ASSERT_TRUE(waitUntil(
            [&] {
                windows = noteWindows();
                return windows.size() == desktops.size();
            },
            settleTimeout))
            << "the notes never all had windows" << diagnostics();
        std::vector<std::string> wrong;
        const bool settled = waitUntil(
            [&] {
                wrong = misplaced(windows);
                return wrong.empty();
            },
            settleTimeout, 200ms);
        EXPECT_TRUE(settled) << wrong.size() << " of " << noteCount << " notes not on their own desktop"
                             << describe(wrong, windows);
        ASSERT_NO_FATAL_FAILURE(quit());
    }
}
