#include "math/Complex.h"
#include "math/fp.h"
#include "math/isqrt.h"
#include "math/polar.h"
#include "math/sinPi.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace tarvik {
namespace {

TEST(FixedPoint, WrapsInsteadOfOverflowing)
{
    constexpr fp<16, 14> largest(32767);
    EXPECT_EQ((largest + fp<16, 14>(1)).raw(), -32768);
    EXPECT_EQ((-fp<16, 14>(-32768)).raw(), -32768);
    EXPECT_EQ((fp<32, 15>(INT32_MIN) - fp<32, 15>(1)).raw(), INT32_MAX);
    EXPECT_EQ((fp<64, 45>(INT64_MAX) + fp<64, 45>(1)).raw(), INT64_MIN);
}

TEST(FixedPoint, ScalesByShiftsTowardsMinusInfinity)
{
    EXPECT_EQ((fp<32, 28>(-1).scale<15>().raw()), -1);
    EXPECT_EQ((fp<32, 28>(8191).scale<15>().raw()), 0);
    EXPECT_EQ((fp<32, 30>(-32769).scaleDown<15>().raw()), -2);
    EXPECT_EQ((fp<32, 30>(1 << 30).scaleDown<15>().raw()), -32768)
        << "1.0 has no encoding and wraps";
    EXPECT_EQ((fp<64, 56>(-(std::int64_t{1} << 41) - 1).scaleDown<15>().raw()), -2);
    EXPECT_EQ((fp<32, 15>(-3).scaleUp<45>().raw()), -(std::int64_t{3} << 30));
}

TEST(FixedPoint, MultipliesWithoutLoss)
{
    EXPECT_EQ((fp<16, 14>(-32768) * fp<16, 14>(-32768)).raw(), 1 << 30);
    EXPECT_EQ((fp<32, 28>(INT32_MIN) * fp<32, 28>(INT32_MIN)).raw(), std::int64_t{1} << 62);
    EXPECT_EQ((fp<32, 15>(-65536) * fp<32, 30>(3)).raw(), -196608);
}

TEST(FixedPoint, RoundsDoublesByTruncationOfHalfMore)
{
    EXPECT_EQ((fp<32, 15>::fromDouble(0.3).raw()), 9830) << "9830.4";
    EXPECT_EQ((fp<32, 15>::fromDouble(-0.3).raw()), -9829) << "-9830.4 + 0.5, towards zero";
    EXPECT_EQ((fp<32, 28>::fromDouble(1.4142135).raw()), 379625046);
}

TEST(ComplexNumber, CarriesNothingBetweenItsParts)
{
    const auto sum = Complex<16, 14>::fromRaw(32767, 5) + Complex<16, 14>::fromRaw(1, -1);
    EXPECT_EQ(sum, (Complex<16, 14>::fromRaw(-32768, 4)));
    EXPECT_EQ((squaredNorm(Complex<16, 14>::fromRaw(-32768, -32768)).raw()), INT32_MIN)
        << "2^31 wraps";
}

struct SineCase
{
    const char* what;
    std::int16_t angle; // raw fp<16, 15>, fraction of pi
    std::int16_t sine;  // raw fp<16, 15>
};

TEST(SinPi, FollowsItsStepsToTheBit)
{
    constexpr SineCase cases[] = {
        {"0", 0, 0},
        {"pi/2 saturates: 1.0 has no encoding", 16384, 32767},
        {"-pi/2 is exactly -1.0", -16384, -32768},
        {"-pi", -32768, 0},
        // t = 12288, y = 12288 * 8192 >> 12 = 24576, z = 18432, e = (-6144 * 7373) >> 15 = -1383
        {"pi/4", 8192, 23193},
        // y = -24576, z = -18432, e = (6144 * 7373) >> 15 = 1382
        {"-pi/4 is not its mirror", -8192, -23194},
        // t = 16383, y = 16383 >> 12 = 3, z = 0, e = (-3 * 7373) >> 15 = -1
        {"smallest", 1, 2},
        // t = 0 (8 >> 3 = 1 - ... ): 4a = 131068, t = 4 >> 3 = 0
        {"largest angle", 32767, 0},
    };
    for (const SineCase& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(sin_PI(fp<16, 15>(c.angle)).raw(), c.sine);
    }
}

TEST(SinPi, StaysCloseToTheSine)
{
    for (int raw = -32768; raw <= 32767; ++raw) {
        const double x = raw / 32768.0 * 3.141592653589793;
        const fp<16, 15> angle(static_cast<std::int16_t>(raw));
        ASSERT_NEAR(sin_PI(angle).toDouble(), std::sin(x), 0.0013) << raw;
        ASSERT_NEAR(cos_PI(angle).toDouble(), std::cos(x), 0.0013) << raw;
    }
}

TEST(FractionOfPi, TruncatesThenDropsWholeTurns)
{
    struct Case
    {
        std::int32_t radians;
        std::int16_t fraction;
    };

    constexpr Case cases[] = {
        {51472, 16384},             // pi / 2
        {102944, -32768},           // pi is -1.0
        {-102944, -32768}, {-1, 0}, // -0.318 truncates to 0
        {-4, -1},                   // -1.27
        {205887, -1},               // 65535.68 -> 65535
        {-205888, 0},               // exactly -2
        {1029440, 0},               // ten times pi
    };
    for (const Case& c : cases) {
        EXPECT_EQ(fractionOfPi(fp<32, 15>(c.radians)).raw(), c.fraction) << c.radians;
    }
}

TEST(Turned, ShrinksByTheUnencodableOne)
{
    const auto z = Complex<16, 14>::fromRaw(16384, -16384);
    EXPECT_EQ(turned(z, unitFactor(fp<16, 15>(0))), (Complex<16, 14>::fromRaw(16383, -16384)))
        << "16383.5 and -16383.5, towards minus infinity";
    EXPECT_EQ(turned(z, unitFactor(fp<16, 15>(16384))), (Complex<16, 14>::fromRaw(16383, 16383)));
}

TEST(IntegerSquareRoot, IsExactAroundEverySquare)
{
    for (std::uint64_t root = 1; root < 190000; ++root) {
        const std::uint64_t square = root * root;
        ASSERT_EQ(isqrt(square - 1), root - 1);
        ASSERT_EQ(isqrt(square), root);
        ASSERT_EQ(isqrtDigits(square - 1), root - 1);
        ASSERT_EQ(isqrtDigits(square), root);
        if (square <= std::numeric_limits<std::uint32_t>::max()) {
            ASSERT_EQ(isqrtDigits(static_cast<std::uint32_t>(square - 1)), root - 1);
            ASSERT_EQ(isqrtDigits(static_cast<std::uint32_t>(square)), root);
        }
    }
    EXPECT_EQ(isqrtDigits(std::uint64_t{0}), 0U);
}

/// Every angle that is close to a change of the result, and many others.
TEST(PolarAngle, IsThatOfTheRoundedArcTangentInDouble)
{
    std::mt19937 random(5); // NOLINT(cert-msc51-cpp): repeatable
    const auto expectSame = [](int x, int y) {
        const auto a =
            Complex<16, 15>::fromRaw(static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
        ASSERT_EQ(polarAngle(a), polarAngleByDouble(a)) << x << ", " << y;
    };
    for (int x = -60; x <= 60; ++x) {
        for (int y = -60; y <= 60; ++y) {
            expectSame(x, y);
        }
    }
    for (const int end : {-32768, -32767, -1, 0, 1, 32767}) {
        for (int v = -32768; v < 32768; ++v) {
            expectSame(end, v);
            expectSame(v, end);
        }
    }
    for (int i = 0; i < 500000; ++i) {
        expectSame(static_cast<std::int16_t>(random()), static_cast<std::int16_t>(random()));
    }
}

} // namespace
} // namespace tarvik
