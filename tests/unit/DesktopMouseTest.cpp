#include "RegistryFixture.h"

#include "input/DesktopMouse.h"
#include "input/StickyDrag.h"

#include <deque>

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

// While it lives, holds posted work until the test runs it, one task at a
// time; timers go to the fake clock as usual.
class SteppedQueue : public MainQueue {
public:
    explicit SteppedQueue(FakePlatform& platform) : platform(platform), timers(platform.clock) {
        Platform::Services services = Platform::current();
        services.mainQueue = this;
        Platform::install(services);
    }
    ~SteppedQueue() override { platform.reinstall(); }

    void post(Task task) override { held.push_back(std::move(task)); }
    TimerId after(double seconds, Task task) override { return timers.after(seconds, std::move(task)); }
    TimerId every(double interval, double tolerance, Task task) override {
        return timers.every(interval, tolerance, std::move(task));
    }
    void cancel(TimerId id) override { timers.cancel(id); }

    void runOne() {
        Task task = std::move(held.front());
        held.pop_front();
        task();
    }

private:
    FakePlatform& platform;
    MainQueue& timers;
    std::deque<Task> held;
};

// Notes "a" {100, 120, 260, 220} and "b" {500, 120, 260, 220} on desktop 1,
// in front; everywhere else is bare desktop unless a test puts another
// program's window over `awayFromNotes`.
class DesktopMouseTest : public RegistryFixture {
protected:
    static constexpr Point onA{200, 250};
    static constexpr Point awayFromNotes{900, 600};
    static constexpr Rect otherWindow{800, 500, 400, 300};

    std::unique_ptr<DesktopMouse> mouse;

    void SetUp() override {
        RegistryFixture::SetUp();
        AppState state;
        state.stickies["a"] = record(1, {100, 120, 260, 220});
        state.stickies["b"] = record(1, {500, 120, 260, 220});
        saveState(state);
        writeNote("a", "a");
        writeNote("b", "b");
        registry->start();
        mouse = std::make_unique<DesktopMouse>(*registry);
    }

    void TearDown() override {
        mouse.reset();
        RegistryFixture::TearDown();
    }

    MouseAnswer deliver(MouseEvent::Kind kind, Point point, std::uint32_t modifiers = 0) {
        return platform.mouseTap.deliver({kind, point, modifiers});
    }
    MouseAnswer press(Point point, std::uint32_t modifiers = 0) {
        return deliver(MouseEvent::Kind::press, point, modifiers);
    }
    MouseAnswer dragTo(Point point) { return deliver(MouseEvent::Kind::drag, point); }
    MouseAnswer release(Point point) { return deliver(MouseEvent::Kind::release, point); }
    // A press decided on the main queue, as soon as the current event is handled.
    void settle() { platform.clock.runPending(); }

    void putOtherProgramsWindow() { platform.accessibility.regions.push_back({otherWindow, DesktopHit::window}); }
    // The notes' desktop goes out of sight.
    void showEmptyDesktop() { platform.windowServer.switchTo(3); }

    std::size_t noteCount() { return registry->appState().stickies.size(); }
    // The frame of the note made during the test.
    Frame madeFrame() {
        for (const auto& [id, note] : registry->appState().stickies)
            if (id != "a" && id != "b") return note.frame;
        return {};
    }
    std::set<std::string> none() { return {}; }
};

}

// --- starting

TEST_F(DesktopMouseTest, startingSaysTheDesktopMouseFeaturesAreOn) {
    EXPECT_TRUE(mouse->start());
    EXPECT_EQ(log.count("INFO desktop mouse features on"), 1u);
}

TEST_F(DesktopMouseTest, startingAgainOnceTheTapRunsAsksTheDesktopNothingMore) {
    mouse->start();
    EXPECT_TRUE(mouse->start());
    EXPECT_EQ(platform.mouseTap.startsAsked, 1);
    EXPECT_EQ(log.count("INFO desktop mouse features on"), 1u);
}

