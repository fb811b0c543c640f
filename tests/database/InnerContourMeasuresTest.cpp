#include "database/InnerContourMeasures.h"

#include "Samples.h"

#include <gmock/gmock.h>

#include <vector>

using namespace tarvik;
using namespace tarvik::database;
using namespace tarvik::test;

namespace {

struct Case
{
    const char* what;
    std::vector<int> given;
    std::vector<int> expected;
};

std::vector<fp<32, 15>> values(const std::vector<int>& raw)
{
    std::vector<fp<32, 15>> result;
    for (const int r : raw) {
        result.emplace_back(r);
    }
    return result;
}

TEST(InnerContourMeasures, GapsLieAboveZeroAndReachOneTurn)
{
    // pi/2 is 51472 raw, a turn 205887.
    const Case cases[] = {
        {"one hole is a turn away from itself", {30000}, {205887}},
        {"two holes in one direction", {1000, 1000}, {205887, 205887}},
        {"opposite holes: the turn is odd, so one gap is longer", {0, 102944}, {102944, 102943}},
        {"three in a half turn", {-51472, 0, 51472}, {51472, 51472, 102943}},
        {"two of three together: the turn between them adds one",
         {0, 0, 50000},
         {205887, 50000, 155887}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<fp<32, 15>> gaps(c.given.size());
        angularGaps(values(c.given), gaps);
        EXPECT_EQ(gaps, values(c.expected));
    }
}

/// One hole, and its angle or distance.
struct Place
{
    const char* what;
    std::int16_t x;
    std::int16_t y;
    int measure;
};

TEST(InnerContourMeasures, AnglesTruncateTowardsZeroAfterAddingHalf)
{
    constexpr Place cases[] = {
        {"to the right", 5000, 0, 0},
        {"the centre itself", 0, 0, 0},
        {"down: 51471.85 + 0.5", 0, 7, 51472},
        {"up: -51471.85 + 0.5", 0, -7, -51471},
        {"to the left: pi, not -pi", -1, 0, 102944},
        {"diagonally down: 25735.93 + 0.5", 300, 300, 25736},
        {"diagonally up: -25735.93 + 0.5", 300, -300, -25735},
        {"back and up: -77207.78 + 0.5", -300, -300, -77207},
        {"just below the axis to the left: -102942.7 + 0.5", -32768, -1, -102942},
        {"just above the axis: -1.00003 + 0.5", 32767, -1, 0},
    };
    for (const Place& c : cases) {
        SCOPED_TRACE(c.what);
        const analysis::Object object = objectOf({}, {Hole{c.x, c.y}});
        std::vector<fp<32, 15>> angle(1);
        sortedAngles(object.innerContours(), angle);
        EXPECT_EQ(angle[0].raw(), c.measure);
    }
}

TEST(InnerContourMeasures, DistancesRoundToNearest)
{
    constexpr Place cases[] = {
        {"0.5", 8192, 0, 134217728},
        {"a triangle of 3, 4 and 5", -6144, 8192, 10240 * 16384},
        {"the root of 2 x 16384 is 23170.475", 1, 1, 23170},
        {"the root of 5 x 16384 is 36635.74", 2, 1, 36636},
        {"the farthest corner: the sum of squares takes all 32 bits", -32768, -32768, 759250125},
    };
    for (const Place& c : cases) {
        SCOPED_TRACE(c.what);
        const analysis::Object object = objectOf({}, {Hole{c.x, c.y}});
        std::vector<fp<32, 28>> distance(1);
        sortedDistances(object.innerContours(), distance);
        EXPECT_EQ(distance[0].raw(), c.measure);
    }
}

TEST(InnerContourMeasures, EachMeasureIsSortedByItself)
{
    // Second, first and third by angle.
    const analysis::Object object =
        objectOf({}, {{0, 4096, 8000}, {0, -2048, 12000}, {-1024, 0, 4000}});
    std::vector<fp<32, 15>> lengths(3);
    std::vector<fp<32, 28>> distances(3);
    std::vector<fp<32, 15>> angles(3);
    sortedLengths(object.innerContours(), lengths);
    sortedDistances(object.innerContours(), distances);
    sortedAngles(object.innerContours(), angles);
    EXPECT_EQ(lengths, values({4000, 8000, 12000}));
    EXPECT_THAT(distances, testing::ElementsAre(fp<32, 28>(1024 << 14), fp<32, 28>(2048 << 14),
                                                fp<32, 28>(4096 << 14)));
    EXPECT_EQ(angles, values({-51471, 51472, 102944}));
}

} // namespace
