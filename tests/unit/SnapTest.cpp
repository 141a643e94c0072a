#include "geometry/Snap.h"

#include <gtest/gtest.h>

#include <vector>

using namespace marrowleaf;

namespace {

// A 1440×900 display with a 25-point bar at the top: usable area (0, 25) to (1440, 875).
const Rect screen{0, 25, 1440, 850};

Rect move(Rect proposed, std::vector<Rect> neighbours = {}) { return Snap::move(proposed, neighbours, screen); }
Rect resize(Rect proposed, std::vector<Rect> neighbours = {}) { return Snap::resize(proposed, neighbours, screen); }

// A 300×100 note at (500, 400)…(800, 500), far from the screen's edges.
const Rect neighbour{500, 400, 300, 100};

}

// --- moving: the screen's edges

TEST(Snap, pullsANoteTenPointsFromTheUsableLeftEdgeToEightFromIt) {
    const Rect inset{100, 25, 1340, 850};   // a panel takes the first 100 points
    EXPECT_EQ(Snap::move({110, 300, 260, 220}, {}, inset).x, 108);
}

TEST(Snap, leavesANoteTwentyOnePointsFromTheLeftEdgeWhereItIs) {
    EXPECT_EQ(move({21, 300, 260, 220}).x, 21);   // 13 away is not closer than 12.001
}

TEST(Snap, pullsANoteExactlyTwelvePointsAwayFromItsPlace) {
    EXPECT_EQ(move({20, 300, 260, 220}).x, 8);
}

TEST(Snap, pullsANoteNearTheRightEdgeToEightPointsInside) {
    EXPECT_EQ(move({1180, 300, 260, 220}).x, 1172);   // 1440 − 8 − 260
}

TEST(Snap, pullsANoteNearTheTopOfTheUsableAreaToEightPointsBelowIt) {
    EXPECT_EQ(move({300, 40, 260, 220}).y, 33);
}

TEST(Snap, pullsANoteNearTheBottomToEightPointsAboveIt) {
    EXPECT_EQ(move({300, 640, 260, 220}).y, 647);   // 875 − 8 − 220
}

TEST(Snap, snapsBothAxesOfACornerNoteIndependently) {
    EXPECT_EQ(move({10, 40, 260, 220}), (Rect{8, 33, 260, 220}));
}

TEST(Snap, leavesANoteFarFromEverythingExactlyWhereItWas) {
    EXPECT_EQ(move({300.5, 300.25, 260, 220}), (Rect{300.5, 300.25, 260, 220}));
}

TEST(Snap, neverChangesTheSizeOfAMovedNote) {
    const Rect moved = move({10, 40, 333, 222}, {neighbour});
    EXPECT_EQ(moved.width, 333);
    EXPECT_EQ(moved.height, 222);
}

// --- moving: a neighbour above or below offers horizontal positions

TEST(Snap, alignsTheLeftEdgesOfANoteAboveANeighbour) {
    EXPECT_EQ(move({505, 250, 200, 100}, {neighbour}), (Rect{500, 250, 200, 100}));
}

TEST(Snap, alignsTheRightEdgesOfANoteAboveANeighbour) {
    EXPECT_EQ(move({595, 250, 200, 100}, {neighbour}).x, 600);
}

TEST(Snap, placesANoteJustRightOfANeighbourWithTheWindowsOverlappingByTwoPoints) {
    EXPECT_EQ(move({790, 250, 200, 100}, {neighbour}).x, 798);
}

TEST(Snap, placesANoteJustLeftOfANeighbourWithTheWindowsOverlappingByTwoPoints) {
    EXPECT_EQ(move({310, 250, 200, 100}, {neighbour}).x, 302);   // 500 − 200 + 2
}

TEST(Snap, centresANoteOverANeighbour) {
    EXPECT_EQ(move({545, 250, 200, 100}, {neighbour}).x, 550);
}

