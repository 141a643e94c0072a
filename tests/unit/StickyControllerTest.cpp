#include "window/StickyController.h"

#include "LogCapture.h"
#include "platform/fake/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace marrowleaf;
using nlohmann::json;
using ::testing::ElementsAre;

namespace {

const std::string allPlaceholders =
    "bg=__BG__ fg=__FG__ bar=__BAR__ color=__COLOR__ colors=__COLORS__ content=__CONTENT__ edit=__EDIT__";

Record recordIn(const std::string& color, std::optional<bool> pinned = std::nullopt) {
    Record record;
    record.screen = "SCREEN-1";
    record.color = color;
    record.pinned = pinned;
    record.frame = {100, 120, 260, 220};
    return record;
}

struct Received {
    std::string type;
    json body;
    bool operator==(const Received&) const = default;
};

void PrintTo(const Received& r, std::ostream* out) { *out << r.type << " " << r.body.dump(); }

// One note over the in-memory desktop, recording every message handed on.
class StickyControllerTest : public ::testing::Test {
protected:
    FakePlatform platform;
    std::string pageTemplate = allPlaceholders;
    std::vector<Received> received;

    std::unique_ptr<StickyController> open(const Record& record = recordIn("yellow"),
                                           const std::string& content = "hello", bool editNow = false) {
        return std::make_unique<StickyController>(
            "sticky-20260314-101500", content, record, editNow, pageTemplate,
            [this](StickyController&, const std::string& type, const json& body) {
                received.push_back({type, body});
            });
    }

    FakeNoteWindow& window() { return *platform.noteWindows.last(); }
};

}

// ---------------------------------------------------------------- scripts into the page

TEST(StickyControllerScripts, passesTextAsTheFirstItemOfAJsonArray) {
    EXPECT_EQ(StickyController::setContentScript("hi \"you\""), R"(setContent(["hi \"you\""][0]))");
}

TEST(StickyControllerScripts, escapesClosingTagsInPassedText) {
    EXPECT_EQ(StickyController::setContentScript("</script>"), R"(setContent(["<\/script>"][0]))");
    EXPECT_EQ(StickyController::pasteTextScript("a</b"), R"(pasteText(["a<\/b"][0]))");
}

TEST(StickyControllerScripts, passesNullForTextThatIsNotUtf8) {
    support::LogCapture log;
    EXPECT_EQ(StickyController::setContentScript("\xc3"), "setContent(null[0])");
    EXPECT_EQ(StickyController::pasteTextScript("\xc3"), "pasteText(null[0])");
    EXPECT_EQ(log.count("ERROR can't pass text to a note page"), 2u);
}

