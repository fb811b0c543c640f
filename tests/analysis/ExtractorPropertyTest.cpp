#include "ReferenceExtractor.h"
#include "analysis/ContourProperties.h"
#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"
#include "ocamera/simulated/Scene.h"
#include "support/Pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <span>
#include <vector>

namespace tarvik::analysis::extraction::chaincode {
namespace {

using Point = Complex<16, 14>;
using test::ReferenceExtractor;

/// Both extractors at one picture, step by step.
class Comparison
{
public:
    Comparison(std::mt19937& random, image::Image picture) : _random(random), _picture(picture) {}

    void run(const ROI& roi, int maxError)
    {
        image::Image forReference = _picture;
        _reference.begin(forReference, roi, maxError);
        _extractor.begin(_picture, roi, fp<16, 15>(static_cast<std::int16_t>(maxError)));
        ASSERT_TRUE(std::ranges::equal(_picture.bytes(), forReference.bytes()));
        while (_reference.hasNext()) {
            ASSERT_TRUE(_extractor.hasNext());
            ASSERT_EQ(_extractor.innerContour(), _reference.inner());
            ASSERT_NO_FATAL_FAILURE(takeOne());
        }
        EXPECT_FALSE(_extractor.hasNext());
        _extractor.end();
    }

private:
    void takeOne()
    {
        switch (_random() % 5) {
        case 0:
            _reference.skip();
            ASSERT_TRUE(_extractor.skipPolygon());
            break;
        case 1:
            compareMeasures();
            break;
        case 2:
            comparePoints(1 + static_cast<int>(_random() % 8));
            break;
        default:
            comparePoints(1024);
        }
    }

    void compareMeasures()
    {
        const ReferenceExtractor::Measure expected = _reference.measure();
        Point centre;
        fp<32, 15> length;
        ASSERT_TRUE(_extractor.nextPolygon(&centre, &length));
        ASSERT_EQ(centre, expected.centre);
        ASSERT_EQ(length.raw(), expected.length);
    }

    void comparePoints(int capacity)
    {
        const std::vector<Point> expected = _reference.nextPolygon(capacity);
        int count = -1;
        const std::span room(_points.data(), static_cast<std::size_t>(capacity));
        ASSERT_TRUE(_extractor.nextPolygon(room, count));
        ASSERT_TRUE(std::ranges::equal(room.first(static_cast<std::size_t>(count)), expected));
    }

    std::mt19937& _random;
    image::Image _picture;
    ReferenceExtractor _reference;
    SoftwarePolygonExtractor _extractor;
    std::array<Point, 1024> _points{};
};

/// Whole pictures, regions inside and across the edge, turned round, empty and far outside.
ROI randomRegion(std::mt19937& random, int width, int height)
{
    ROI roi;
    if (random() % 3 != 0) {
        const auto within = [&](int from, int to) {
            const auto range = static_cast<unsigned>(to - from + 1);
            return static_cast<std::int16_t>(from + static_cast<int>(random() % range));
        };
        roi.x = within(-5, width + 3);
        roi.y = within(-5, height + 3);
        roi.width = within(-width / 4, width + 5);
        roi.height = within(-height / 4, height + 5);
    }
    return roi;
}

int randomError(std::mt19937& random)
{
    static constexpr std::array<int, 6> ERRORS{0, 1, 700, 16384, 32767, -300};
    return ERRORS[random() % ERRORS.size()];
}

TEST(ExtractorProperty, AgreesWithThePlainExtractorOnRandomPictures)
{
    std::mt19937 random(20);
    for (int i = 0; i < 1500; ++i) {
        SCOPED_TRACE(i);
        const int width = 2 + static_cast<int>(random() % 69);
        const int height = 2 + static_cast<int>(random() % 40);
        const double density = 0.02 + 0.96 * static_cast<double>(random() % 100) / 100;
        Comparison comparison(random, test::randomPicture(random, width, height, density));
        comparison.run(randomRegion(random, width, height), randomError(random));
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

TEST(ExtractorProperty, AgreesWithThePlainExtractorOnWidePictures)
{
    std::mt19937 random(21);
    for (const int width : {640, 752, 131, 160}) {
        for (const double density : {0.1, 0.5, 0.9, 1.0}) {
            SCOPED_TRACE(testing::Message() << width << " wide, density " << density);
            Comparison comparison(random, test::randomPicture(random, width, 60, density));
            comparison.run(randomRegion(random, width, 60), randomError(random));
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

/// The polygons of all contours for which there are points.
std::vector<std::vector<Point>> polygonsOf(image::Image picture, fp<16, 15> maxError,
                                           fp<32, 15> minLength)
{
    SoftwarePolygonExtractor extractor;
    extractor.setMinLength(minLength);
    extractor.begin(picture, {}, maxError);
    std::vector<std::vector<Point>> polygons;
    std::array<Point, 1024> points{};
    for (int count = 0; extractor.nextPolygon(points, count);) {
        if (count > 0) {
            polygons.emplace_back(points.begin(), points.begin() + count);
        }
    }
    return polygons;
}

/// Compares with and without the hint; the number of contours that came without points.
int contoursLeftOut(const image::Image& picture, fp<16, 15> maxError, fp<32, 15> minLength)
{
    int leftOut = 0;
    const auto hinted = polygonsOf(picture, maxError, minLength);
    auto next = hinted.begin();
    for (auto& polygon : polygonsOf(picture, maxError, fp<32, 15>::ZERO)) {
        if (next != hinted.end() && *next == polygon) {
            ++next;
            continue;
        }
        EXPECT_LT(ContourProperties(polygon).length(), minLength);
        ++leftOut;
    }
    EXPECT_EQ(next, hinted.end()) << "a polygon that is not there";
    return leftOut;
}

TEST(ExtractorProperty, LeavesOutOnlyPolygonsThatAreTooShort)
{
    std::mt19937 random(23);
    int leftOut = 0;
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        const int width = 2 + static_cast<int>(random() % 300);
        const int height = 2 + static_cast<int>(random() % 60);
        const fp<32, 15> minLength(static_cast<std::int32_t>(random() % 20000));
        const double density = static_cast<double>(1 + random() % 8) / 9;
        leftOut +=
            contoursLeftOut(test::randomPicture(random, width, height, density),
                            fp<16, 15>(static_cast<std::int16_t>(randomError(random))), minLength);
        ASSERT_FALSE(testing::Test::HasFailure());
    }
    EXPECT_GT(leftOut, 1000);
}

TEST(ExtractorProperty, AgreesWithThePlainExtractorOnScenes)
{
    std::mt19937 random(22);
    for (const int parts : {8, 25}) {
        OCamera::simulated::Scene scene({.seed = 3, .parts = parts});
        for (const int width : {640, 752}) {
            image::Image picture(static_cast<std::uint16_t>(width), 480);
            scene.grey(static_cast<std::uint32_t>(7 * width), width, 480, picture.bytes());
            for (std::uint8_t& pixel : picture.bytes()) {
                pixel = pixel >= 128 ? 255 : 0;
            }
            Comparison comparison(random, picture);
            comparison.run(ROI{}, 16384);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
}

} // namespace
} // namespace tarvik::analysis::extraction::chaincode