TEST(Snap, aWidth200NoteDroppedAt695BesideANeighbourFrom500To700SnapsTo698) {
    const Rect beside{500, 280, 200, 150};
    EXPECT_EQ(move({695, 300, 200, 100}, {beside}).x, 698);
}

TEST(Snap, takesTheNearestCandidateRatherThanTheFirstInReach) {
    const Rect close{14, 600, 400, 200};
    EXPECT_EQ(move({12, 300, 260, 220}, {close}).x, 14);   // 2 away beats the screen margin 4 away
}

TEST(Snap, aNeighbour150PointsBelowOffersNoHorizontalPositions) {
    const Rect below{302, 350, 200, 100};   // overlaps horizontally, 150 below
    EXPECT_EQ(move({300, 100, 200, 100}, {below}).x, 300);
}

TEST(Snap, aNeighbour119PointsBelowIsStillInReach) {
    const Rect below{302, 319, 200, 100};
    EXPECT_EQ(move({300, 100, 200, 100}, {below}).x, 302);
}

TEST(Snap, aNeighbourExactly120PointsBelowIsOutOfReach) {
    const Rect below{302, 320, 200, 100};
    EXPECT_EQ(move({300, 100, 200, 100}, {below}).x, 300);
}

// --- moving: a neighbour to the left or right offers vertical positions

TEST(Snap, alignsTheTopsOfANoteBesideANeighbour) {
    EXPECT_EQ(move({850, 405, 200, 60}, {neighbour}), (Rect{850, 400, 200, 60}));
}

TEST(Snap, alignsTheBottomsOfANoteBesideANeighbour) {
    EXPECT_EQ(move({850, 445, 200, 60}, {neighbour}).y, 440);
}

TEST(Snap, placesANoteJustBelowANeighbourWithTheWindowsOverlappingByTwoPoints) {
    EXPECT_EQ(move({850, 490, 200, 60}, {neighbour}).y, 498);
}

TEST(Snap, placesANoteJustAboveANeighbourWithTheWindowsOverlappingByTwoPoints) {
    EXPECT_EQ(move({850, 335, 200, 60}, {neighbour}).y, 342);   // 400 − 60 + 2
}

TEST(Snap, neverCentresANoteVerticallyOnANeighbour) {
    // Centred would be y 420; the nearest candidates, 400 and 440, are 21 and 19 away.
    EXPECT_EQ(move({850, 421, 200, 60}, {neighbour}).y, 421);
}

TEST(Snap, aNeighbourExactly120PointsToTheSideOffersNoVerticalPositions) {
    const Rect side{420, 302, 200, 100};
    EXPECT_EQ(move({100, 300, 200, 100}, {side}).y, 300);
}

TEST(Snap, aNeighbour119PointsToTheSideIsStillInReach) {
    const Rect side{419, 302, 200, 100};
    EXPECT_EQ(move({100, 300, 200, 100}, {side}).y, 302);
}

// --- moving: ties

TEST(Snap, theScreenMarginWinsATieWithANeighbour) {
    const Rect close{18, 300, 400, 100};   // its left edge is 5 to the right, the margin 5 to the left
    EXPECT_EQ(move({13, 300, 200, 100}, {close}).x, 8);
}

TEST(Snap, anEarlierNeighbourWinsATieWithALaterOne) {
    const Rect left{295, 450, 400, 100};
    const Rect right{305, 450, 400, 100};
    EXPECT_EQ(move({300, 300, 200, 100}, {left, right}).x, 295);
    EXPECT_EQ(move({300, 300, 200, 100}, {right, left}).x, 305);
}

TEST(Snap, aligningTopsWinsATieWithAligningBottoms) {
    const Rect tall{350, 296, 300, 108};   // top 4 above the note, bottom alignment 4 below
    EXPECT_EQ(move({300, 300, 200, 100}, {tall}).y, 296);
}

