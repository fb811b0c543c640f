#include "OutputTransform.h"

#include "ApiError.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

namespace tarvik::desk {
namespace {

using testing::HasSubstr;

/// Numbers that the format holds exactly, so that a fit without noise is exact.
PlanePoint robot(PlanePoint p)
{
    return {100.5 * p.x - 20.25 * p.y + 350, 20.25 * p.x + 99.75 * p.y - 120};
}

std::vector<ReferencePoint> points(const std::vector<PlanePoint>& seen)
{
    std::vector<ReferencePoint> list;
    for (const PlanePoint& p : seen) {
        list.push_back({p, robot(p)});
    }
    return list;
}

TEST(OutputTransform, FindsAllSixElements)
{
    const auto fitted =
        fitTransform(points({{-0.9, -0.6}, {0.8, -0.5}, {0.1, 0.7}, {0.9, 0.65}, {-0.4, 0.2}}));
    const auto& m = fitted.matrix;
    EXPECT_NEAR(m.column0.re.toDouble(), 100.5, 1e-4);
    EXPECT_NEAR(m.column0.im.toDouble(), -20.25, 1e-4);
    EXPECT_NEAR(m.column2.re.toDouble(), 350, 1e-4);
    EXPECT_NEAR(m.column1.re.toDouble(), 20.25, 1e-4);
    EXPECT_NEAR(m.column1.im.toDouble(), 99.75, 1e-4);
    EXPECT_NEAR(m.column2.im.toDouble(), -120, 1e-4);
    EXPECT_LT(fitted.rms, 1e-3);
    EXPECT_FALSE(fitted.mirrored);
    // What the camera reports is where the robot says: the convention of rows and columns.
    const auto seen = Complex<16, 15>(fp<16, 15>::fromDouble(0.5), fp<16, 15>::fromDouble(-0.25));
    const auto reported = m.apply(seen);
    EXPECT_NEAR(reported.re.toDouble(), robot({0.5, -0.25}).x, 0.01);
    EXPECT_NEAR(reported.im.toDouble(), robot({0.5, -0.25}).y, 0.01);
}

TEST(OutputTransform, SharesAnErrorAmongThePointsAndTellsIt)
{
    auto square = points({{-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}});
    square[0].robot.x += 4; // a square's fit spreads it evenly: a quarter each
    const auto fitted = fitTransform(square);
    for (const double residual : fitted.residuals) {
        EXPECT_NEAR(residual, 1, 1e-3);
    }
    EXPECT_NEAR(fitted.rms, 1, 1e-3);
}

TEST(OutputTransform, TakesTurnAndScaleFromTwoPoints)
{
    // A quarter turn, ten times as large.
    const auto fitted = fitTransform(std::vector<ReferencePoint>{
        {{0, 0}, {5, 6}},
        {{1, 0}, {5, 16}},
    });
    EXPECT_NEAR(fitted.matrix.column0.im.toDouble(), -10, 1e-4);
    EXPECT_NEAR(fitted.matrix.column1.re.toDouble(), 10, 1e-4);
    EXPECT_NEAR(fitted.matrix.column0.re.toDouble(), 0, 1e-4);
    EXPECT_LT(fitted.rms, 1e-3);
}

TEST(OutputTransform, NoticesAMirroredPlane)
{
    const auto fitted = fitTransform(std::vector<ReferencePoint>{
        {{0, 0}, {0, 0}},
        {{1, 0}, {10, 0}},
        {{0, 1}, {0, -10}},
    });
    EXPECT_TRUE(fitted.mirrored);
}

TEST(OutputTransform, RefusesWhatDeterminesNothingOrLeavesTheRange)
{
    const std::vector<ReferencePoint> far{{{0, 0}, {0, 0}}, {{1, 0}, {1100, 0}}};
    const std::vector<ReferencePoint> nan{{{0, 0}, {0, 0}}, {{1, 0}, {std::nan(""), 0}}};

    struct Case
    {
        const char* what;
        std::vector<ReferencePoint> points;
        const char* refusal;
    };

    const Case cases[] = {
        {"none", {}, "two points or more"},
        {"one", points({{0.1, 0.1}}), "two points or more"},
        {"the same twice", points({{0.1, 0.1}, {0.1, 0.1}}), "same spot"},
        {"on a line", points({{-0.5, -0.5}, {0, 0}, {0.5, 0.5}}), "one line"},
        {"nearly on a line", points({{-0.5, -0.5}, {0, 0.001}, {0.5, 0.5}}), "one line"},
        {"all on one spot", points({{0.2, 0.2}, {0.2, 0.2}, {0.2, 0.2}}), "one line"},
        {"results that would wrap", far, "results wrap beyond"},
        {"no number", nan, "results wrap beyond"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(test::thrown<ApiError>([&] { static_cast<void>(fitTransform(c.points)); }),
                    HasSubstr(c.refusal));
    }
}

} // namespace
} // namespace tarvik::desk