TEST_F(DesktopMouseTest, aRefusedTapLogsItsErrorOnceHoweverOftenItIsRetried) {
    platform.mouseTap.refuse = true;
    EXPECT_FALSE(mouse->start());
    EXPECT_FALSE(mouse->start());
    EXPECT_FALSE(mouse->start());
    EXPECT_EQ(log.count("ERROR event tap unavailable (no X11 session with XInput 2.2, or another program "
                        "holds Alt+click)"),
              1u);
}

TEST_F(DesktopMouseTest, aTapRefusedAtFirstRunsOnceTheDesktopAllowsIt) {
    platform.mouseTap.refuse = true;
    mouse->start();
    platform.mouseTap.refuse = false;
    EXPECT_TRUE(mouse->start());
    EXPECT_TRUE(platform.mouseTap.started());
    EXPECT_EQ(log.count("INFO desktop mouse features on"), 1u);
}

TEST_F(DesktopMouseTest, aTapThatOutlivesItsWatcherLetsEveryEventPass) {
    mouse->start();
    mouse.reset();
    EXPECT_EQ(press(awayFromNotes, MouseModifiers::alt), MouseAnswer::pass);
    settle();
    EXPECT_EQ(noteCount(), 2u);
}

// --- Alt-click

TEST_F(DesktopMouseTest, anAltClickOnTheDesktopIsSwallowedAndMakesANoteAtTheClick) {
    mouse->start();
    platform.screens.pointerAt = awayFromNotes;
    EXPECT_EQ(press(awayFromNotes, MouseModifiers::alt), MouseAnswer::swallow);
    settle();
    ASSERT_EQ(noteCount(), 3u);
    EXPECT_EQ(madeFrame(), (Frame{888, 580, 260, 220}));   // just below-right of the click
}

TEST_F(DesktopMouseTest, theNoteOfAnAltClickIsMadeAfterThePressIsAnswered) {
    mouse->start();
    press(awayFromNotes, MouseModifiers::alt);
    EXPECT_EQ(noteCount(), 2u);
}

TEST_F(DesktopMouseTest, anAltClickOnTheDesktopSwallowsItsReleaseToo) {
    mouse->start();
    press(awayFromNotes, MouseModifiers::alt);
    EXPECT_EQ(release(awayFromNotes), MouseAnswer::swallow);
}

TEST_F(DesktopMouseTest, onlyTheReleaseOfTheSwallowedPressIsSwallowed) {
    mouse->start();
    press(awayFromNotes, MouseModifiers::alt);
    release(awayFromNotes);
    press(awayFromNotes);
    EXPECT_EQ(release(awayFromNotes), MouseAnswer::pass);
}

TEST_F(DesktopMouseTest, altShiftClickOnTheDesktopIsAPlainPressThatMakesNoNote) {
    mouse->start();
    EXPECT_EQ(press(awayFromNotes, MouseModifiers::alt | MouseModifiers::shift), MouseAnswer::pass);
    settle();
    EXPECT_EQ(noteCount(), 2u);
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::onDesktop);
}

TEST_F(DesktopMouseTest, altShiftDragOnTheDesktopDrawsASelectionBox) {
    mouse->start();
    press(awayFromNotes, MouseModifiers::alt | MouseModifiers::shift);
    settle();
    dragTo({300, 300});
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a", "b"}));
}

TEST_F(DesktopMouseTest, withAltClickTurnedOffAnAltClickPassesAndMakesNoNote) {
    platform.defaults.setFlag(Config::altClickKey, false);
    mouse->start();
    EXPECT_EQ(press(awayFromNotes, MouseModifiers::alt), MouseAnswer::pass);
    settle();
    EXPECT_EQ(noteCount(), 2u);
    EXPECT_EQ(release(awayFromNotes), MouseAnswer::pass);
}

TEST_F(DesktopMouseTest, anAltClickOnAnotherProgramsWindowPassesAndMakesNoNote) {
    putOtherProgramsWindow();
    mouse->start();
    EXPECT_EQ(press(awayFromNotes, MouseModifiers::alt), MouseAnswer::pass);
    settle();
    EXPECT_EQ(noteCount(), 2u);
}

