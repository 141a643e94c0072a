// The note page built from the page template: one pass over the placeholders,
// every value written so that no text can end the page's script.
#include "window/StickyController.h"

#include "LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace marrowleaf;
using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

const std::string allPlaceholders =
    "bg=__BG__ fg=__FG__ bar=__BAR__ color=__COLOR__ colors=__COLORS__ content=__CONTENT__ edit=__EDIT__";

Record recordIn(const std::string& color) {
    Record record;
    record.screen = "SCREEN-1";
    record.color = color;
    record.frame = {100, 120, 260, 220};
    return record;
}

std::string pageOf(const std::string& pageTemplate, const std::string& content = "",
                   const std::string& color = "yellow", bool editNow = false) {
    return StickyController::page(pageTemplate, recordIn(color), content, editNow);
}

// The value a page puts where the template says "__CONTENT__" and nothing else.
json contentValue(const std::string& content) { return json::parse(pageOf("__CONTENT__", content)); }

}

TEST(StickyControllerPage, fillsEveryPlaceholderOfTheTable) {
    const std::string page = StickyController::page(allPlaceholders, recordIn("pink"), "hi", true);
    EXPECT_EQ(page, "bg=#ffd1e0 fg=#40202b bar=#f7b5cb color=\"pink\" colors=" +
                        std::string(R"([{"name":"yellow","bg":"#fff4a3","fg":"#3b3415","bar":"#f3e27a"},)"
                                    R"({"name":"pink","bg":"#ffd1e0","fg":"#40202b","bar":"#f7b5cb"},)"
                                    R"({"name":"blue","bg":"#cfe6ff","fg":"#18304a","bar":"#acd2fb"},)"
                                    R"({"name":"green","bg":"#d4f5cf","fg":"#1f3a1c","bar":"#b3e8ab"},)"
                                    R"({"name":"purple","bg":"#e5d9ff","fg":"#2e2347","bar":"#cdb9fb"},)"
                                    R"({"name":"mocha","bg":"#313244","fg":"#cdd6f4","bar":"#45475a"}])") +
                        " content=\"hi\" edit=true");
}

TEST(StickyControllerPage, writesEditFalseForANoteThatIsNotNew) {
    EXPECT_EQ(pageOf("__EDIT__", "x", "yellow", false), "false");
    EXPECT_EQ(pageOf("__EDIT__", "x", "yellow", true), "true");
}

TEST(StickyControllerPage, usesTheRecordsColourForBackgroundTextAndBar) {
    for (const auto& color : StickyColor::all()) {
        EXPECT_EQ(pageOf("__BG__|__FG__|__BAR__|__COLOR__", "", color.name),
                  color.bg + "|" + color.fg + "|" + color.bar + "|\"" + color.name + "\"")
            << color.name;
    }
}

TEST(StickyControllerPage, rendersAnUnknownColourYellow) {
    EXPECT_EQ(pageOf("__BG__|__FG__|__BAR__|__COLOR__", "", "turquoise"),
              "#fff4a3|#3b3415|#f3e27a|\"yellow\"");
}

TEST(StickyControllerPage, rendersAColourNamedInOtherLetterCaseYellow) {
    EXPECT_EQ(pageOf("__COLOR__", "", "Pink"), "\"yellow\"");
}

TEST(StickyControllerPage, rendersAnEmptyColourNameYellow) {
    EXPECT_EQ(pageOf("__BG__ __COLOR__", "", ""), "#fff4a3 \"yellow\"");
}

TEST(StickyControllerPage, keepsAPlaceholderThatIsNotInTheTable) {
    EXPECT_EQ(pageOf("a __TITLE__ b __BG__ c", "", "blue"), "a __TITLE__ b #cfe6ff c");
}

TEST(StickyControllerPage, leavesLowerCaseAndDigitPlaceholdersAlone) {
    EXPECT_EQ(pageOf("__bg__ __Bg__ __BG1__ __B_G__", "", "blue"), "__bg__ __Bg__ __BG1__ __B_G__");
}

TEST(StickyControllerPage, leavesUnderscoresWithoutCapitalsAlone) {
    EXPECT_EQ(pageOf("____ __ _ ___ __BG_ _BG__", ""), "____ __ _ ___ __BG_ _BG__");
}

TEST(StickyControllerPage, findsAPlaceholderBehindAnExtraUnderscore) {
    EXPECT_EQ(pageOf("___BG__", "", "green"), "_#d4f5cf");
}

TEST(StickyControllerPage, fillsPlaceholdersThatTouch) {
    EXPECT_EQ(pageOf("__BG____FG__", "", "green"), "#d4f5cf#1f3a1c");
}

TEST(StickyControllerPage, skipsPastAnUnknownPlaceholderWithoutReusingItsUnderscores) {
    // "__FOO__" is one match; its closing underscores don't open "__BG__".
    EXPECT_EQ(pageOf("__FOO__BG__", "", "green"), "__FOO__BG__");
}

TEST(StickyControllerPage, copiesATemplateWithoutPlaceholdersUnchanged) {
    const std::string plain = "<!DOCTYPE html>\n<p>no values here: _ __ __a__</p>\n";
    EXPECT_EQ(pageOf(plain, "text"), plain);
    EXPECT_EQ(pageOf("", "text"), "");
}

TEST(StickyControllerPage, fillsAPlaceholderAsOftenAsItAppears) {
    EXPECT_EQ(pageOf("__EDIT__ __EDIT__ __EDIT__"), "false false false");
}

TEST(StickyControllerPage, putsTheTextInAsAJsonString) {
    EXPECT_EQ(pageOf("__CONTENT__", "line \"one\"\n\ttwo \\ three"), R"("line \"one\"\n\ttwo \\ three")");
}

TEST(StickyControllerPage, putsAnEmptyNoteInAsAnEmptyString) { EXPECT_EQ(pageOf("__CONTENT__", ""), "\"\""); }

TEST(StickyControllerPage, writesAClosingScriptTagInTheTextAsAnEscapedSlash) {
    const std::string page = pageOf("<script>__CONTENT__</script>", "a</script><script>alert(1)</script>");
    EXPECT_EQ(page, R"(<script>"a<\/script><script>alert(1)<\/script>"</script>)");
}

TEST(StickyControllerPage, escapesEveryClosingTagInTheText) {
    const std::string page = pageOf("__CONTENT__", "</</</b></");
    EXPECT_THAT(page, Not(HasSubstr("</")));
    EXPECT_EQ(json::parse(page), "</</</b></");
}

TEST(StickyControllerPage, givesBackTheExactTextWhenThePageParsesIt) {
    for (const std::string& text : std::vector<std::string>{
             "plain", "ünïcødé ✓ 😀", "line\u2028separator\u2029", "</script>", "<!--<script>", "\\u003c/",
             "</SCRIPT>", std::string("nul\0byte", 8), "\x01\x1f control", "__CONTENT__", "`${x}`"}) {
        EXPECT_EQ(contentValue(text), text);
    }
}

TEST(StickyControllerPage, doesNotExpandAPlaceholderWrittenInTheNote) {
    const std::string page = pageOf("[__CONTENT__] __EDIT__", "__CONTENT__ __BG__ __EDIT__");
    EXPECT_EQ(page, "[\"__CONTENT__ __BG__ __EDIT__\"] false");
}

TEST(StickyControllerPage, putsNullForTextThatIsNotUtf8AndSaysSo) {
    support::LogCapture log;
    EXPECT_EQ(pageOf("__CONTENT__", "bad \xff\xfe bytes"), "null");
    EXPECT_EQ(log.count("ERROR can't pass a note's text to a note page"), 1u);
}

TEST(StickyControllerPage, listsThePaletteInItsOwnOrderWithFourKeysEach) {
    const json colors = json::parse(pageOf("__COLORS__"));
    ASSERT_EQ(colors.size(), StickyColor::all().size());
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const auto& expected = StickyColor::all()[i];
        EXPECT_EQ(colors[i].size(), 4u);
        EXPECT_EQ(colors[i]["name"], expected.name);
        EXPECT_EQ(colors[i]["bg"], expected.bg);
        EXPECT_EQ(colors[i]["fg"], expected.fg);
        EXPECT_EQ(colors[i]["bar"], expected.bar);
    }
}

TEST(StickyControllerPage, writesNullForANoteThatIsNoConflictingCopy) {
    EXPECT_EQ(pageOf("__CONFLICT__", "x"), "null");
}
TEST(StickyControllerPage, writesTheOriginalsTitleForAConflictingCopyAsAJSONString) {
    const std::string page = StickyController::page("__CONFLICT__", recordIn("yellow"), "x", false,
                                                    std::string("a </script> \"b\""));
    EXPECT_EQ(page, R"("a <\/script> \"b\"")");
}
TEST(StickyControllerPage, setConflictPassesTheTitleAsAScriptArgumentOrNull) {
    EXPECT_EQ(StickyController::setConflictScript(std::string("Groceries")),
              R"(setConflict(["Groceries"][0]))");
    EXPECT_EQ(StickyController::setConflictScript(std::nullopt), "setConflict(null)");
}
