#include "database/Template.h"

#include "Samples.h"
#include "io/serialization/SerializationException.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <cmath>
#include <vector>

using namespace tarvik;
using namespace tarvik::database;
using namespace tarvik::test;
using testing::ElementsAre;

namespace {

using Point = Complex<16, 14>;

/// A place given in the axes of a part that is turned about (0.1, -0.2).
Point placed(double radians, double x, double y)
{
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    return {fp<16, 14>::fromDouble(0.1 + x * c - y * s),
            fp<16, 14>::fromDouble(-0.2 + x * s + y * c)};
}

/// An L, whose two ways round differ.
std::vector<Point> turnedL(double radians)
{
    constexpr double CORNERS[][2] = {{-0.3, -0.2}, {0.1, -0.2}, {0.1, -0.1}, {-0.2, -0.1},
                                     {-0.2, 0.2},  {-0.3, 0.2}, {-0.3, -0.2}};
    std::vector<Point> points;
    for (const auto& [x, y] : CORNERS) {
        points.push_back(placed(radians, x, y));
    }
    return points;
}

analysis::Object objectL(double radians)
{
    analysis::Object object;
    object.polygon() = polygonOf(turnedL(radians));
    object.fourierDescriptor().load(object.polygon(), true, false);
    return object;
}

TEST(Template, TeachingMeasuresTheHolesWhereTheyLieAfterTurning)
{
    // An outline without length has rotation 0, and the turn by 0 takes 2^-15 off each coordinate
    // and rounds down.
    const Template t(7, objectOf({}, {{8192, 0, 400}, {0, -4096, 800}, {-1024, 0, 200}}));
    EXPECT_EQ(t.id, 7);
    EXPECT_EQ(t.height.raw(), 327680);
    ASSERT_EQ(t.innerContourCount(), 3);
    EXPECT_EQ(t.innerContours()[0].polygon.position(), Point::fromRaw(8191, 0));
    EXPECT_EQ(t.innerContours()[1].polygon.position(), Point::fromRaw(0, -4096));
    EXPECT_THAT(t.isActive(), ElementsAre(true, true, true));
    EXPECT_THAT(t.lengths(), ElementsAre(fp<32, 15>(200), fp<32, 15>(400), fp<32, 15>(800)));
    EXPECT_THAT(t.distances(), ElementsAre(fp<32, 28>(1024 << 14), fp<32, 28>(4096 << 14),
                                           fp<32, 28>(8191 << 14)));
    // Up (-51471), right (0), left (102944).
    EXPECT_EQ(t.firstInnerContourAngle().raw(), -51471);
    EXPECT_THAT(t.angles(), ElementsAre(fp<32, 15>(51471), fp<32, 15>(102944), fp<32, 15>(51472)));
}

TEST(Template, IsTheSameHoweverTheObjectLayWhenTaught)
{
    // The estimate is defined modulo pi, so turns of less than a quarter stay on one side.
    const auto teach = [](double radians) {
        analysis::Object object = objectL(radians);
        for (const double x : {-0.25, 0.05}) {
            const Point hole = placed(radians, x, -0.15) - object.polygon().position();
            addHole(object, {hole.re.raw(), hole.im.raw()});
        }
        return Template(1, object);
    };
    const Template straight = teach(0);
    const Template turned = teach(0.3);
    const auto expectNear = [](Point a, Point b) {
        EXPECT_NEAR(a.re.raw(), b.re.raw(), 150);
        EXPECT_NEAR(a.im.raw(), b.im.raw(), 150);
    };
    const int turn =
        turned.fourierDescriptor().rotation().raw() - straight.fourierDescriptor().rotation().raw();
    EXPECT_NEAR(turn, 9830, 150); // 0.3 rad
    for (std::size_t i = 0; i < 7; ++i) {
        expectNear(turned.polygon().points()[i], straight.polygon().points()[i]);
    }
    for (std::size_t i = 0; i < 2; ++i) {
        expectNear(turned.innerContours()[i].polygon.position(),
                   straight.innerContours()[i].polygon.position());
    }
    EXPECT_NEAR(turned.firstInnerContourAngle().raw(), straight.firstInnerContourAngle().raw(),
                150);
}

TEST(Template, CopiesOwnTheirPointsAndTakeOnlyTheHolesThatCount)
{
    analysis::Object object;
    std::vector<Point> pool = turnedL(0);
    object.polygon().setPoints(pool, false);
    addHole(object, {.x = 100, .y = 0});
    Template copy;
    {
        const Template t(1, object);
        copy = t;
    }
    std::ranges::fill(pool, Point());
    EXPECT_TRUE(copy.polygon().ownsPoints());
    EXPECT_EQ(copy.polygon().pointCount(), 7);
    EXPECT_EQ(copy.innerContourCount(), 1);
    copy = Template();
    EXPECT_EQ(copy.innerContourCount(), 0);
    EXPECT_EQ(copy.id, -1);
}

TEST(Template, RefusesMoreHolesThanFit)
{
    TemplateSpec spec;
    spec.holes.resize(100);
    EXPECT_EQ(makeTemplate(spec).innerContourCount(), 100);
    spec.holes.resize(101);
    const std::string message =
        thrown<io::serialization::SerializationException>([&] { (void)makeTemplate(spec); });
    EXPECT_THAT(message, testing::AllOf(testing::HasSubstr("InnerContourCount"),
                                        testing::HasSubstr("101"), testing::HasSubstr("100")));
}

} // namespace
