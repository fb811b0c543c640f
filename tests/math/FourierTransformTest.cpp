#include "math/FourierTransform.h"

#include "math/sinPi.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <random>
#include <vector>

namespace tarvik {
namespace {

using Point = Complex<16, 14>;
using Coefficient = Complex<16, 15>;
constexpr int M = 15;
using Coefficients = std::array<Coefficient, M>;

Point point(int x, int y)
{
    return Point::fromRaw(static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
}

/// The fixed-point transform word for word as it is defined: floating point square roots, frequency
/// by frequency, one division per angle and two per term.
Coefficients plainTransform(const std::vector<Point>& points, Point centre, std::int32_t total)
{
    std::vector<std::int64_t> dx;
    std::vector<std::int64_t> dy;
    std::vector<std::int32_t> lengths;
    for (std::size_t i = 1; i < points.size(); ++i) {
        dx.push_back(std::int64_t{(points[i] - points[i - 1]).re.raw()} * 16384);
        dy.push_back(std::int64_t{(points[i] - points[i - 1]).im.raw()} * 16384);
        const double square = static_cast<double>(dx.back() * dx.back() + dy.back() * dy.back());
        const double root = std::sqrt(square * std::ldexp(1, -56)) * std::ldexp(1, 56) + 0.5;
        lengths.push_back(static_cast<std::int32_t>(static_cast<std::int64_t>(root) >> 41));
    }
    Coefficients result;
    for (int k = 0; k < M; ++k) {
        const int n = k - 7;
        if (n == 0) {
            result[7] = Coefficient::fromRaw(static_cast<std::int16_t>(centre.re.raw() * 2),
                                             static_cast<std::int16_t>(centre.im.raw() * 2));
            continue;
        }
        std::int32_t sumX = 0;
        std::int32_t sumY = 0;
        std::int64_t s = 0;
        std::int64_t c0 = 32767;
        std::int64_t s0 = 0;
        for (std::size_t i = 0; i < lengths.size(); ++i) {
            if (lengths[i] == 0) {
                continue;
            }
            s += lengths[i];
            const fp<16, 15> angle(wrapTo<std::int16_t>(-2 * n * s * 32768 / total));
            const std::int64_t s1 = sin_PI(angle).raw();
            const std::int64_t c1 = cos_PI(angle).raw();
            const auto re = [&](std::int64_t c, std::int64_t e) {
                return wrapTo<std::int32_t>((c * 32768 * dx[i] - e * 32768 * dy[i]) >> 28);
            };
            const auto im = [&](std::int64_t c, std::int64_t e) {
                return wrapTo<std::int32_t>((c * 32768 * dy[i] + e * 32768 * dx[i]) >> 28);
            };
            const std::int32_t q =
                wrapTo<std::int16_t>(lengths[i] >> 2) * wrapTo<std::int16_t>(79 * n * n) * 2;
            if (q != 0) {
                const auto term = [&](std::int32_t after, std::int32_t before) {
                    const std::int64_t difference = std::int64_t{after >> 1} - (before >> 1);
                    return wrapTo<std::int32_t>((difference * total / q) >> 1);
                };
                sumX = wrapTo<std::int32_t>(std::int64_t{sumX} + term(re(c1, s1), re(c0, s0)));
                sumY = wrapTo<std::int32_t>(std::int64_t{sumY} + term(im(c1, s1), im(c0, s0)));
            }
            c0 = c1;
            s0 = s1;
        }
        result[static_cast<std::size_t>(k)] = Coefficient::fromRaw(
            wrapTo<std::int16_t>(sumX >> 13), wrapTo<std::int16_t>(sumY >> 13));
    }
    return result;
}

Coefficients fastTransform(const std::vector<Point>& points, Point centre, std::int32_t total)
{
    Coefficients result;
    Fourier_Forward_NonEquidistant_Fast(points, centre, fp<32, 15>(total), result);
    return result;
}

/// With two coefficients more, which are left away here, the transform cannot work in lanes.
Coefficients scalarTransform(const std::vector<Point>& points, Point centre, std::int32_t total)
{
    std::array<Coefficient, M + 2> wider;
    Fourier_Forward_NonEquidistant_Fast(points, centre, fp<32, 15>(total), wider);
    Coefficients result;
    std::copy_n(wider.begin() + 1, M, result.begin());
    return result;
}

std::int32_t roughLength(const std::vector<Point>& points)
{
    double length = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        length += std::hypot(points[i].re.raw() - points[i - 1].re.raw(),
                             points[i].im.raw() - points[i - 1].im.raw());
    }
    return static_cast<std::int32_t>(2 * length);
}

TEST(FourierFast, AgreesToTheBitWithThePlainFormula)
{
    struct Family
    {
        const char* what;
        int extent;   // raw units around the start
        int step;     // largest step, raw
        int maxCount; // points
    };

    constexpr Family families[] = {
        {"parts as they occur", 6000, 2500, 40},
        {"tiny steps, some too short to count", 40, 3, 60},
        {"long outlines of many points", 16000, 900, 400},
        {"segments across the whole image, beyond the fast path", 16383, 32767, 30},
        {"longer than 16 units, beyond the fast path", 16000, 12000, 200},
    };
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): repeatable
    const auto upTo = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(2 * limit + 1)) - limit;
    };
    for (const Family& family : families) {
        SCOPED_TRACE(family.what);
        for (int round = 0; round < 400; ++round) {
            const int count =
                2 + static_cast<int>(random() % static_cast<unsigned>(family.maxCount));
            std::vector<Point> points{point(0, 0)};
            while (static_cast<int>(points.size()) < count) {
                const int x = points.back().re.raw() + upTo(family.step);
                const int y = points.back().im.raw() + upTo(family.step);
                points.push_back(point(std::clamp(x, -family.extent, family.extent),
                                       std::clamp(y, -family.extent, family.extent)));
            }
            points.push_back(points.front());
            const std::int32_t total = std::max(roughLength(points), 1);
            const Coefficients plain = plainTransform(points, point(5, -9), total);
            ASSERT_EQ(fastTransform(points, point(5, -9), total), plain) << "round " << round;
            ASSERT_EQ(scalarTransform(points, point(5, -9), total), plain) << "round " << round;
        }
    }
}

