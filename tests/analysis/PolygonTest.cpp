#include "analysis/Polygon.h"

#include "analysis/ContourProperties.h"
#include "analysis/FourierDescriptor.h"
#include "support/Points.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace tarvik::analysis {
namespace {

using Point = Complex<16, 14>;
using test::at;
using test::polygonOf;

std::vector<Point> pointsOf(const Polygon& polygon)
{
    return {polygon.points().begin(), polygon.points().end()};
}

std::vector<int> box(const Polygon& p)
{
    return {p.left().raw(), p.top().raw(), p.right().raw(), p.bottom().raw()};
}

TEST(Polygon, ComputesItsPropertiesFromAbsolutePoints)
{
    const Polygon polygon = polygonOf({at(0, 0), at(400, 0), at(400, 300), at(0, 300), at(0, 0)});
    EXPECT_EQ(polygon.length().raw(), 2800);
    // Moments 19 + 29 + 19 and 0 + 10 + 29 + 10, each product shifted: 392 and 286 in 15 bits.
    EXPECT_EQ(polygon.position(), at(196, 143));
    EXPECT_EQ(box(polygon), (std::vector<int>{-196, -143, 204, 157}));
    EXPECT_EQ(pointsOf(polygon), (std::vector<Point>{at(-196, -143), at(204, -143), at(204, 157),
                                                     at(-196, 157), at(-196, -143)}));
}

TEST(Polygon, KeepsPositionAndPointsWithoutLength)
{
    Polygon polygon;
    polygon.moveTo(at(7, 8));
    std::vector<Point> same{at(3, 4), at(3, 4)};
    polygon.setPoints(same, /*copy*/ true);
    EXPECT_EQ(polygon.position(), at(7, 8));
    EXPECT_EQ(pointsOf(polygon), same);
    EXPECT_EQ(box(polygon), (std::vector<int>{3, 4, 3, 4}));
    EXPECT_EQ(polygon.length().raw(), 0);
    EXPECT_FALSE(polygonOf({at(3, 4)}).contains(at(3, 4)));

    polygon.setPoints({}, /*copy*/ true);
    EXPECT_EQ(polygon.position(), at(7, 8));
    EXPECT_EQ(polygon.pointCount(), 0);
}

/// The distance as it is defined, in double precision.
std::int32_t definedDistance(std::int64_t dx, std::int64_t dy)
{
    const auto square = static_cast<double>(4 * (dx * dx + dy * dy));
    const double root = std::sqrt(square * std::ldexp(1, -30)) * std::ldexp(1, 30) + 0.5;
    return static_cast<std::int32_t>(static_cast<std::int64_t>(root) >> 15);
}

std::int32_t distanceBetween(int dx, int dy)
{
    // Differences of up to 65535 need the full range of the coordinates.
    return polygonOf({at(-32768, -32768), at(dx - 32768, dy - 32768)}).length().raw();
}

TEST(Polygon, MeasuresDistancesAsDefined)
{
    struct Case
    {
        const char* what;
        int dx;
        int dy;
        std::int32_t distance;
    };

    constexpr Case cases[] = {
        {"a whole number", 3, 4, 10},
        {"small ones round down", 1, 2, 4},
        {"1 below a square, root 32768.99998: rounds up", 16384, 128, 32769},
        {"1 below a square, root below 32768: no correction", 16129, 127, 32258},
        {"4 below a square, root 148998 reached", 48086, 56902, 148998},
        {"4 below a square, root 99462 missed", 28282, 40906, 99461},
        {"5 below a square, root 157859 missed", 59912, 51385, 157858},
        {"the longest", 65535, 65535, 185360},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(definedDistance(c.dx, c.dy), c.distance);
        EXPECT_EQ(distanceBetween(c.dx, c.dy), c.distance);
    }
    // Squares that miss the next one by 1: (k^2, k) for every k that reaches the correction.
    for (int k = 120; k < 256; ++k) {
        ASSERT_EQ(distanceBetween(k * k, k), definedDistance(k * k, k)) << k;
    }
    std::mt19937 random(4);
    for (int i = 0; i < 20000; ++i) {
        const int dx = static_cast<int>(random() % 65536);
        const int dy = static_cast<int>(random() % 65536);
        ASSERT_EQ(distanceBetween(dx, dy), definedDistance(dx, dy)) << dx << ", " << dy;
    }
}

struct Turn
{
    const char* what;
    std::int32_t angle; ///< fp<32, 15>, radians
    Point of1000And500;
    std::vector<int> box;
};

TEST(Polygon, RotatesAboutItsPosition)
{
    const Turn turns[] = {
        {"by 0: shrinks by 2^-15", 0, at(999, 499), {-1000, -500, 999, 499}},
        {"a quarter: x to y", 51472, at(-500, 999), {-500, -1000, 499, 999}},
        {"three quarters, an exact -1", 154416, at(500, -1000), {-500, -1000, 500, 1000}},
        {"a quarter back, the same", -51472, at(500, -1000), {-500, -1000, 500, 1000}},
        {"a half: -32767 / 32768", 102944, at(-1000, -500), {-1000, -500, 1000, 500}},
        {"two and a quarter turns", 2 * 205888 + 51472, at(-500, 999), {-500, -1000, 499, 999}},
    };
    for (const Turn& turn : turns) {
        SCOPED_TRACE(turn.what);
        Polygon polygon(2);
        polygon.moveTo(at(11, 12));
        EXPECT_TRUE(polygon.setPoint(0, at(1000, 500)));
        EXPECT_TRUE(polygon.setPoint(1, at(-1000, -500)));
        EXPECT_FALSE(polygon.setPoint(2, at(1, 1)));
        polygon.rotate(fp<32, 15>(turn.angle));
        EXPECT_EQ(polygon.points()[0], turn.of1000And500);
        EXPECT_EQ(box(polygon), turn.box);
        EXPECT_EQ(polygon.position(), at(11, 12));
    }
    Polygon nothing;
    nothing.rotate(fp<32, 15>::PI);
    EXPECT_EQ(nothing.pointCount(), 0);
}

struct Inside
{
    const char* what;
    Point point;
    bool inside;
};

TEST(Polygon, TellsWhatLiesInside)
{
    const std::vector<Point> clockwise = test::square(0, 0, 1000);
    const std::vector<Point> counterclockwise(clockwise.rbegin(), clockwise.rend());
    const std::vector<Point> open(clockwise.begin(), clockwise.end() - 1);
    const Inside cases[] = {
        {"the middle", at(0, 0), true},
        {"on the left edge", at(-1000, 0), true},
        {"left of it", at(-1001, 0), false},
        {"left of the right edge", at(999, 0), true},
        {"on the right edge", at(1000, 0), false},
        {"on the upper edge", at(0, -1000), true},
        {"above it", at(0, -1001), false},
        {"above the lower edge", at(0, 999), true},
        {"on the lower edge", at(0, 1000), false},
    };
    for (const auto& points : {clockwise, counterclockwise, open}) {
        const Polygon polygon = polygonOf(points);
        for (const Inside& c : cases) {
            SCOPED_TRACE(c.what);
            EXPECT_EQ(polygon.contains(c.point), c.inside);
        }
    }
}

TEST(Polygon, TakesAlmostHorizontalEdgesForHorizontal)
{
    // In row 2 only the lower edge lies left of the point; it counts when it falls by 5, not by 4.
    const auto triangle = [](int fall) {
        return polygonOf({at(-1000, 0), at(0, -1000), at(1000, fall), at(-1000, 0)});
    };
    EXPECT_TRUE(triangle(5).contains(at(980, 2)));
    EXPECT_FALSE(triangle(4).contains(at(980, 2)));
    EXPECT_FALSE(triangle(5).contains(at(-500, 2))); // the edge passes the row at -200
}

TEST(Polygon, AdoptsOwnsAndBorrowsPoints)
{
    std::array<Point, 4> pool{at(0, 0), at(400, 0), at(0, 400), at(0, 0)};
    Polygon view;
    view.setPoints(pool, /*copy*/ false);
    EXPECT_FALSE(view.ownsPoints());
    EXPECT_EQ(pool[0], -view.position()); // made relative in place
    const std::vector<Point> points = pointsOf(view);

    const Polygon copy = view;
    Polygon assigned(9);
    assigned = view;
    Polygon borrowed(3);
    borrowed.borrow(assigned);
    const Polygon copyOfBorrowed = borrowed;
    pool.fill(at(1, 1));
    for (const Polygon* p :
         {&copy, &std::as_const(assigned), &std::as_const(borrowed), &copyOfBorrowed}) {
        EXPECT_EQ(pointsOf(*p), points);
        EXPECT_EQ(p->position(), view.position());
        EXPECT_EQ(p->length(), view.length());
        EXPECT_EQ(box(*p), box(view));
    }
    EXPECT_TRUE(copy.ownsPoints());
    EXPECT_TRUE(copyOfBorrowed.ownsPoints());
    EXPECT_FALSE(borrowed.ownsPoints());
    EXPECT_EQ(borrowed.points().data(), assigned.points().data());
    EXPECT_EQ(view.points()[0], at(1, 1));
}

TEST(Polygon, MovesItsPointsToAnother)
{
    Polygon owner = polygonOf({at(0, 0), at(400, 0), at(0, 0)});
    const std::vector<Point> points = pointsOf(owner);
    const Point* const storage = owner.points().data();
    Polygon moved = std::move(owner);
    EXPECT_EQ(moved.points().data(), storage);
    EXPECT_TRUE(moved.ownsPoints());
    EXPECT_EQ(owner.pointCount(), 0); // NOLINT(bugprone-use-after-move): empty by contract

    std::array<Point, 2> pool{};
    Polygon view;
    view.setPoints(pool, /*copy*/ false);
    moved = std::move(view);
    EXPECT_EQ(moved.points().data(), pool.data());
    EXPECT_FALSE(moved.ownsPoints());
}

TEST(Polygon, RebuildsItselfFromADescriptor)
{
    FourierDescriptor descriptor;
    descriptor.load(polygonOf(test::square(0, 0, 2000)), /*normalise*/ false, /*exact*/ true);
    descriptor.move(Complex<16, 15>::fromRaw(3000, 1000));

    Polygon rebuilt;
    rebuilt.load(descriptor, /*ignoreRotation*/ true, -1, 101);
    ASSERT_EQ(rebuilt.pointCount(), 101);
    EXPECT_EQ(rebuilt.points().back(), rebuilt.points().front());
    EXPECT_NEAR(rebuilt.position().re.raw(), 1500, 20); // 100 short segments round the moments down
    EXPECT_NEAR(rebuilt.position().im.raw(), 500, 20);
    EXPECT_NEAR(rebuilt.right().raw(), 2000, 60);

    // A square has no frequency -1: what remains is the circle of frequency +1.
    rebuilt.load(descriptor, true, 3, 101);
    const double radius = std::sqrt(rebuilt.computeExtendSq().toDouble()) * 16384;
    const Complex<16, 15> first = descriptor.frequencies()[FourierDescriptor::CENTRE + 1];
    EXPECT_NEAR(radius, std::hypot(first.re.raw(), first.im.raw()) / 2, 30);
}

TEST(Polygon, ChoosesItsNumberOfPointsByTheLength)
{
    struct Case
    {
        const char* what;
        int half; ///< raw, of a square's side
        std::int16_t wanted;
        int points;
    };

    constexpr Case cases[] = {
        {"50 per unit: length 1.0", 2048, 0, 50},      {"length 0.5", 1024, -1, 25},
        {"length 0.03 gives 1, at least 3", 64, 0, 3}, {"as asked", 2048, 7, 7},
        {"as asked, at least 3", 2048, 1, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FourierDescriptor descriptor;
        descriptor.load(polygonOf(test::square(0, 0, c.half)), false, false);
        Polygon polygon;
        polygon.load(descriptor, true, -1, c.wanted);
        EXPECT_EQ(polygon.pointCount(), c.points);
    }
    Polygon polygon;
    polygon.load(FourierDescriptor{}, true, -1, 0);
    EXPECT_EQ(polygon.pointCount(), 3);
}

TEST(ContourProperties, RoundAsThePolygonDoes)
{
    const std::vector<Point> points{at(0, 0), at(-400, 0), at(-400, -300), at(0, -300), at(0, 0)};
    const Polygon polygon = polygonOf(points);
    const ContourProperties properties(points);
    // Moments -20 - 30 - 20 and 0 - 11 - 30 - 11; -409.6 and -304.2 truncate, halves round down.
    EXPECT_EQ(polygon.position(), at(-205, -152));
    EXPECT_EQ(properties.centre(), at(-205, -152));
    EXPECT_EQ(properties.length(), polygon.length());
    for (const std::vector<Point>& flat :
         {std::vector<Point>{}, {at(5, 5)}, {at(5, 5), at(5, 5)}}) {
        EXPECT_EQ(ContourProperties(flat).length().raw(), 0);
        EXPECT_EQ(ContourProperties(flat).centre(), at(0, 0));
    }
}

} // namespace
} // namespace tarvik::analysis