TEST_F(DesktopMouseTest, anAltClickOnANotePassesToTheNote) {
    mouse->start();
    EXPECT_EQ(press(onA, MouseModifiers::alt), MouseAnswer::pass);
    settle();
    EXPECT_EQ(noteCount(), 2u);
}

TEST_F(DesktopMouseTest, anAltClickWhileNoNoteIsOnScreenPassesAndMakesNoNote) {
    showEmptyDesktop();
    mouse->start();
    EXPECT_EQ(press(awayFromNotes, MouseModifiers::alt), MouseAnswer::pass);
    settle();
    EXPECT_EQ(noteCount(), 2u);
}

// --- box selection

TEST_F(DesktopMouseTest, aPlainPressOnTheDesktopIsPendingUntilTheMainQueueChecksIt) {
    mouse->start();
    EXPECT_EQ(press(awayFromNotes), MouseAnswer::pass);
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::pending);
    settle();
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::onDesktop);
}

TEST_F(DesktopMouseTest, aDragFromTheDesktopSelectsTheNotesTheBoxTouches) {
    mouse->start();
    press(awayFromNotes);
    settle();
    EXPECT_EQ(dragTo({600, 300}), MouseAnswer::pass);
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"b"}));
}

TEST_F(DesktopMouseTest, draggingUpAndLeftOfThePressGivesABoxOfPositiveSize) {
    mouse->start();
    press({600, 500});
    settle();
    dragTo({300, 300});
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a", "b"}));
}

TEST_F(DesktopMouseTest, aNoteTheBoxLeavesAgainIsNoLongerSelected) {
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({300, 300});
    dragTo({600, 300});
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"b"}));
}

TEST_F(DesktopMouseTest, aPlainClickOnTheDesktopClearsTheSelection) {
    mouse->start();
    registry->setSelected("a", true);
    press(awayFromNotes);
    release(awayFromNotes);
    settle();
    EXPECT_EQ(registry->selection(), none());
}

TEST_F(DesktopMouseTest, aPressOnANoteStartsNoBoxSelection) {
    mouse->start();
    EXPECT_EQ(press(onA), MouseAnswer::pass);
    settle();
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::none);
    dragTo({600, 300});
    EXPECT_EQ(registry->selection(), none());
}

TEST_F(DesktopMouseTest, aPressOnANoteKeepsTheSelection) {
    mouse->start();
    registry->setSelected("b", true);
    press(onA);
    settle();
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"b"}));
}

TEST_F(DesktopMouseTest, aPressWhileNoNoteIsOnScreenStartsNoBoxSelection) {
    showEmptyDesktop();
    mouse->start();
    EXPECT_EQ(press(awayFromNotes), MouseAnswer::pass);
    settle();
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::none);
    EXPECT_TRUE(platform.accessibility.asked.empty());
}

TEST_F(DesktopMouseTest, aDragWhosePressWasOnAnotherProgramsWindowSelectsNothing) {
    putOtherProgramsWindow();
    mouse->start();
    press(awayFromNotes);
    settle();
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::notDesktop);
    dragTo({300, 300});
    EXPECT_EQ(registry->selection(), none());
}

TEST_F(DesktopMouseTest, aPressOnAnotherProgramsWindowKeepsTheSelection) {
    putOtherProgramsWindow();
    mouse->start();
    registry->setSelected("a", true);
    press(awayFromNotes);
    settle();
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a"}));
}

TEST_F(DesktopMouseTest, noBoxIsDrawnWhileANoteIsDragged) {
    StickyDrag drags(*registry);
    mouse->start();
    press(awayFromNotes);
    settle();
    drags.begin("b", StickyDrag::Kind::move, {550, 130});
    dragTo({300, 300});
    EXPECT_EQ(registry->selection(), none());
}

