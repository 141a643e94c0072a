#include "LogCapture.h"
#include "storage/Model.h"

#include <cmath>
#include <limits>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

using namespace marrowleaf;
using nlohmann::json;

namespace {

json recordJSON() {
    return json::parse(
        R"({"screen":"ABC","desktop":2,"color":"pink","frame":{"x":1,"y":2,"w":260,"h":220}})");
}

AppState decode(const std::string& text) { return ModelJSON::decodeState(json::parse(text)).value(); }

}

TEST(Model, aRecordWithoutColorEmptiesStickiesButKeepsHiddenAndLast) {
    const AppState state = decode(R"({
        "stickies": {"sticky-1": {"screen":"A","desktop":1,"frame":{"x":0,"y":0,"w":1,"h":1}}},
        "hidden": {"A:1": true},
        "last": "sticky-1"})");
    EXPECT_TRUE(state.stickies.empty());
    EXPECT_EQ(state.hidden, (std::map<std::string, bool>{{"A:1", true}}));
    EXPECT_EQ(state.last, "sticky-1");
}

TEST(Model, oneBadRecordCostsTheWholeStickiesMap) {
    json state{{"stickies", {{"good", recordJSON()}, {"bad", {{"screen", "A"}}}}}};
    EXPECT_TRUE(ModelJSON::decodeState(state)->stickies.empty());
}

TEST(Model, pinnedNullDecodesAsAbsentAndIsNotWrittenBack) {
    json value = recordJSON();
    value["pinned"] = nullptr;
    const Record record = ModelJSON::decodeRecord(value).value();
    EXPECT_EQ(record.pinned, std::nullopt);
    EXPECT_FALSE(ModelJSON::encode(record).contains("pinned"));
}

TEST(Model, pinnedMissingDecodesAsAbsentAndIsNotWrittenBack) {
    const Record record = ModelJSON::decodeRecord(recordJSON()).value();
    EXPECT_EQ(record.pinned, std::nullopt);
    EXPECT_FALSE(ModelJSON::encode(record).contains("pinned"));
}

TEST(Model, pinnedFalseIsWrittenAsFalse) {
    Record record = ModelJSON::decodeRecord(recordJSON()).value();
    record.pinned = false;
    EXPECT_EQ(ModelJSON::encode(record)["pinned"], json(false));
}

TEST(Model, aMistypedOptionalKeyFailsTheRecord) {
    json value = recordJSON();
    value["snoozeUntil"] = "tomorrow";
    EXPECT_EQ(ModelJSON::decodeRecord(value), std::nullopt);
}

TEST(Model, eachOptionalKeyIsCheckedForItsOwnType) {
    const std::vector<std::pair<const char*, json>> mistyped{
        {"pinned", "yes"}, {"pinned", 1}, {"snoozeUntil", true}, {"snoozeLabel", 5}};
    for (const auto& [key, wrong] : mistyped) {
        json value = recordJSON();
        value[key] = wrong;
        EXPECT_EQ(ModelJSON::decodeRecord(value), std::nullopt) << key << " = " << wrong;
    }
}

TEST(Model, aNullOptionalKeyReadsAsAbsent) {
    json value = recordJSON();
    value["pinned"] = nullptr;
    value["snoozeUntil"] = nullptr;
    value["snoozeLabel"] = nullptr;
    const auto record = ModelJSON::decodeRecord(value);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->pinned, std::nullopt);
    EXPECT_EQ(record->snoozeUntil, std::nullopt);
    EXPECT_EQ(record->snoozeLabel, std::nullopt);
}

TEST(Model, aMistypedRequiredKeyFailsTheRecord) {
    json value = recordJSON();
    value["desktop"] = "2";
    EXPECT_EQ(ModelJSON::decodeRecord(value), std::nullopt);
}

TEST(Model, namedYellowWithACapitalYFallsBackToYellow) {
    const StickyColor& color = StickyColor::named("Yellow");
    EXPECT_EQ(color.name, "yellow");
    EXPECT_EQ(&color, &StickyColor::named("no such colour"));   // the fallback entry, not a match
}

TEST(Model, namedMochaIsTheDarkEntry) {
    const StickyColor& color = StickyColor::named("mocha");
    EXPECT_EQ(color, (StickyColor{"mocha", "#313244", "#cdd6f4", "#45475a"}));
}

TEST(Model, anAbsentColorNameIsYellow) { EXPECT_EQ(StickyColor::named(std::nullopt).bg, "#fff4a3"); }

TEST(Model, thePaletteKeepsItsOrderAndValues) {
    const auto& all = StickyColor::all();
    std::vector<std::string> names;
    for (const auto& c : all)
        names.push_back(c.name);
    EXPECT_EQ(names, (std::vector<std::string>{"yellow", "pink", "blue", "green", "purple", "mocha"}));
    EXPECT_EQ(all[2], (StickyColor{"blue", "#cfe6ff", "#18304a", "#acd2fb"}));
}

TEST(Model, framesThatDifferInTheLastBitAreUnequal) {
    Frame a{100, 200, 260, 220};
    Frame b = a;
    b.y = std::nextafter(b.y, 1e9);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, (Frame{100, 200, 260, 220}));
}

TEST(Model, theEmptyObjectDecodesToTheDefaultState) { EXPECT_EQ(decode("{}"), AppState{}); }

TEST(Model, aTopLevelThatIsNotAnObjectDoesNotDecode) {
    EXPECT_EQ(ModelJSON::decodeState(json::parse("[1,2]")), std::nullopt);
    EXPECT_EQ(ModelJSON::decodeState(json::parse("\"text\"")), std::nullopt);
}

