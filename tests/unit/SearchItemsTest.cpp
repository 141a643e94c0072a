#include "RegistryFixture.h"

#include "registry/SearchItems.h"

using namespace marrowleaf;
using namespace marrowleaf::support;

namespace {

class SearchItemsTest : public RegistryFixture {};

}

TEST_F(SearchItemsTest, aListingLineIsTheIdTheDesktopAndTheTitleBetweenTabs) {
    const auto lines = SearchItems::listing({{"sticky-1", "# Groceries\nmilk", 2, std::nullopt}});
    EXPECT_EQ(lines, std::vector<std::string>{"sticky-1\t2\tGroceries"});
}

TEST_F(SearchItemsTest, aSleepingNoteIsListedWithItsWakingTime) {
    const auto lines = SearchItems::listing({{"sticky-1", "call back", std::nullopt, "Tomorrow 9:00"}});
    EXPECT_EQ(lines, std::vector<std::string>{"sticky-1\tsnoozed until Tomorrow 9:00\tcall back"});
}

TEST_F(SearchItemsTest, theListingFollowsTheSearchItemsOrder) {
    const std::vector<NoteSummary> notes{{"a", "asleep", std::nullopt, "soon"},
                                         {"b", "beta", 2, std::nullopt},
                                         {"c", "zulu", 1, std::nullopt},
                                         {"d", "alpha", 1, std::nullopt}};
    const auto lines = SearchItems::listing(notes);
    const auto items = SearchItems::of(notes);
    ASSERT_EQ(lines.size(), items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        EXPECT_EQ(lines[i].substr(0, lines[i].find('\t')), items[i].id);
    EXPECT_EQ(items.front().id, "d");
    EXPECT_EQ(items.back().id, "a");
}

TEST_F(SearchItemsTest, theFolderIsReadWithoutTheProgramUsingTheRecordedDesktops) {
    AppState state;
    state.stickies["on-two"] = record(2);
    state.stickies["on-zero"] = record(0);
    Record asleep = record(1);
    asleep.snoozeUntil = morning + 60;
    state.stickies["asleep"] = asleep;
    saveState(state);
    for (auto id : {"on-two", "on-zero", "asleep", "new-file"})
        writeNote(id, std::string("text of ") + id);
    const auto lines = SearchItems::listing(SearchItems::inFolder());
    EXPECT_EQ(lines, (std::vector<std::string>{"new-file\t\ttext of new-file", "on-zero\t1\ttext of on-zero",
                                               "on-two\t2\ttext of on-two",
                                               "asleep\tsnoozed until later\ttext of asleep"}));
}

TEST_F(SearchItemsTest, anEmptyOrMissingFolderListsNothing) {
    std::filesystem::remove_all(notes);
    EXPECT_TRUE(SearchItems::inFolder().empty());
}
