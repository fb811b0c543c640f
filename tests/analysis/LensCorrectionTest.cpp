#include "analysis/correction/LensCorrection.h"

#include "support/Points.h"

#include <gtest/gtest.h>

#include <array>

namespace tarvik::analysis::correction {
namespace {

using Point = Complex<16, 14>;
using test::at;

constexpr std::int32_t TENTH = 107374182; // fp<32, 30>

Point corrected(const LCParams& params, int x, int y)
{
    Point point = at(x, y);
    LensCorrection(params).correct(point);
    return point;
}

struct QuadrantCase
{
    const char* what;
    int x;
    int y;
    int quadrant;
};

TEST(LensCorrection, TakesTheCoefficientOfThePointsQuadrant)
{
    constexpr QuadrantCase cases[] = {
        {"upper right", 8192, -8192, 1},   {"upper left", -8192, -8192, 2},
        {"lower left", -8192, 8192, 3},    {"lower right", 8192, 8192, 4},
        {"right on the axis", 8192, 0, 1}, {"left on the axis", -8192, 0, 2},
        {"up on the axis", 0, -8192, 2},   {"down on the axis", 0, 8192, 3},
    };
    for (const QuadrantCase& c : cases) {
        for (int quadrant = 1; quadrant <= 4; ++quadrant) {
            SCOPED_TRACE(testing::Message() << c.what << ", only q" << quadrant);
            const auto k = [=](int q) { return fp<32, 30>(q == quadrant ? TENTH : 0); };
            const LCParams params{.k1 = {k(1), k(2), k(3), k(4)}};
            EXPECT_EQ(corrected(params, c.x, c.y) != at(c.x, c.y), quadrant == c.quadrant);
        }
    }
}

TEST(LensCorrection, ScalesByTheSquaredRadius)
{
    LCParams params;
    params.k1 = {fp<32, 30>(TENTH), fp<32, 30>(TENTH), fp<32, 30>(TENTH), fp<32, 30>(-TENTH)};
    // r^2 = 0.5: t = 26843545 x 2^27 >> 28 = 13421772, factor 16384 + 819; 8192 x 17203 >> 14.
    EXPECT_EQ(corrected(params, 8192, -8192), at(8601, -8602));
    EXPECT_EQ(corrected(params, -8192, -8192), at(-8602, -8602));
    // -TENTH >> 2 = -26843546, t = -13421773, >> 14 gives -820: factor 15564.
    EXPECT_EQ(corrected(params, 8192, 8192), at(7782, 7782));
}

TEST(LensCorrection, WrapsTheFactorTo16Bits)
{
    LCParams params;
    params.k1.q1 = fp<32, 30>::MAX; // 2 - 2^-30
    // r^2 just below 0.5: t >> 14 = 16383, factor 32767 just fits; 11585 x 32767 >> 14.
    EXPECT_EQ(corrected(params, 11585, 0), at(23169, 0));
    // r^2 = 0.73: t >> 14 = 23925, factor 40309 wraps to -25227; 14000 x -25227 >> 14.
    EXPECT_EQ(corrected(params, 14000, 0), at(-21557, 0));
}

TEST(LensCorrection, LeavesPointsWhereCoefficientsAreZero)
{
    EXPECT_TRUE(LensCorrection(LCParams{}).isIdentity());
    EXPECT_EQ(corrected(LCParams{}, -12345, 4321), at(-12345, 4321));
    LCParams params;
    params.k1.q3 = fp<32, 30>(1);
    EXPECT_FALSE(LensCorrection(params).isIdentity());
}

TEST(LensCorrection, CorrectsAsManyPointsAsCounted)
{
    LCParams params;
    params.k1.q4 = fp<32, 30>(TENTH);
    const Point point = at(8192, 8192);
    std::array<Point, 2> points{point, point};
    EXPECT_TRUE(LensCorrection(params).correct(points.data(), 1));
    EXPECT_NE(points[0], point);
    EXPECT_EQ(points[1], point);
    EXPECT_TRUE(LensCorrection(params).correct(points.data(), -1));
    EXPECT_EQ(points[1], point);
}

} // namespace
} // namespace tarvik::analysis::correction
