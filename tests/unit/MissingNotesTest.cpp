#include "registry/MissingNotes.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

TEST(MissingNotesTest, aNoteIsGoneOnlyAfterTheGracePeriod) {
    MissingNotes missing(2);
    EXPECT_FALSE(missing.gone("a", 10));
    EXPECT_TRUE(missing.missing("a"));
    EXPECT_FALSE(missing.gone("a", 11.99));
    EXPECT_TRUE(missing.gone("a", 12));
    EXPECT_FALSE(missing.missing("a"));
}

TEST(MissingNotesTest, aFileThatComesBackStartsItsGraceOverTheNextTime) {
    MissingNotes missing(2);
    missing.gone("a", 10);
    missing.found("a");
    EXPECT_FALSE(missing.missing("a"));
    EXPECT_FALSE(missing.gone("a", 13));
    EXPECT_FALSE(missing.gone("a", 14.5));
    EXPECT_TRUE(missing.gone("a", 15));
}

TEST(MissingNotesTest, notesAreTimedEachOnTheirOwn) {
    MissingNotes missing(2);
    missing.gone("a", 10);
    missing.gone("b", 11);
    EXPECT_TRUE(missing.gone("a", 12));
    EXPECT_FALSE(missing.gone("b", 12));
    EXPECT_TRUE(missing.gone("b", 13));
}