TEST_F(DesktopMouseTest, theReleaseEndsThePress) {
    mouse->start();
    press(awayFromNotes);
    settle();
    EXPECT_EQ(release(awayFromNotes), MouseAnswer::pass);
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::none);
    EXPECT_EQ(mouse->pressPoint(), (Point{0, 0}));
}

TEST_F(DesktopMouseTest, aDesktopCheckThatComesBackAfterTheReleaseLeavesNoPress) {
    mouse->start();
    press(awayFromNotes);
    release(awayFromNotes);
    settle();
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::none);
}

TEST_F(DesktopMouseTest, aStaleDesktopCheckAfterANewerPressIsIgnored) {
    SteppedQueue stepped(platform);
    mouse->start();
    press(awayFromNotes);
    press({700, 700});
    stepped.runOne();   // the first press's check: the desktop, but for a press that is over
    EXPECT_EQ(mouse->press(), DesktopMouse::Press::pending);
    EXPECT_EQ(mouse->pressPoint(), (Point{700, 700}));
}

TEST_F(DesktopMouseTest, aDesktopCheckThatFinishesAfterTheWatcherIsGoneDoesNothing) {
    mouse->start();
    registry->setSelected("a", true);
    press(awayFromNotes);
    mouse.reset();
    settle();
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"a"}));
}

// --- the rubber band

TEST_F(DesktopMouseTest, theBandFollowsTheBoxDraggedOnTheBareRoot) {
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({600, 300});
    dragTo({300, 650});
    EXPECT_EQ(platform.selectionBox.shows, (std::vector<Rect>{{600, 300, 300, 300}, {300, 600, 600, 50}}));
    EXPECT_EQ(platform.selectionBox.shown, (Rect{300, 600, 600, 50}));
}

TEST_F(DesktopMouseTest, theBandGoesWhenTheButtonIsReleased) {
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({600, 300});
    release({600, 300});
    EXPECT_EQ(platform.selectionBox.shown, std::nullopt);
    EXPECT_EQ(platform.selectionBox.hides, 1);
}

TEST_F(DesktopMouseTest, aNewPressTakesAwayABandWhoseReleaseNeverCame) {
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({600, 300});
    press(onA);
    EXPECT_EQ(platform.selectionBox.shown, std::nullopt);
}

TEST_F(DesktopMouseTest, aDesktopProgramDrawsItsOwnBandOverItsBackground) {
    platform.accessibility.elsewhere = DesktopHit::desktopBackground;
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({600, 300});
    EXPECT_EQ(registry->selection(), (std::set<std::string>{"b"}));   // the box still selects
    EXPECT_TRUE(platform.selectionBox.shows.empty());
}

TEST_F(DesktopMouseTest, noBandIsDrawnForAPressOnANote) {
    mouse->start();
    press(onA);
    settle();
    dragTo({600, 300});
    EXPECT_TRUE(platform.selectionBox.shows.empty());
}

TEST_F(DesktopMouseTest, noBandIsDrawnForAPressOnAnotherProgramsWindow) {
    putOtherProgramsWindow();
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({300, 300});
    EXPECT_TRUE(platform.selectionBox.shows.empty());
}

TEST_F(DesktopMouseTest, noBandIsDrawnBeforeThePressIsKnownToBeOnTheDesktop) {
    mouse->start();
    press(awayFromNotes);
    dragTo({600, 300});
    EXPECT_TRUE(platform.selectionBox.shows.empty());
}

TEST_F(DesktopMouseTest, aPlainClickOnTheBareRootDrawsNoBand) {
    mouse->start();
    press(awayFromNotes);
    settle();
    release(awayFromNotes);
    EXPECT_TRUE(platform.selectionBox.shows.empty());
    EXPECT_EQ(platform.selectionBox.hides, 0);
}

TEST_F(DesktopMouseTest, aBandStillShownWhenTheWatcherGoesIsTakenAway) {
    mouse->start();
    press(awayFromNotes);
    settle();
    dragTo({600, 300});
    mouse.reset();
    EXPECT_EQ(platform.selectionBox.shown, std::nullopt);
}
