#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesSnooze : public RegistryFixture {
protected:
    void snooze(const std::string& id, double until, std::optional<std::string> label = {}) {
        nlohmann::json body{{"t", "snooze"}, {"at", until * 1000}};
        if (label) body["label"] = *label;
        post(id, body);
    }
};

}

TEST_F(StickiesSnooze, aNoteComesBackWithinTwentySecondsOfItsTime) {
    writeNote("a", "# Call the plumber");
    registry->start();
    snooze("a", morning + 30, "soon");
    platform.clock.advance(30);
    EXPECT_FALSE(shown("a"));
    platform.clock.advance(10);   // the 40-second tick
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(hudText(), "📝 Sticky is back: Call the plumber");
    EXPECT_EQ(registry->appState().stickies.at("a").snoozeUntil, std::nullopt);
    EXPECT_EQ(window("a").scripts.back(), "flash()");
}

TEST_F(StickiesSnooze, aWakeTimeInThePastHidesTheNoteUntilTheNextTick) {
    writeNote("a", "x");
    registry->start();
    platform.clock.advance(5);
    snooze("a", morning - 60);
    // Snoozed into the past: off screen until the timer's next tick puts it back.
    EXPECT_EQ(registry->appState().stickies.at("a").snoozeUntil, morning - 60);
    platform.clock.advance(15);
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(hudText(), "📝 Sticky is back: x");
}

TEST_F(StickiesSnooze, severalNotesDueInOneTickSaveOnceAndEachSaysItIsBack) {
    for (auto id : {"a", "b", "c"})
        writeNote(id, id);
    registry->start();
    for (auto id : {"a", "b", "c"})
        snooze(id, morning + 10);
    support::FaultyFiles counting;
    Store::useFiles(&counting);
    platform.clock.advance(20);
    EXPECT_EQ(counting.writes, 1);
    EXPECT_EQ(platform.hud.pills.size(), 3u + 3u);   // three "snoozed", then three "back"
    EXPECT_EQ(platform.hud.pills.back()->text.rfind("📝 Sticky is back: ", 0), 0u);
    for (auto id : {"a", "b", "c"})
        EXPECT_TRUE(shown(id));
}

TEST_F(StickiesSnooze, nothingDueSavesNothing) {
    writeNote("a", "x");
    registry->start();
    support::FaultyFiles counting;
    Store::useFiles(&counting);
    platform.clock.advance(60);
    EXPECT_EQ(counting.writes, 0);
}

TEST_F(StickiesSnooze, theListNamesEachSleepingNoteEarliestFirstWithLaterForNoLabel) {
    writeNote("a", "# Alpha");
    writeNote("b", "- Beta");
    writeNote("c", "Gamma");
    registry->start();
    snooze("a", morning + 7200, "in 2 hours");
    snooze("b", morning + 3600);
    EXPECT_EQ(registry->snoozed(),
              (std::vector<Stickies::Snoozed>{{"b", "Beta", "later"}, {"a", "Alpha", "in 2 hours"}}));
}

TEST_F(StickiesSnooze, notesSnoozedForTheSameMomentKeepAStableOrder) {
    for (auto id : {"a", "b", "c", "d"})
        writeNote(id, id);
    registry->start();
    for (auto id : {"a", "b", "c", "d"})
        snooze(id, morning + 3600);
    std::vector<std::string> ids;
    for (auto& item : registry->snoozed())
        ids.push_back(item.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"a", "b", "c", "d"}));
}

TEST_F(StickiesSnooze, unsnoozeWakesANoteAtOnceWithoutANotification) {
    writeNote("a", "x");
    registry->start();
    snooze("a", morning + 3600);
    const auto pillsBefore = platform.hud.pills.size();
    registry->unsnooze("a");
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(window("a").focusCount, 1);
    EXPECT_EQ(stateOnDisk().stickies.at("a").snoozeUntil, std::nullopt);
    EXPECT_EQ(platform.hud.pills.size(), pillsBefore);
}

TEST_F(StickiesSnooze, unsnoozeOfAnUnknownNoteDoesNothing) {
    registry->start();
    registry->unsnooze("nobody");
    EXPECT_FALSE(std::filesystem::exists(notes / ".stickies.json"));
}

TEST_F(StickiesSnooze, aNoteDueWhileTheAppWasNotRunningComesBackAtLaunch) {
    AppState state;
    state.stickies["a"] = record();
    state.stickies["a"].snoozeUntil = morning - 3600;
    state.stickies["a"].snoozeLabel = "this evening";
    saveState(state);
    writeNote("a", "Back again");
    registry->start();
    EXPECT_TRUE(shown("a"));
    EXPECT_EQ(hudText(), "📝 Sticky is back: Back again");
    EXPECT_EQ(stateOnDisk().stickies.at("a").snoozeLabel, std::nullopt);
}

TEST_F(StickiesSnooze, theCheckRunsTwoSecondsAfterTheMachineWakes) {
    writeNote("a", "x");
    registry->start();
    snooze("a", morning + 5);
    platform.clock.advance(6);   // due, but the next tick is 14 s away
    platform.workspace.wake.emit();
    platform.clock.advance(1.9);
    EXPECT_FALSE(shown("a"));
    platform.clock.advance(0.1);
    EXPECT_TRUE(shown("a"));
}

TEST_F(StickiesSnooze, aWokenNoteOnAnotherDesktopIsNotFlashed) {
    AppState state;
    state.stickies["a"] = record(2);
    state.stickies["a"].snoozeUntil = morning + 10;
    saveState(state);
    writeNote("a", "x");
    platform.windowServer.spacesAfterMove = std::vector<SpaceId>{};
    registry->start();
    platform.clock.advance(20);
    EXPECT_TRUE(std::ranges::find(window("a").scripts, "flash()") == window("a").scripts.end());
    EXPECT_EQ(hudText(), "📝 Sticky is back: x");
}