TEST(Model, aMalformedHiddenDoesNotCostTheStickies) {
    json state{{"stickies", {{"a", recordJSON()}}}, {"hidden", {{"A:1", "yes"}}}, {"last", 7}};
    const AppState decoded = ModelJSON::decodeState(state).value();
    EXPECT_EQ(decoded.stickies.size(), 1u);
    EXPECT_TRUE(decoded.hidden.empty());
    EXPECT_EQ(decoded.last, std::nullopt);
}

TEST(Model, theStateTextIsPrettyPrintedWithSortedKeys) {
    AppState state;
    state.stickies["sticky-1"] = ModelJSON::decodeRecord(recordJSON()).value();
    state.hidden["ABC:2"] = true;
    const std::string text = ModelJSON::text(state);
    EXPECT_EQ(text, R"({
  "hidden": {
    "ABC:2": true
  },
  "stickies": {
    "sticky-1": {
      "color": "pink",
      "desktop": 2,
      "frame": {
        "h": 220,
        "w": 260,
        "x": 1,
        "y": 2
      },
      "screen": "ABC"
    }
  }
}
)");
}

TEST(Model, lastIsWrittenOnlyWhenSet) {
    AppState state;
    EXPECT_FALSE(ModelJSON::encode(state).contains("last"));
    state.last = "sticky-1";
    EXPECT_EQ(ModelJSON::encode(state)["last"], "sticky-1");
}

TEST(Model, wholeNumbersAreWrittenWithoutAFraction) {
    const std::string text = ModelJSON::number(100.0).dump();
    EXPECT_EQ(text, "100");
    EXPECT_EQ(ModelJSON::number(-24.0).dump(), "-24");
}

TEST(Model, otherNumbersUseTheShortestFormThatReadsBackExactly) {
    EXPECT_EQ(ModelJSON::number(0.1).dump(), "0.1");
    EXPECT_EQ(ModelJSON::number(100.5).dump(), "100.5");
    const double awkward = 1.0 / 3.0;
    EXPECT_EQ(json::parse(ModelJSON::number(awkward).dump()).get<double>(), awkward);
}

TEST(Model, aRecordSurvivesARoundTripThroughText) {
    AppState state;
    Record record;
    record.screen = "3F2504E0-4F89-11D3-9A0C-0305E82C3301";
    record.desktop = 3;
    record.color = "unknown-colour";   // kept as written
    record.pinned = true;
    record.frame = {12.25, -40, 260, 220.125};
    record.snoozeUntil = 1773500000;
    record.snoozeLabel = "Tomorrow 9:00";
    state.stickies["sticky-20250314-093000"] = record;
    state.last = "sticky-20250314-093000";
    EXPECT_EQ(ModelJSON::decodeState(json::parse(ModelJSON::text(state))), state);
}

TEST(Model, aWholeDesktopWrittenAsAFloatStillReads) {
    json value = recordJSON();
    value["desktop"] = 2.0;
    EXPECT_EQ(ModelJSON::decodeRecord(value)->desktop, 2);
}

TEST(Model, aFrameThatCantBeDrawnGivesTheNoteADefaultFrameAndANamedWarning) {
    support::LogCapture log;
    const AppState state = decode(R"({"stickies": {
        "wide": {"screen":"A","desktop":1,"color":"pink","frame":{"x":10,"y":20,"w":-260,"h":220}},
        "flat": {"screen":"A","desktop":2,"color":"blue","frame":{"x":10,"y":20,"w":260,"h":0}},
        "fine": {"screen":"A","desktop":1,"color":"green","frame":{"x":10,"y":20,"w":5,"h":5}}}})");
    ASSERT_EQ(state.stickies.size(), 3u);
    EXPECT_EQ(state.stickies.at("wide").frame, Frame::fallback());
    EXPECT_EQ(state.stickies.at("wide").color, "pink");
    EXPECT_EQ(state.stickies.at("flat").frame, Frame::fallback());
    EXPECT_EQ(state.stickies.at("flat").desktop, 2);
    // Small but drawable: the display makes it bigger when it shows.
    EXPECT_EQ(state.stickies.at("fine").frame, (Frame{10, 20, 5, 5}));
    EXPECT_EQ(log.count("WARN the frame of wide in the state file can't be shown (-260 × 220 at 10, 20); "
                        "the note gets a default frame"),
              1u);
    EXPECT_EQ(log.count("WARN the frame of flat in the state file can't be shown (260 × 0 at 10, 20); "
                        "the note gets a default frame"),
              1u);
}

TEST(Model, framesWithNumbersOutOfRangeOrSizesOfZeroAreNotDrawable) {
    EXPECT_FALSE((Frame{0, 0, std::nan(""), 10}).drawable());
    EXPECT_FALSE((Frame{0, std::numeric_limits<double>::infinity(), 10, 10}).drawable());
    EXPECT_FALSE((Frame{0, 0, 10, 0}).drawable());
    EXPECT_FALSE((Frame{0, 0, -1, 10}).drawable());
    EXPECT_TRUE((Frame{-5, -5, 1, 1}).drawable());
}

TEST(Model, aDefaultFrameIsWrittenBackAsNumbers) {
    support::LogCapture log;
    AppState state = decode(R"({"stickies": {
        "wide": {"screen":"A","desktop":1,"color":"pink","frame":{"x":10,"y":20,"w":-260,"h":220}}}})");
    const json written = json::parse(ModelJSON::text(state));
    EXPECT_EQ(written["stickies"]["wide"]["frame"], json::parse(R"({"x":0,"y":0,"w":260,"h":220})"));
}
