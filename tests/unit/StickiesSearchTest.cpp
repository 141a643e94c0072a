#include "RegistryFixture.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class StickiesSearch : public RegistryFixture {
protected:
    std::vector<Stickies::SearchItem> itemsFor(const std::map<std::string, std::pair<Record, std::string>>& notes) {
        AppState state;
        for (const auto& [id, note] : notes) {
            state.stickies[id] = note.first;
            writeNote(id, note.second);
        }
        saveState(state);
        registry->start();
        return registry->searchItems();
    }

    Record snoozed(std::optional<std::string> label) {
        Record r = record(1);
        r.snoozeUntil = morning + 3600;
        r.snoozeLabel = std::move(label);
        return r;
    }
};

}

TEST_F(StickiesSearch, aNoteOnTheSecondDesktopSaysSoThenGivesItsTextOnOneLine) {
    const auto items = itemsFor({{"a", {record(2), "# Groceries\nmilk\n\n  eggs"}}});
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].detail, "Desktop 2  ·  # Groceries milk eggs");
    EXPECT_EQ(items[0].title, "Groceries");
    EXPECT_FALSE(items[0].snoozed);
}

TEST_F(StickiesSearch, aSnoozedNoteWithoutALabelSleepsUntilLater) {
    const auto items = itemsFor({{"a", {snoozed(std::nullopt), "x"}}});
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].detail, "😴 until later  ·  x");
    EXPECT_TRUE(items[0].snoozed);
}

TEST_F(StickiesSearch, aSnoozedNoteWithALabelSleepsUntilIt) {
    const auto items = itemsFor({{"a", {snoozed("Tomorrow 9:00"), "x"}}});
    EXPECT_EQ(items.at(0).detail, "😴 until Tomorrow 9:00  ·  x");
}

TEST_F(StickiesSearch, theTextPartStopsAt120Characters) {
    const std::string long_(200, 'w');
    const auto items = itemsFor({{"a", {record(1), long_}}});
    EXPECT_EQ(items.at(0).detail, "Desktop 1  ·  " + std::string(120, 'w'));
}

TEST_F(StickiesSearch, itemsAreSortedByTheirDetailSoByDesktopThenTextAndSleepersLast) {
    const auto items = itemsFor({{"a", {snoozed("soon"), "asleep"}},
                                 {"b", {record(2), "beta"}},
                                 {"c", {record(1), "zulu"}},
                                 {"d", {record(1), "alpha"}}});
    std::vector<std::string> order;
    for (const auto& item : items)
        order.push_back(item.id);
    EXPECT_EQ(order, (std::vector<std::string>{"d", "c", "b", "a"}));
}

TEST_F(StickiesSearch, anEmptyNoteIsListedWithTheEmptyTitle) {
    const auto items = itemsFor({{"a", {record(1), ""}}});
    EXPECT_EQ(items.at(0).title, "(empty)");
    EXPECT_EQ(items.at(0).detail, "Desktop 1  ·  ");
}

TEST_F(StickiesSearch, aHugeRunOfWhiteSpaceIsOneSpace) {
    const auto items = itemsFor({{"a", {record(1), "a" + std::string(200000, ' ') + "\n\t\nb"}}});
    EXPECT_EQ(items.at(0).detail, "Desktop 1  ·  a b");
}
