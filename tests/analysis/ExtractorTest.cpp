#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"
#include "analysis/extraction/chaincode/processors/PolygonBuilderRecursive.h"
#include "support/Pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <vector>

namespace tarvik::analysis::extraction::chaincode {
namespace {

using Point = Complex<16, 14>;
constexpr fp<16, 15> EVERY_CORNER{0}; ///< only collinear points are dropped

/// One contour, its points as "column,row column,row ...".
struct Contour
{
    bool inner;
    std::string points;

    friend bool operator==(const Contour&, const Contour&) = default;

    friend void PrintTo(const Contour& contour, std::ostream* out)
    {
        *out << (contour.inner ? "inner " : "outer ") << contour.points;
    }
};

/// Back to pixels, which is exact where half the width divides 16384.
std::string pixels(std::span<const Point> points, const image::Image& picture)
{
    const int half = picture.width() / 2;
    std::string result;
    for (const Point& p : points) {
        const int column = p.re.raw() / (16384 / half) + half;
        const int row = p.im.raw() / (16384 / half) + picture.height() / 2;
        result += result.empty() ? "" : " ";
        result += std::to_string(column) + "," + std::to_string(row);
    }
    return result;
}

std::vector<Contour> contoursOf(image::Image picture)
{
    SoftwarePolygonExtractor extractor;
    extractor.begin(picture, {}, EVERY_CORNER);
    std::vector<Contour> result;
    std::array<Point, 64> points{};
    while (extractor.hasNext()) {
        const bool inner = extractor.innerContour();
        int count = 0;
        EXPECT_TRUE(extractor.nextPolygon(points, count));
        result.push_back(
            {inner, pixels(std::span(points).first(static_cast<std::size_t>(count)), picture)});
    }
    return result;
}

struct Picture
{
    const char* what;
    image::Image picture;
    std::vector<Contour> contours;
};

TEST(Extractor, TracesDrawnFigures)
{
    const Picture pictures[] = {
        {"an isolated pixel is one point",
         test::drawn({"................", "...#............", "................"}),
         {{false, "3,1"}}},
        {"right, down, left, up",
         test::drawn(
             {"................", "...##...........", "...##...........", "................"}),
         {{false, "3,1 4,1 4,2 3,2 3,1"}}},
        {"a line comes back on itself: its end lies on the chord of nothing",
         test::drawn({"................", "...#####........", "................"}),
         {{false, "3,1 3,1"}}},
        {"a diagonal likewise",
         test::drawn({"................", "...#............", "....#...........",
                      ".....#..........", "................"}),
         {{false, "3,1 3,1"}}},
        {"an object at the picture's edge is cut open one pixel inside",
         test::drawn({"################", "################", "################",
                      "################", "################"}),
         {{false, "1,1 14,1 14,3 1,3 1,1"}}},
        {"objects that touch at a corner are one, its corner runs merged",
         test::drawn({"................", "....##..........", "....##..........",
                      "......##........", "......##........", "................"}),
         {{false, "4,1 5,1 6,3 7,3 7,4 6,4 5,2 4,2 4,1"}}},
        {"scan order is by rows, then by columns",
         test::drawn(
             {"................", "..........#.....", "..#....#........", "................"}),
         {{false, "10,1"}, {false, "2,2"}, {false, "7,2"}}},
    };
    for (const Picture& p : pictures) {
        SCOPED_TRACE(p.what);
        EXPECT_EQ(contoursOf(p.picture), p.contours);
    }
}

TEST(Extractor, FindsAHoleFromThePixelAboveIt)
{
    // The hole's contour: 3 2 2 1 0 0 7 6 6 5 4 4 from (3, 2); each diagonal merges with the run
    // behind it.
    const std::vector<Contour> expected{
        {false, "1,1 7,1 7,7 1,7 1,1"}, {true, "3,2 2,5 5,6 6,3 3,2"}, {false, "4,4"}};
    EXPECT_EQ(contoursOf(test::drawn({
                  "................",
                  ".#######........",
                  ".#######........",
                  ".##...##........",
                  ".##.#.##........",
                  ".##...##........",
                  ".#######........",
                  ".#######........",
                  "................",
              })),
              expected);
}

TEST(Extractor, TakesNothingWithoutRoomOrOutsideAScan)
{
    image::Image picture = test::drawn({"........", "...#....", "........"});
    SoftwarePolygonExtractor extractor;
    std::array<Point, 2> points{};
    int count = 7;
    EXPECT_FALSE(extractor.hasNext());
    EXPECT_FALSE(extractor.skipPolygon());
    extractor.begin(picture, {}, EVERY_CORNER);
    EXPECT_FALSE(extractor.nextPolygon(std::span<Point>{}, count));
    EXPECT_EQ(count, 7);
    EXPECT_TRUE(extractor.hasNext());
    extractor.end();
    EXPECT_FALSE(extractor.nextPolygon(points, count));
    EXPECT_FALSE(extractor.nextPolygon(nullptr, nullptr));
    EXPECT_FALSE(extractor.skipPolygon());
    EXPECT_EQ(count, 7);
}

TEST(Extractor, ClearsAPictureThatIsNothingButEdge)
{
    for (const auto& [width, height] :
         {std::pair(1, 50), {50, 1}, {1, 1}, {2, 50}, {50, 2}, {0, 0}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        image::Image picture(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
        test::fill(picture, 0, 0, width, height);
        SoftwarePolygonExtractor extractor;
        extractor.begin(picture, {}, EVERY_CORNER);
        EXPECT_FALSE(extractor.hasNext());
        EXPECT_TRUE(std::ranges::all_of(picture.bytes(), [](std::uint8_t p) { return p == 0; }));
    }
}

TEST(PolygonBuilder, KeepsAVertexBeyondHalfTheErrorOnly)
{
    struct Case
    {
        const char* what;
        int width; ///< half of it, in pixels to 1.0
        std::int16_t error;
        int points;
    };

    // Up and down by one pixel: the vertex is 16384 / (width / 2) raw units off the chord.
    constexpr Case cases[] = {
        {"64 squared is half of 8192: not beyond", 512, 8192, 2},
        {"half of 8193, truncated", 512, 8193, 2},
        {"half of 8191, truncated", 512, 8191, 3},
        {"90 squared, default", 2 * 182, 16384, 2},
        {"91 squared, default", 2 * 180, 16384, 3},
        {"negative: every vertex", 512, -2, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PixelGrid grid(c.width, c.width);
        std::array<Point, 8> points{};
        processors::PolygonBuilderRecursive builder(grid, Point::ZERO, points, fp<16, 15>(c.error));
        builder.add(1, 1);
        builder.add(7, 1);
        EXPECT_EQ(builder.finish(), c.points);
    }
}

} // namespace
} // namespace tarvik::analysis::extraction::chaincode