/// Unit square around the origin, side 1.0, from the upper left corner clockwise on the screen. Its
/// coefficients in closed form: for odd n = 4m + 1, 2 sqrt(2) / (pi n)^2 in magnitude, along the
/// start corner's direction (-1, -1) / sqrt(2) up to the sign of the series; 0 for every other n.
const std::vector<Point> SQUARE{point(-8192, -8192), point(8192, -8192), point(8192, 8192),
                                point(-8192, 8192), point(-8192, -8192)};

TEST(FourierExact, MatchesTheClosedFormOfASquare)
{
    Coefficients c;
    Fourier_Forward_NonEquidistant_Exact(SQUARE, point(0, 0), c);
    for (int n = -7; n <= 7; ++n) {
        const bool present = ((n - 1) % 4 + 4) % 4 == 0;
        const double magnitude = 4 / (3.141592653589793 * 3.141592653589793 * n * n);
        const Coefficient& z = c[static_cast<std::size_t>(n + 7)];
        const double expected = present ? -magnitude : 0;
        EXPECT_NEAR(z.re.toDouble(), expected, 5e-5) << n;
        EXPECT_NEAR(z.im.toDouble(), expected, 5e-5) << n;
    }
}

TEST(Fourier, DegenerateOutlinesAreDefined)
{
    const std::vector<Point> spot{point(3, 3), point(3, 3), point(3, 3)};
    Coefficients exact;
    Fourier_Forward_NonEquidistant_Exact(spot, point(3, 3), exact);
    EXPECT_EQ(exact[8], Coefficient::ZERO);
    EXPECT_EQ(fastTransform(spot, point(3, 3), 100)[8], Coefficient::ZERO);
    EXPECT_EQ(fastTransform(SQUARE, point(0, 0), 0)[8], Coefficient::ZERO) << "length 0";
    EXPECT_EQ(fastTransform({}, point(0, 0), 1)[8], Coefficient::ZERO) << "no points";
}

TEST(FourierBackward, GivesCopiesOfACentreAlone)
{
    Coefficients c{};
    c[7] = Coefficient::fromRaw(-301, 32767);
    std::array<Point, 5> points;
    Fourier_Backward_Exact(c, fp<32, 15>(12345), points);
    for (const Point& p : points) {
        EXPECT_EQ(p, point(-150, 16383)) << "-301 + 0.5 truncates to -300";
    }
}

TEST(FourierBackward, TurnsAndClamps)
{
    Coefficients c{};
    c[8] = Coefficient::fromRaw(16384, 0);
    std::array<Point, 4> circle;
    Fourier_Backward_Exact(c, fp<32, 15>(51472), circle); // a quarter turn on
    EXPECT_NEAR(circle[0].im.raw(), 8192, 1);
    EXPECT_NEAR(circle[1].re.raw(), -8192, 1);
    c[8] = Coefficient::fromRaw(32767, 0);
    c[7] = Coefficient::fromRaw(32767, 0);
    Fourier_Backward_Exact(c, fp<32, 15>::ZERO, circle);
    EXPECT_EQ(circle[0].re.raw(), 16383);
    c[7] = Coefficient::fromRaw(-32768, 0);
    Fourier_Backward_Exact(c, fp<32, 15>::ZERO, circle);
    EXPECT_EQ(circle[2].re.raw(), -16384) << "-32767 shifted right";
}

} // namespace
} // namespace tarvik