TEST(StickyControllerScripts, passesAColoursFourValuesInOrder) {
    EXPECT_EQ(StickyController::setColorScript(StickyColor::named("mocha")),
              R"(setColor(["mocha"][0],["#313244"][0],["#cdd6f4"][0],["#45475a"][0]))");
}

TEST(StickyControllerScripts, spellsOutFlagsForSelectionAndTrash) {
    EXPECT_EQ(StickyController::setSelectedScript(true), "setSelected(true)");
    EXPECT_EQ(StickyController::setSelectedScript(false), "setSelected(false)");
    EXPECT_EQ(StickyController::setTrashScript(true), "setTrash(true)");
    EXPECT_EQ(StickyController::setTrashScript(false), "setTrash(false)");
    EXPECT_EQ(StickyController::flashScript(), "flash()");
}

// ---------------------------------------------------------------- a controller

TEST_F(StickyControllerTest, startsHiddenUnplacedUntriedWithTheDefaultButtonWidth) {
    auto controller = open();
    EXPECT_EQ(controller->id, "sticky-20260314-101500");
    EXPECT_EQ(controller->content, "hello");
    EXPECT_FALSE(controller->visible);
    EXPECT_EQ(controller->placed, std::nullopt);
    EXPECT_FALSE(controller->remoteTried);
    EXPECT_EQ(controller->buttonsWidth, 90);
}

TEST_F(StickyControllerTest, makesOneWindowAtTheRecordsFrameWithoutShowingIt) {
    auto controller = open();
    ASSERT_EQ(platform.noteWindows.windows().size(), 1u);
    EXPECT_EQ(window().createdFrame, (Rect{100, 120, 260, 220}));
    EXPECT_EQ(&controller->window(), &window());
    EXPECT_FALSE(window().orderedIn);
    EXPECT_TRUE(window().calls.empty());
}

TEST_F(StickyControllerTest, givesAnUnpinnedNoteTheNormalLevel) {
    auto controller = open(recordIn("yellow"));
    EXPECT_EQ(window().createdLevel, WindowLevel::normal);
    auto unpinned = open(recordIn("yellow", false));
    EXPECT_EQ(window().createdLevel, WindowLevel::normal);
}

TEST_F(StickyControllerTest, givesAPinnedNoteTheFloatingLevel) {
    auto controller = open(recordIn("yellow", true));
    EXPECT_EQ(window().createdLevel, WindowLevel::floating);
}

TEST(StickyControllerLevels, liftADraggedNoteAboveAPinnedOne) {
    EXPECT_GT(static_cast<int>(StickyController::levelDrag), static_cast<int>(WindowLevel::floating));
    EXPECT_GT(static_cast<int>(WindowLevel::floating), static_cast<int>(WindowLevel::normal));
    EXPECT_EQ(StickyController::level(true), WindowLevel::floating);
    EXPECT_EQ(StickyController::level(false), WindowLevel::normal);
}

TEST_F(StickyControllerTest, loadsTheNotesPageOnce) {
    pageTemplate = "<p>__CONTENT__ in __COLOR__, editing __EDIT__</p>";
    auto controller = open(recordIn("blue"), "buy </script> milk", true);
    EXPECT_THAT(window().pages, ElementsAre(R"(<p>"buy <\/script> milk" in "blue", editing true</p>)"));
    EXPECT_TRUE(window().scripts.empty());
}

TEST_F(StickyControllerTest, releasesItsWindowWhenItGoes) {
    auto controller = open();
    controller.reset();
    EXPECT_TRUE(platform.noteWindows.windows().empty());
}

// ---------------------------------------------------------------- messages the page sends

namespace {

struct Shape {
    const char* name;
    const char* body;
};

// Every message the page may send, with its keys.
const Shape pageMessages[] = {
    {"save", R"({"t":"save","c":"the whole\nnote"})"},
    {"save of an empty note", R"({"t":"save","c":""})"},
    {"save with the number of texts the page had seen", R"({"t":"save","c":"x","v":3})"},
    {"focus", R"({"t":"focus"})"},
    {"bar", R"({"t":"bar","w":112})"},
    {"bar with a fraction", R"({"t":"bar","w":87.5})"},
    {"clearSelection", R"({"t":"clearSelection"})"},
    {"color", R"({"t":"color","name":"pink"})"},
    {"color with an unknown name", R"({"t":"color","name":"Teal"})"},
    {"pin", R"({"t":"pin"})"},
    {"snooze", R"({"t":"snooze","at":1773500000000,"label":"tomorrow 9:00"})"},
    {"snooze without a label", R"({"t":"snooze","at":2500})"},
    {"close", R"({"t":"close"})"},
    {"link", R"({"t":"link","url":"https://example.org/a?b=c"})"},
    {"copy", R"({"t":"copy","text":"copied </script>"})"},
    {"paste", R"({"t":"paste"})"},
};

}

TEST_F(StickyControllerTest, handsOnEveryMessageThePageSendsWithItsTypeAndWholeBody) {
    auto controller = open();
    for (const auto& shape : pageMessages) {
        received.clear();
        const json body = json::parse(shape.body);
        ASSERT_TRUE(window().deliver(body)) << shape.name;
        EXPECT_THAT(received, ElementsAre(Received{body["t"].get<std::string>(), body})) << shape.name;
    }
}

TEST_F(StickyControllerTest, handsOnMessagesToTheSinkWithTheControllerThatGotThem) {
    StickyController* seen = nullptr;
    auto controller = std::make_unique<StickyController>(
        "sticky-1", "", recordIn("yellow"), false, pageTemplate,
        [&](StickyController& from, const std::string&, const json&) { seen = &from; });
    platform.noteWindows.last()->deliverJSON(R"({"t":"focus"})");
    EXPECT_EQ(seen, controller.get());
}

TEST_F(StickyControllerTest, handsOnATypeItDoesNotKnowForTheRegistryToIgnore) {
    auto controller = open();
    window().deliverJSON(R"({"t":"Save","c":"x"})");
    window().deliverJSON(R"({"t":"","c":"x"})");
    EXPECT_THAT(received, ElementsAre(Received{"Save", json::parse(R"({"t":"Save","c":"x"})")},
                                      Received{"", json::parse(R"({"t":"","c":"x"})")}));
}

TEST_F(StickyControllerTest, handsOnABodyWhoseOtherKeysHaveTheWrongTypeForTheRegistryToJudge) {
    auto controller = open();
    window().deliverJSON(R"({"t":"save","c":42})");
    ASSERT_EQ(received.size(), 1u);
    EXPECT_EQ(received[0].body["c"], 42);
}

TEST_F(StickyControllerTest, dropsEveryBodyThatIsNotAnObjectWithATextType) {
    support::LogCapture log;
    auto controller = open();
    for (const char* body :
         {R"(["save","text"])", R"([{"t":"save"}])", "[]", R"("save")", "42", "true", "null", "{}",
          R"({"type":"save"})", R"({"T":"save"})", R"({"t":1})", R"({"t":0.5})", R"({"t":true})",
          R"({"t":null})", R"({"t":["save"]})", R"({"t":{"t":"save"}})"}) {
        EXPECT_TRUE(window().deliverJSON(body)) << body;
        EXPECT_FALSE(controller->receive(json::parse(body))) << body;
    }
    EXPECT_TRUE(received.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(StickyControllerTest, leavesItsOwnStateToTheRegistryWhenMessagesArrive) {
    auto controller = open();
    window().deliverJSON(R"({"t":"bar","w":140})");
    window().deliverJSON(R"({"t":"save","c":"new text"})");
    EXPECT_EQ(controller->buttonsWidth, 90);
    EXPECT_EQ(controller->content, "hello");
    EXPECT_TRUE(window().scripts.empty());
}

// ---------------------------------------------------------------- calls into the page

TEST_F(StickyControllerTest, sendsEachCallToThePageAsAScript) {
    auto controller = open();
    controller->sendContent("new </script>");
    controller->sendColor(StickyColor::named("green"));
    controller->sendPaste("pasted");
    controller->sendSelected(true);
    controller->sendSelected(false);
    controller->sendFlash();
    controller->sendTrash(true);
    controller->sendTrash(false);
    EXPECT_THAT(window().scripts,
                ElementsAre(R"(setContent(["new <\/script>"][0]))",
                            R"(setColor(["green"][0],["#d4f5cf"][0],["#1f3a1c"][0],["#b3e8ab"][0]))",
                            R"(pasteText(["pasted"][0]))", "setSelected(true)", "setSelected(false)",
                            "flash()", "setTrash(true)", "setTrash(false)"));
}

// ---------------------------------------------------------------- closing and losing the page

TEST_F(StickyControllerTest, closingOrdersTheWindowOutThenClosesIt) {
    auto controller = open();
    window().orderFront();
    window().calls.clear();
    controller->close();
    EXPECT_THAT(window().calls, ElementsAre("orderOut", "close"));
    EXPECT_FALSE(window().orderedIn);
}

TEST_F(StickyControllerTest, hearsNoMoreMessagesOnceClosed) {
    auto controller = open();
    controller->close();
    EXPECT_FALSE(window().hasMessageHandler());
    EXPECT_FALSE(window().deliverJSON(R"({"t":"save","c":"late"})"));
    EXPECT_TRUE(received.empty());
}

TEST_F(StickyControllerTest, keepsItsClosedWindowUntilItGoes) {
    auto controller = open();
    controller->close();
    EXPECT_EQ(platform.noteWindows.windows().size(), 1u);
    EXPECT_EQ(controller->window().windowNumber(), window().windowNumber());
}

TEST_F(StickyControllerTest, reloadsALostPageWithTheCurrentText) {
    pageTemplate = "__CONTENT__ __EDIT__";
    auto controller = open(recordIn("yellow"), "first", true);
    controller->content = "saved since";
    ASSERT_TRUE(window().losePage());
    EXPECT_THAT(window().pages, ElementsAre("\"first\" true", "\"saved since\" false"));
}

TEST_F(StickyControllerTest, reloadsALostPageInTheColourLastSent) {
    pageTemplate = "__COLOR__ __BG__";
    auto controller = open(recordIn("pink"));
    window().losePage();
    controller->sendColor(StickyColor::named("mocha"));
    window().losePage();
    EXPECT_THAT(window().pages, ElementsAre("\"pink\" #ffd1e0", "\"pink\" #ffd1e0", "\"mocha\" #313244"));
}

TEST_F(StickyControllerTest, countsTheTextsSentToThePage) {
    auto controller = open();
    EXPECT_EQ(controller->contentVersion, 0);
    controller->sendContent("one");
    controller->sendContent("two");
    EXPECT_EQ(controller->contentVersion, 2);
}

TEST_F(StickyControllerTest, startsCountingTextsAgainWhenALostPageIsReloaded) {
    auto controller = open();
    controller->sendContent("one");
    window().losePage();
    EXPECT_EQ(controller->contentVersion, 0);
    controller->sendContent("two");
    EXPECT_EQ(controller->contentVersion, 1);
}

TEST_F(StickyControllerTest, reloadsNothingOnceClosed) {
    auto controller = open();
    controller->close();
    EXPECT_FALSE(window().losePage());
    EXPECT_EQ(window().pages.size(), 1u);
}

TEST_F(StickyControllerTest, aControllerToldToWaitLoadsItsPageOnlyWhenAskedFromWhatItHoldsThen) {
    pageTemplate = "__COLOR__ __CONTENT__";
    auto controller = std::make_unique<StickyController>(
        "sticky-20260314-101500", "first", recordIn("pink"), false, pageTemplate,
        [](StickyController&, const std::string&, const json&) {}, StickyController::PageLoad::later);
    EXPECT_TRUE(window().pages.empty());
    EXPECT_FALSE(controller->pageRequested());
    controller->content = "second";
    controller->sendColor(StickyColor::named("mocha"));
    controller->loadPage();
    controller->loadPage();
    EXPECT_THAT(window().pages, ElementsAre(R"("mocha" "second")"));
    EXPECT_TRUE(controller->pageRequested());
}

TEST_F(StickyControllerTest, aControllerThatLoadedItsPageLoadsNothingMoreWhenAsked) {
    auto controller = open();
    ASSERT_EQ(window().pages.size(), 1u);
    controller->loadPage();
    EXPECT_EQ(window().pages.size(), 1u);
}

// ---------------------------------------------------------------- a conflicting copy's banner

TEST_F(StickyControllerTest, aConflictBannerSetBeforeThePageLoadsComesWithTheFirstPage) {
    pageTemplate = "__CONFLICT__";
    auto controller = std::make_unique<StickyController>(
        "Note (Case Conflict)", "x", recordIn("yellow"), false, pageTemplate,
        [](StickyController&, const std::string&, const json&) {}, StickyController::PageLoad::later);
    controller->sendConflict(std::string("Groceries"));
    controller->loadPage();
    EXPECT_THAT(window().pages, ElementsAre(R"("Groceries")"));
    EXPECT_TRUE(window().scripts.empty());
}

TEST_F(StickyControllerTest, aConflictBannerChangedOnALoadedPageIsSentOnceAndKeptAcrossAReload) {
    pageTemplate = "__CONFLICT__";
    auto controller = open();
    controller->sendConflict(std::string("Groceries"));
    controller->sendConflict(std::string("Groceries"));
    EXPECT_THAT(window().scripts, ElementsAre(R"(setConflict(["Groceries"][0]))"));
    window().losePage();
    EXPECT_THAT(window().pages, ElementsAre("null", R"("Groceries")"));
}
