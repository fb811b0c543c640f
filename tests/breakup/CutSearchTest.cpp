#include "breakup/CutSearch.h"

#include "Outlines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

using namespace tarvik;
using namespace tarvik::breakup;
using namespace tarvik::test;

namespace {

using Ends = std::vector<std::pair<int, int>>;

/// Squared distance below which a chord is shorter than so many steps.
std::uint32_t shorterThan(int steps)
{
    return static_cast<std::uint32_t>(steps * STEP) * static_cast<std::uint32_t>(steps * STEP);
}

Ends ends(const Cuts& cuts)
{
    Ends result;
    for (const Cut& cut : cuts.cuts()) {
        result.emplace_back(cut.point1Index, cut.point2Index);
    }
    return result;
}

Ends search(const Outline& outline, int steps)
{
    Cuts cuts;
    findCuts(polygonOf(outline), 0, shorterThan(steps), cuts);
    return ends(cuts);
}

/// Points so far apart that none is near another, except those named alike.
Outline scattered(const std::vector<char>& names)
{
    Outline outline;
    int next = 0;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto first = std::ranges::find(names, names[i]);
        const auto at = static_cast<std::size_t>(first - names.begin());
        if (names[i] != '.' && at < i) {
            outline.push_back(outline[at]);
        } else {
            outline.push_back({next % 15 * 10, next / 15 * 10});
            ++next;
        }
    }
    return outline;
}

TEST(SquaredCutLimit, SaysWhatComparingRoundedLengthsSays)
{
    EXPECT_EQ(squaredCutLimit(fp<32, 30>(53687091)), 671089U); // (13421771.5 / 2^14)^2 = 671088.6
    EXPECT_EQ(squaredCutLimit(fp<32, 30>(3)), 0U);             // nothing is shorter than 0
    EXPECT_EQ(squaredCutLimit(fp<32, 30>(-1)), 0U);
    EXPECT_EQ(squaredCutLimit(fp<32, 30>(4)), 1U); // the same point twice is

    for (const int maxLength :
         {4, 65535, 65538, 65540, 92683, 1000000, 53687091, 1 << 29, 1518500250, INT32_MAX}) {
        const std::int64_t limit = squaredCutLimit(fp<32, 30>(maxLength));
        const std::int64_t from = std::max<std::int64_t>(0, limit - 5000);
        for (std::int64_t s = from; s < limit + 5000; ++s) {
            const auto length = static_cast<std::int64_t>(
                std::floor(std::sqrt(static_cast<double>(s) * 0x1p-28) * 0x1p28 + 0.5));
            ASSERT_EQ(s < limit, length < (maxLength >> 2)) << maxLength << ": " << s;
        }
    }
}

struct SearchCase
{
    const char* what;
    Outline outline;
    int steps; ///< chords shorter than this
    Ends cuts;
};

TEST(CutSearch, FindsNecksThatDoNotCross)
{
    const Outline hexagon = {{0, 0}, {1, 0}, {2, 1}, {1, 2}, {0, 2}, {-1, 1}};
    const Outline longHexagon = {{0, 0}, {1, 0}, {2, 1}, {9, 9}, {0, 2}, {-1, 1}};
    const Outline small = {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}, {3, 2}, {2, 2}, {1, 2}, {0, 2}};
    const SearchCase cases[] = {
        {"a neck", TWO_BLOBS, 3, {{2, 7}}},
        {"a chord of the limit itself is too long", TWO_BLOBS, 2, {}},
        {"two necks, one nested in the other", THREE_BLOBS, 3, {{2, 13}, {5, 10}}},
        {"a square has no two points three apart", SQUARE, 100, {}},
        {"five points have none either", {{0, 0}, {1, 0}, {2, 1}, {1, 2}, {0, 1}}, 100, {}},
        {"six points: the first of three chords bars the others", hexagon, 100, {{0, 3}}},
        {"six points: the second one when the first is too long", longHexagon, 5, {{1, 4}}},
        {"a convex outline that is wide everywhere", hexagon, 1, {}},
        {"side by side: the second starts past the first", small, 100, {{0, 3}, {4, 7}}},
        {"the end of the outline is near its start, but the long way round",
         scattered({'a', '.', '.', '.', '.', '.', '.', '.', 'a', '.'}),
         5,
         {}},
        {"from the last point on there is no way",
         scattered({'.', '.', '.', 'a', '.', '.', '.', '.', '.', 'a'}),
         5,
         {{3, 9}}},
        {"inside a cut, none may leave it",
         scattered({'a', '.', 'b', '.', '.', 'a', 'b', '.', '.', '.'}),
         5,
         {{0, 5}}},
        {"past a nested cut the way is free again, even out of the outer one",
         scattered({'a', 'b', '.', '.', 'b', 'c', '.', '.', '.', 'a', '.', 'c', '.', '.'}),
         5,
         {{0, 9}, {1, 4}, {5, 11}}},
    };
    for (const SearchCase& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(search(c.outline, c.steps), c.cuts);
    }
}

TEST(CutSearch, FindsTheEndWhereverItLies)
{
    for (std::size_t j = 3; j < 47; ++j) {
        std::vector<char> names(50, '.');
        names[0] = names[j] = 'a';
        EXPECT_EQ(search(scattered(names), 5), (Ends{{0, static_cast<int>(j)}}));
    }
}

TEST(CutSearch, TakesTheFarthestCornersForFar)
{
    // The squared distance of this pair is 2^31, and nothing is near when the limit is 0.
    std::vector<Point> points(40, at(-16384, -16384));
    points[20] = at(16384, 16384);
    Cuts cuts;
    findCuts(polygonOf(points), 0, 0, cuts);
    EXPECT_EQ(cuts.count(), 0);
}

TEST(CutSearch, StopsAtTwentyFiveCutsOfAllObjects)
{
    Cuts cuts;
    while (cuts.count() < 24) {
        cuts.add(Cut());
    }
    findCuts(polygonOf(THREE_BLOBS), 0, shorterThan(3), cuts);
    EXPECT_EQ(cuts.count(), 25);
    EXPECT_EQ(ends(cuts).back(), std::pair(2, 13));
    findCuts(polygonOf(TWO_BLOBS), 1, shorterThan(3), cuts);
    EXPECT_EQ(cuts.cuts().back().objectIndex, 0);
    EXPECT_FALSE(cuts.add(Cut()));
}

TEST(CutSearch, TakesOutlinesWithoutPoints)
{
    Cuts cuts;
    for (const int count : {0, 1, 2}) {
        findCuts(analysis::Polygon(count), 0, 1000, cuts);
    }
    EXPECT_EQ(cuts.count(), 0);
}

} // namespace
