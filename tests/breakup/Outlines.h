#pragma once

#include "support/Points.h"

#include <gtest/gtest.h>

#include <span>
#include <vector>

namespace tarvik::test {

using Point = Complex<16, 14>;

struct GridPoint
{
    int x;
    int y;

    friend bool operator==(const GridPoint&, const GridPoint&) = default;
};

using Outline = std::vector<GridPoint>;

/// Raw fp<16, 14> units of one grid step.
constexpr int STEP = 100;

/// Two blobs that touch in a neck of 2 steps between the points 2 and 7.
///
///     0---1   3---4
///     |    \ /    |
///     |     2     |
///     |     7     |
///     |    / \    |
///     9---8   6---5
inline const Outline TWO_BLOBS = {{0, 0},   {10, 0},  {11, 4}, {12, 0},  {22, 0},
                                  {22, 10}, {12, 10}, {11, 6}, {10, 10}, {0, 10}};

/// Three blobs in a row, with necks between the points 2 and 13, and 5 and 10.
inline const Outline THREE_BLOBS = {{0, 0},   {10, 0}, {11, 4},  {12, 0},  {22, 0}, {23, 4},
                                    {24, 0},  {34, 0}, {34, 10}, {24, 10}, {23, 6}, {22, 10},
                                    {12, 10}, {11, 6}, {10, 10}, {0, 10}};

inline const Outline SQUARE = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};

[[nodiscard]] inline Point atGrid(GridPoint p)
{
    return at(p.x * STEP, p.y * STEP);
}

/// Absolute points, the first one repeated at the end.
[[nodiscard]] inline std::vector<Point> closed(const Outline& outline)
{
    std::vector<Point> points;
    for (const GridPoint& p : outline) {
        points.push_back(atGrid(p));
    }
    points.push_back(points.front());
    return points;
}

[[nodiscard]] inline analysis::Polygon polygonOf(const Outline& outline)
{
    return polygonOf(closed(outline));
}

/// Grid points of the absolute outline without the closing one.
[[nodiscard]] inline Outline onGrid(Point position, std::span<const Point> points)
{
    Outline outline;
    EXPECT_EQ(points.front(), points.back());
    for (const Point& p : points.first(points.size() - 1)) {
        const Point absolute = position + p;
        EXPECT_EQ(absolute.re.raw() % STEP, 0);
        EXPECT_EQ(absolute.im.raw() % STEP, 0);
        outline.push_back({absolute.re.raw() / STEP, absolute.im.raw() / STEP});
    }
    return outline;
}

} // namespace tarvik::test
