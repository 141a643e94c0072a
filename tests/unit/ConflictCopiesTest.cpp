#include "registry/ConflictCopies.h"

#include <gtest/gtest.h>

using namespace marrowleaf;

TEST(ConflictCopies, aSyncConflictCopyNamesItsOriginal) {
    EXPECT_EQ(ConflictCopies::originalOf("Note.sync-conflict-20261122-101010-ABCDEFG"), "Note");
}

TEST(ConflictCopies, aConflictedCopyWithADateNamesItsOriginal) {
    EXPECT_EQ(ConflictCopies::originalOf("Note (conflicted copy 2026-11-22)"), "Note");
}

TEST(ConflictCopies, aConflictedCopyWithADateAndTimeNamesItsOriginal) {
    EXPECT_EQ(ConflictCopies::originalOf("Note (conflicted copy 2026-11-22 101010)"), "Note");
}

TEST(ConflictCopies, aConflictedCopyThatNamesWhoseItIsNamesItsOriginal) {
    EXPECT_EQ(ConflictCopies::originalOf("Note (Ann's conflicted copy 2026-11-22)"), "Note");
}

TEST(ConflictCopies, aCaseConflictNamesItsOriginal) {
    EXPECT_EQ(ConflictCopies::originalOf("Note (Case Conflict)"), "Note");
    EXPECT_EQ(ConflictCopies::originalOf("Note (Case Conflict 2)"), "Note");
}

TEST(ConflictCopies, aNotesOwnIdKeepsEverythingBeforeTheConflictMark) {
    EXPECT_EQ(ConflictCopies::originalOf("sticky-20261122-101010-2.sync-conflict-20261123-080000-XY12ZQ7"),
              "sticky-20261122-101010-2");
    EXPECT_EQ(ConflictCopies::originalOf("Shopping (list) (conflicted copy 2026-11-22)"), "Shopping (list)");
}

TEST(ConflictCopies, anOrdinaryNoteIsNoCopy) {
    EXPECT_FALSE(ConflictCopies::originalOf("sticky-20261122-101010"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note"));
}

TEST(ConflictCopies, namesThatOnlyLookAlikeAreNoCopies) {
    EXPECT_FALSE(ConflictCopies::originalOf("Note (conflicted copy)"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note (conflicted copy 22-11-2026)"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note (conflicted copy 2026-11-22) notes"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note.sync-conflict-2026"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note.sync-conflict-20261122-101010-abcdefg"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note.sync-conflict-20261122-101010-ABCDEFGH"));
    EXPECT_FALSE(ConflictCopies::originalOf("Note (case conflict)"));
    EXPECT_FALSE(ConflictCopies::originalOf("Case Conflict"));
    EXPECT_FALSE(ConflictCopies::originalOf("How to resolve a sync-conflict"));
}

TEST(ConflictCopies, aMarkWithNothingBeforeItIsNoCopy) {
    EXPECT_FALSE(ConflictCopies::originalOf(".sync-conflict-20261122-101010-ABCDEFG"));
    EXPECT_FALSE(ConflictCopies::originalOf(" (Case Conflict)"));
}
