#include "geometry/Snap.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace marrowleaf {

namespace {

constexpr double edgeInset = Snap::screenMargin - Snap::marginAllowance;

// The gap between two spans on one axis; 0 when they overlap.
double gap(double minA, double maxA, double minB, double maxB) {
    if (maxA < minB) return minB - maxA;
    if (maxB < minA) return minA - maxB;
    return 0;
}

// Near vertically: close enough above or below to line up left and right edges.
bool nearVertically(const Rect& note, const Rect& neighbour) {
    return gap(note.minY(), note.maxY(), neighbour.minY(), neighbour.maxY()) < Snap::reach;
}

bool nearHorizontally(const Rect& note, const Rect& neighbour) {
    return gap(note.minX(), note.maxX(), neighbour.minX(), neighbour.maxX()) < Snap::reach;
}

// The candidate nearest to `value`, when one lies strictly within snapping
// distance; the earlier one wins a tie.
std::optional<double> nearest(double value, const std::vector<double>& candidates) {
    std::optional<double> best;
    double bestDistance = Snap::distance;
    for (double candidate : candidates) {
        const double d = std::abs(candidate - value);
        if (d < bestDistance) {
            best = candidate;
            bestDistance = d;
        }
    }
    return best;
}

}

Rect Snap::move(Rect proposed, std::span<const Rect> neighbours, Rect screen) {
    const double w = proposed.width;
    const double h = proposed.height;
    std::vector<double> xs{screen.minX() + edgeInset, screen.maxX() - edgeInset - w};
    std::vector<double> ys{screen.minY() + edgeInset, screen.maxY() - edgeInset - h};
    for (const Rect& n : neighbours) {
        if (nearVertically(proposed, n)) {
            xs.push_back(n.minX());                          // left edges aligned
            xs.push_back(n.maxX() - w);                      // right edges aligned
            xs.push_back(n.maxX() - overlap);                // just right of the neighbour
            xs.push_back(n.minX() - w + overlap);            // just left of it
            xs.push_back(n.minX() + (n.width - w) * 0.5);    // centres aligned
        }
        if (nearHorizontally(proposed, n)) {
            ys.push_back(n.minY());                 // tops aligned
            ys.push_back(n.maxY() - h);             // bottoms aligned
            ys.push_back(n.maxY() - overlap);       // just below the neighbour
            ys.push_back(n.minY() - h + overlap);   // just above it
        }
    }
    const double x = nearest(proposed.minX(), xs).value_or(proposed.minX());
    const double y = nearest(proposed.minY(), ys).value_or(proposed.minY());
    return {x, y, w, h};
}

Rect Snap::resize(Rect proposed, std::span<const Rect> neighbours, Rect screen) {
    std::vector<double> rights{screen.maxX() - edgeInset};
    std::vector<double> bottoms{screen.maxY() - edgeInset};
    for (const Rect& n : neighbours) {
        if (nearVertically(proposed, n)) {
            rights.push_back(n.maxX());                     // right edges aligned
            rights.push_back(n.minX() + overlap);           // just over the neighbour's left edge
            rights.push_back(proposed.minX() + n.width);    // as wide as the neighbour
        }
        if (nearHorizontally(proposed, n)) {
            bottoms.push_back(n.maxY());
            bottoms.push_back(n.minY() + overlap);
            bottoms.push_back(proposed.minY() + n.height);
        }
    }
    // The minimum size comes last, so no snap can make a note smaller than it.
    double width = proposed.width;
    double height = proposed.height;
    if (auto right = nearest(proposed.maxX(), rights)) width = *right - proposed.minX();
    if (auto bottom = nearest(proposed.maxY(), bottoms)) height = *bottom - proposed.minY();
    return {proposed.minX(), proposed.minY(), std::max(width, minimumWidth), std::max(height, minimumHeight)};
}

}
