#include "registry/Stickies.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

TEST(StickiesTitle, aHeadingLineIsTheTitleWithoutItsMark) {
    EXPECT_EQ(Stickies::title("# Groceries\n- [x] milk\n"), "Groceries");
}

TEST(StickiesTitle, anIndentedUntickedTaskLosesItsBulletAndBox) {
    EXPECT_EQ(Stickies::title("  - [ ] call back\nmore"), "call back");
}

TEST(StickiesTitle, aPlainBulletLosesItsMark) { EXPECT_EQ(Stickies::title("* item"), "item"); }

TEST(StickiesTitle, blankLinesOnlyGiveEmpty) { EXPECT_EQ(Stickies::title("\n   \n\t\n"), "(empty)"); }

TEST(StickiesTitle, theFirstNonBlankLineCounts) {
    EXPECT_EQ(Stickies::title("\n \nsecond\nthird"), "second");
}

TEST(StickiesTitle, aFirstLineOf41CharactersIsCutTo40EndingInAnEllipsis) {
    const std::string title = Stickies::title(std::string(41, 'a'));
    EXPECT_EQ(title, std::string(39, 'a') + "…");
}

TEST(StickiesTitle, aFirstLineOfExactly40CharactersIsKeptWhole) {
    EXPECT_EQ(Stickies::title(std::string(40, 'b')), std::string(40, 'b'));
}

TEST(StickiesTitle, emojiAndCombiningAccentsCountAsOneCharacterEach) {
    std::string line;
    for (int i = 0; i < 20; ++i)
        line += "👍🏽";   // thumbs up with a skin tone: one character
    for (int i = 0; i < 20; ++i)
        line += "e\xCC\x81";   // e with a combining acute accent
    EXPECT_EQ(Stickies::title(line), line);
    const std::string longer = line + "x";
    std::string expected;
    for (int i = 0; i < 20; ++i)
        expected += "👍🏽";
    for (int i = 0; i < 19; ++i)
        expected += "e\xCC\x81";
    EXPECT_EQ(Stickies::title(longer), expected + "…");
}

TEST(StickiesTitle, aLineOfMarksAloneIsPassedOverForTheNextLine) {
    EXPECT_EQ(Stickies::title("# \nGroceries\n"), "Groceries");
}

TEST(StickiesTitle, marksAndWhitespaceAloneGiveEmpty) {
    EXPECT_EQ(Stickies::title(" \n\v* \n- [ ] \n#\n"), "(empty)");
}

TEST(StickiesTitle, windowsLineEndsAreNeitherATitleNorPartOfOne) {
    EXPECT_EQ(Stickies::title("\r\nHello\r\nworld\r\n"), "Hello");
}

TEST(StickiesTitle, aFirstLineIndentedByAHundredThousandSpacesIsReadWithoutRunningOutOfStack) {
    EXPECT_EQ(Stickies::title(std::string(100000, ' ') + "# Heading"), "Heading");
}

TEST(StickiesTitle, aHundredThousandHeadingMarksAreAllTakenOff) {
    EXPECT_EQ(Stickies::title(std::string(100000, '#') + " Heading"), "Heading");
}

TEST(StickiesTitle, aBulletFollowedByAHundredThousandSpacesLosesThemAll) {
    EXPECT_EQ(Stickies::title("-" + std::string(100000, ' ') + "item"), "item");
}

TEST(StickiesTitle, aMarkWithoutSpaceAfterItIsText) { EXPECT_EQ(Stickies::title("-item"), "-item"); }

TEST(StickiesTitle, aTaskBoxHoldsOneCharacter) {
    EXPECT_EQ(Stickies::title("- [ab] later"), "[ab] later");
    EXPECT_EQ(Stickies::title("*[]] done"), "done");
}