TEST(Snap, aligningLeftEdgesWinsATieWithPlacingBesideTheNeighbour) {
    const Rect narrow{296, 450, 10, 100};   // left edge 4 to the left, "just right of it" 4 to the right
    EXPECT_EQ(move({300, 300, 200, 100}, {narrow}).x, 296);
}

// --- resizing

TEST(Snap, resizingBelowTheMinimumStopsAt170By110) {
    EXPECT_EQ(resize({300, 300, 100, 80}), (Rect{300, 300, 170, 110}));
}

TEST(Snap, aResizeFarFromEverythingKeepsItsExactSize) {
    EXPECT_EQ(resize({300.5, 300.25, 333.3, 222.2}), (Rect{300.5, 300.25, 333.3, 222.2}));
}

TEST(Snap, pullsTheRightEdgeOfAResizedNoteToEightPointsInsideTheScreen) {
    EXPECT_EQ(resize({1000, 300, 425, 200}), (Rect{1000, 300, 432, 200}));
}

TEST(Snap, pullsTheBottomEdgeOfAResizedNoteToEightPointsAboveTheUsableBottom) {
    EXPECT_EQ(resize({300, 600, 260, 260}), (Rect{300, 600, 260, 267}));
}

TEST(Snap, alignsTheRightEdgeOfAResizedNoteWithANeighbourBelow) {
    const Rect below{500, 450, 300, 100};
    EXPECT_EQ(resize({520, 300, 275, 120}, {below}), (Rect{520, 300, 280, 120}));
}

TEST(Snap, bringsTheRightEdgeJustOverANeighboursLeftEdge) {
    const Rect below{700, 450, 300, 100};
    EXPECT_EQ(resize({300, 300, 395, 100}, {below}).width, 402);   // right edge at 702
}

TEST(Snap, makesAResizedNoteAsWideAsANeighbour) {
    const Rect below{600, 450, 250, 100};
    EXPECT_EQ(resize({300, 300, 245, 100}, {below}).width, 250);
}

TEST(Snap, alignsTheBottomEdgeOfAResizedNoteWithANeighbourBeside) {
    const Rect side{800, 300, 200, 150};
    EXPECT_EQ(resize({500, 290, 250, 157}, {side}), (Rect{500, 290, 250, 160}));
}

TEST(Snap, bringsTheBottomEdgeJustOverANeighboursTopEdge) {
    const Rect side{800, 300, 200, 150};
    EXPECT_EQ(resize({500, 100, 250, 195}, {side}).height, 202);   // bottom edge at 302
}

TEST(Snap, makesAResizedNoteAsTallAsANeighbour) {
    const Rect side{800, 300, 200, 150};
    EXPECT_EQ(resize({500, 500, 250, 146}, {side}).height, 150);
}

TEST(Snap, aNeighbour150PointsBelowOffersNoRightEdgeToAResizedNote) {
    const Rect below{300, 350, 300, 100};
    EXPECT_EQ(resize({300, 100, 295, 100}, {below}).width, 295);
}

TEST(Snap, aSnapNeverMakesAResizedNoteNarrowerThanTheMinimum) {
    const Rect slim{600, 450, 160, 100};   // "as wide as the neighbour" would give 160
    EXPECT_EQ(resize({300, 300, 171, 120}, {slim}), (Rect{300, 300, 170, 120}));
}

TEST(Snap, theScreenEdgeWinsATieWithANeighbourWhenResizing) {
    const Rect below{1122, 450, 300, 100};   // its right edge 1422 and the screen's 1432 are both 5 away
    EXPECT_EQ(resize({1000, 300, 427, 100}, {below}).width, 432);
}

TEST(Snap, resizingNeverMovesTheTopLeftCorner) {
    const Rect resized = resize({10, 40, 100, 80}, {neighbour});
    EXPECT_EQ(resized.x, 10);
    EXPECT_EQ(resized.y, 40);
}
