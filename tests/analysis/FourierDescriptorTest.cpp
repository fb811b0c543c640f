#include "analysis/FourierDescriptor.h"

#include "support/Points.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace tarvik::analysis {
namespace {

using Coefficient = Complex<16, 15>;
constexpr int CENTRE = FourierDescriptor::CENTRE;

Coefficient coefficient(int re, int im)
{
    return Coefficient::fromRaw(static_cast<std::int16_t>(re), static_cast<std::int16_t>(im));
}

FourierDescriptor described(const Polygon& polygon, bool exact)
{
    FourierDescriptor descriptor;
    descriptor.load(polygon, /*normalise*/ true, exact);
    return descriptor;
}

TEST(FourierDescriptor, EstimatesRotationAsHalfTheSumOfTwoAngles)
{
    struct Case
    {
        const char* what;
        Coefficient plus1;
        Coefficient minus1;
        std::int32_t rotation;
    };

    const Case cases[] = {
        {"none", coefficient(1, 0), coefficient(1, 0), 0},
        {"a quarter turn rounds up", coefficient(0, 9), coefficient(1, 0), 25736},
        {"a quarter back towards zero: -51471, half of it down", coefficient(0, -9),
         coefficient(1, 0), -25736},
        {"pi, rounded to nearest", coefficient(-9, 0), coefficient(1, 0), 51472},
        {"51472 - 51471", coefficient(0, 32767), coefficient(0, -32768), 0},
        {"pi + pi stays", coefficient(-1, 0), coefficient(-1, 0), 102944},
        {"-102943 + 0: -pi by a small negative part", coefficient(-32768, -1), coefficient(5, 0),
         -51471},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FourierDescriptor::Frequencies frequencies;
        frequencies[CENTRE + 1] = c.plus1;
        frequencies[CENTRE - 1] = c.minus1;
        FourierDescriptor descriptor;
        descriptor.setFrequencies(frequencies);
        descriptor.estimateRotation();
        EXPECT_EQ(descriptor.rotation().raw(), c.rotation);
    }
}

TEST(FourierDescriptor, HoldsTheCentreUnturned)
{
    const Polygon polygon = test::polygonOf(
        {test::at(-900, 0), test::at(3000, -700), test::at(200, 1900), test::at(-900, 0)});
    for (const bool exact : {false, true}) {
        const FourierDescriptor descriptor = described(polygon, exact);
        EXPECT_EQ(descriptor.centre(),
                  coefficient(2 * polygon.position().re.raw(), 2 * polygon.position().im.raw()));
        EXPECT_EQ(descriptor.polygonLength(), polygon.length());
    }
}

TEST(FourierDescriptor, KeepsItsCoefficientsForAPolygonWithoutLength)
{
    FourierDescriptor descriptor = described(test::polygonOf(test::square(0, 0, 900)), false);
    const FourierDescriptor before = descriptor;
    descriptor.load(Polygon(3), true, false);
    EXPECT_EQ(descriptor.frequencies(), before.frequencies());
    EXPECT_EQ(descriptor.rotation().raw(), 0);
    EXPECT_EQ(descriptor.polygonLength().raw(), 0);
}

TEST(FourierDescriptor, WrapsRotationByTwoPi)
{
    struct Case
    {
        const char* what;
        std::int32_t by;
        std::int32_t rotation;
    };

    constexpr Case cases[] = {
        {"pi stays", 102944, 102944},
        {"beyond pi", 102945, -102942},
        {"-pi stays", -102944, -102944},
        {"beyond -pi", -102945, 102942},
        {"more than one turn", 3 * 205887 + 5, 5},
        {"more than one turn back", -3 * 205887 - 5, -5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FourierDescriptor descriptor;
        descriptor.rotate(fp<32, 15>(c.by), /*normalise*/ false);
        EXPECT_EQ(descriptor.rotation().raw(), c.rotation);
    }
}

TEST(FourierDescriptor, NormalisesWithTheNewRotation)
{
    FourierDescriptor::Frequencies frequencies;
    frequencies[CENTRE] = coefficient(500, 600);
    frequencies[CENTRE + 1] = coefficient(8000, 0);
    frequencies[CENTRE - 1] = coefficient(0, 4000);
    FourierDescriptor descriptor;
    descriptor.setFrequencies(frequencies);
    descriptor.rotate(fp<32, 15>(51472), /*normalise*/ true);
    // -pi/2: f = -16384, sine -32768, cosine 0, so that (re, im) becomes (im, -re). The first one
    // is (0, -8000) then: turned on by -51471 raw, -16383 as a fraction of pi.
    EXPECT_EQ(descriptor.centre(), coefficient(500, 600));
    EXPECT_EQ(descriptor.rotation().raw(), 51472);
    EXPECT_NEAR(descriptor.frequencies()[CENTRE + 1].re.raw(), 8000, 3);
    EXPECT_NEAR(descriptor.frequencies()[CENTRE + 1].im.raw(), 0, 3);
    // (4000, 0) turned by the same angle the other way.
    EXPECT_NEAR(descriptor.frequencies()[CENTRE - 1].re.raw(), 0, 3);
    EXPECT_NEAR(descriptor.frequencies()[CENTRE - 1].im.raw(), -4000, 3);
}

} // namespace
} // namespace tarvik::analysis
