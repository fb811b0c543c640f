#include "analysis/Analyzer.h"

#include "core/logging/LogManager.h"
#include "support/Pictures.h"
#include "support/Points.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace tarvik::analysis {
namespace {

/// An analyzer, and copies of every frame that it publishes. Pictures of 64 x 48 pixels: 512 raw
/// units each.
class AnalyzerTest : public testing::Test, protected util::Listener<FrameEvent>
{
protected:
    AnalyzerTest()
    {
        logging::LogManager::globalInstance().setConfig({.logToConsole = false});
        analyzer.addListener(this);
    }

    ~AnalyzerTest() override { analyzer.removeListener(this); }

    void onEvent(FrameEvent& event) override
    {
        frames.push_back(std::make_unique<Frame>(*event.frame));
        last = event;
        if (breakUp) {
            event.frame->setBrokenUp(true);
        }
    }

    const Frame& analyze(image::Image picture)
    {
        camera::ImageEvent event{nullptr, &original, &picture, 3};
        analyzer.onEvent(event);
        EXPECT_EQ(last.binaryImage, &picture);
        return *frames.back();
    }

    void configure(auto change)
    {
        AnalyzerConfiguration config = analyzer.config();
        change(config);
        analyzer.setConfig(config);
    }

    static image::Image empty() { return image::Image(64, 48); }

    static image::Image withSquares(std::initializer_list<std::pair<int, int>> places, int size = 5)
    {
        image::Image picture = empty();
        for (const auto& [x, y] : places) {
            test::fill(picture, x, y, size, size);
        }
        return picture;
    }

    /// A square of 14 x 14 pixels at (20, 10) with a hole of 8 x 8 in its middle.
    static image::Image withRing()
    {
        image::Image picture = empty();
        test::fill(picture, 20, 10, 14, 14);
        test::fill(picture, 23, 13, 8, 8, 0);
        return picture;
    }

    static std::vector<int> ids(const Frame& frame)
    {
        std::vector<int> result;
        for (const Object& object : frame.objects()) {
            result.push_back(object.id());
        }
        return result;
    }

    Analyzer analyzer;
    image::Image original;
    std::vector<std::unique_ptr<Frame>> frames;
    FrameEvent last;
    bool breakUp = false; ///< what the breakup stage would do with every frame
};

TEST_F(AnalyzerTest, PublishesTheFrameWithTheImageItCameFrom)
{
    const Frame& frame = analyze(withSquares({{10, 10}}));
    EXPECT_EQ(last.source, &analyzer);
    EXPECT_EQ(last.originalImage, &original);
    EXPECT_EQ(last.sourceId, 3);
    ASSERT_EQ(frame.objectCount(), 1);
    const Object& object = frame.object(0);
    // 4 pixels from corner to corner; every moment but the last rounds down.
    EXPECT_EQ(object.polygon().length().raw(), 4 * 4 * 1024);
    EXPECT_NEAR(object.polygon().position().re.raw(), (12 - 32) * 512, 2);
    EXPECT_NEAR(object.polygon().position().im.raw(), (12 - 24) * 512, 2);
    EXPECT_EQ(object.fourierDescriptor().polygonLength(), object.polygon().length());
    EXPECT_GT(object.fourierDescriptor().frequencies()[FourierDescriptor::CENTRE + 1].re.raw(), 0);
    EXPECT_FALSE(object.cropped());
    EXPECT_GE(frame.elapsedTime1stRun(), 0);
    EXPECT_FALSE(frame.reAnalyzed());
}

TEST_F(AnalyzerTest, Takes25Of30Blobs)
{
    image::Image picture = empty();
    for (int i = 0; i < 30; ++i) {
        test::fill(picture, 4 + i % 6 * 9, 4 + i / 6 * 8, 4, 4);
    }
    const Frame& frame = analyze(picture);
    ASSERT_EQ(frame.objectCount(), 25);
    EXPECT_EQ(frame.poolUsed(), 25 * 5);
    EXPECT_NEAR(frame.object(24).polygon().position().im.raw(), (4 + 4 * 8 + 1.5 - 24) * 512, 2);
}

TEST_F(AnalyzerTest, KeepsNestedObjectsOnlyWhenAllowed)
{
    image::Image picture = withRing();
    test::fill(picture, 25, 15, 4, 4);
    EXPECT_EQ(analyze(picture).objectCount(), 1);
    EXPECT_EQ(frames.back()->object(0).innerContourCount(), 1);
    configure([](AnalyzerConfiguration& config) { config.allowNestedObjects = true; });
    EXPECT_EQ(analyze(picture).objectCount(), 2);
}

TEST_F(AnalyzerTest, DropsAHoleThatBelongsNowhereButUsesItsPoints)
{
    // The outline is 52 pixels long, the hole's about 38.
    configure([](AnalyzerConfiguration& config) { config.maxPolygonSize = fp<32, 15>(45 * 1024); });
    const Frame& frame = analyze(withRing());
    EXPECT_EQ(frame.objectCount(), 0);
    EXPECT_GE(frame.poolUsed(), 5);
}

TEST_F(AnalyzerTest, LooksAtHolesOnlyForComparatorsThatDo)
{
    database::ComparatorNotificationEvent event{nullptr, false};
    analyzer.onEvent(event);
    EXPECT_EQ(analyze(withRing()).object(0).innerContourCount(), 0);
    EXPECT_EQ(frames.back()->poolUsed(), frames.back()->object(0).polygon().pointCount());
    event.advanced = true;
    analyzer.onEvent(event);
    EXPECT_EQ(analyze(withRing()).object(0).innerContourCount(), 1);
}

TEST_F(AnalyzerTest, DropsOutlinesOfUnwantedLength)
{
    // 4 pixels from corner to corner: 16384 raw.
    struct Case
    {
        std::int32_t min;
        std::int32_t max;
        int objects;
    };

    for (const Case& c : {Case{16384, 16384, 1}, {16385, 60000, 0}, {1, 16383, 0}}) {
        configure([&](AnalyzerConfiguration& config) {
            config.minPolygonSize = fp<32, 15>(c.min);
            config.maxPolygonSize = fp<32, 15>(c.max);
        });
        EXPECT_EQ(analyze(withSquares({{10, 10}})).objectCount(), c.objects);
        EXPECT_EQ(frames.back()->poolUsed(), 5 * c.objects);
    }
}

TEST_F(AnalyzerTest, SkipsOutlinesWhenThePoolIsAlmostFull)
{
    struct Case
    {
        const char* what;
        int cut; ///< off the plate's corner, aslant: 1 point more
        int holes;
        int objects;
        int points;
    };

    // The plate has 5 points, a hole 5 as well, and the square that comes last 5 or what is left.
    constexpr Case cases[] = {
        {"1016 of 1024 in use", 9, 202, 2, 1021},
        {"1020 in use: not yet almost full", 0, 203, 2, 1024},
        {"1021 in use: left out, though its first points would fit", 9, 203, 1, 1021},
    };
    configure([](AnalyzerConfiguration& config) {
        config.minPolygonSize = fp<32, 15>(1);
        config.maxPolygonSize = fp<32, 15>(INT32_MAX);
        config.maxPolygonError = fp<16, 15>(0);
    });
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        image::Image picture(640, 480);
        test::fill(picture, 10, 10, 600, 300);
        for (int i = 0; i < c.cut; ++i) {
            test::fill(picture, 10, 10 + i, c.cut - i, 1, 0);
        }
        for (int i = 0; i < c.holes; ++i) {
            test::fill(picture, 25 + i % 30 * 15, 25 + i / 30 * 15, 3, 3, 0);
        }
        test::fill(picture, 10, 400, 20, 20);
        const Frame& frame = analyze(picture);
        EXPECT_EQ(frame.objectCount(), c.objects);
        EXPECT_EQ(frame.poolUsed(), c.points);
    }
}

TEST_F(AnalyzerTest, FlagsObjectsThatReachIntoABand)
{
    struct Case
    {
        const char* what;
        int x;
        int y;
        std::int16_t size;      ///< of the bands; a pixel is 512 raw
        std::string_view sides; ///< top, right, bottom, left
    };

    // The picture's upper and left edges are 24 and 32 pixels from the centre, the last row and
    // column 23 and 31.
    constexpr Case cases[] = {
        {"in the middle", 30, 20, 1100, ""},
        {"upper edge 3 pixels within, where the band ends", 30, 3, 1536, ""},
        {"a band beyond it", 30, 3, 1537, "t"},
        {"left edge in column 2", 2, 20, 1100, "l"},
        {"left edge in column 3", 3, 20, 1100, ""},
        {"right edge in column 62", 58, 20, 1100, "r"},
        {"right edge in column 61", 57, 20, 1100, ""},
        {"lower edge in row 46", 30, 42, 1100, "b"},
        {"lower edge in row 45", 30, 41, 1100, ""},
        {"in a corner", 2, 42, 1100, "bl"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto clippedBy = [&](std::string_view active) {
            const auto band = [&](char side) {
                return ClippingArea{fp<16, 14>(c.size), active.find(side) != active.npos};
            };
            configure([&](AnalyzerConfiguration& config) {
                config.clippingFrame = {band('t'), band('r'), band('b'), band('l')};
            });
            return analyze(withSquares({{c.x, c.y}})).object(0).clipped();
        };
        for (const char* side : {"t", "r", "b", "l"}) {
            EXPECT_EQ(clippedBy(side), c.sides.find(side) != c.sides.npos) << side;
        }
        EXPECT_EQ(clippedBy("trbl"), !c.sides.empty());
        EXPECT_FALSE(clippedBy(""));
    }
}

TEST_F(AnalyzerTest, CorrectsEveryOutlineAndHole)
{
    const int plain = analyze(withRing()).object(0).polygon().length().raw();
    const int plainHole = frames.back()->object(0).innerContours()[0].polygon.length().raw();
    configure([](AnalyzerConfiguration& config) {
        const fp<32, 30> eighth(134217728);
        config.lensCorrectionParams.k1 = {eighth, eighth, eighth, eighth};
    });
    EXPECT_GT(analyze(withRing()).object(0).polygon().length().raw(), plain);
    EXPECT_GT(frames.back()->object(0).innerContours()[0].polygon.length().raw(), plainHole);
    configure([](AnalyzerConfiguration& config) { config.performLensCorrection = false; });
    EXPECT_EQ(analyze(withRing()).object(0).polygon().length().raw(), plain);
}

TEST_F(AnalyzerTest, LooksAtItsRegionOnly)
{
    configure([](AnalyzerConfiguration& config) { config.roi = ROI(25, 5, 30, 30); });
    const Frame& frame = analyze(withSquares({{10, 10}, {30, 10}, {30, 40}}));
    ASSERT_EQ(frame.objectCount(), 1);
    EXPECT_NEAR(frame.object(0).polygon().position().re.raw(), 0, 2);
}

TEST_F(AnalyzerTest, KeepsIdentitiesFromImageToImage)
{
    Object::currentID = 50;
    EXPECT_EQ(ids(analyze(withSquares({{10, 10}, {40, 10}}))), (std::vector{50, 51}));
    // One moved by 3 pixels, 1536 raw, the other by 4: as far as a new object.
    EXPECT_EQ(ids(analyze(withSquares({{13, 10}, {44, 10}}))), (std::vector{50, 52}));
    EXPECT_EQ(frames.back()->lastObjectCount(), 2);
    EXPECT_EQ(ids(analyze(empty())), std::vector<int>{});
    EXPECT_EQ(ids(analyze(withSquares({{13, 10}}))), (std::vector{53}));
}

TEST_F(AnalyzerTest, GivesNoIdentitiesInTheFirstPassAfterABrokenUpImage)
{
    Object::currentID = 0;
    breakUp = true;
    EXPECT_EQ(ids(analyze(withSquares({{10, 10}}))), (std::vector{0}));
    breakUp = false;
    EXPECT_EQ(ids(analyze(withSquares({{10, 10}}))), (std::vector{-1}));
    EXPECT_FALSE(frames.back()->brokenUp());
    EXPECT_EQ(ids(analyze(withSquares({{10, 10}}))), (std::vector{1}));
}

/// A frame as the breakup stage hands it back.
class SecondPass : public AnalyzerTest
{
protected:
    void addObject(bool cropped, int half)
    {
        Object object;
        object.polygon() = test::polygonOf(test::square(0, 0, half));
        object.setCropped(cropped);
        frame->setObject(frame->objectCount(), object);
    }

    const Frame& reAnalyze()
    {
        breakup::ReAnalyzeEvent event{nullptr, &original, &picture, frame.get(), 9};
        analyzer.onEvent(event);
        EXPECT_EQ(last.frame, frame.get());
        EXPECT_EQ(last.source, &analyzer);
        EXPECT_EQ(last.sourceId, 9);
        return *frame;
    }

    /// Half the side of every object that is left, in 0.01 units.
    std::vector<int> sizes() const
    {
        std::vector<int> result;
        for (const Object& object : frame->objects()) {
            result.push_back(object.polygon().length().raw() / 16);
        }
        return result;
    }

    std::unique_ptr<Frame> frame = std::make_unique<Frame>();
    image::Image picture = empty();
};

TEST_F(SecondPass, DescribesPartsAndRemovesShortOnes)
{
    // Half a side of h is a length of 16 h raw; the limit is 1550.
    for (const auto& [cropped, half] : {std::pair(true, 10),
                                        {false, 200},
                                        {true, 96},
                                        {true, 300},
                                        {false, 20},
                                        {true, 97},
                                        {true, 15}}) {
        addObject(cropped, half);
    }
    frame->setBrokenUp(true);
    Object::currentID = 70;
    reAnalyze();
    // The last ones move into the gaps: 15 into the first, found short, then 97; 20, which was not
    // cut out, into the third.
    EXPECT_EQ(sizes(), (std::vector{97, 200, 20, 300}));
    EXPECT_EQ(ids(*frame), (std::vector{70, 71, 72, 73}));
    EXPECT_TRUE(frame->reAnalyzed());
    EXPECT_EQ(frame->object(0).fourierDescriptor().polygonLength().raw(), 16 * 97);
    EXPECT_EQ(frame->object(1).fourierDescriptor().polygonLength().raw(), 0); // not a part
    EXPECT_EQ(frame->object(3).fourierDescriptor().polygonLength().raw(), 16 * 300);
}

TEST_F(SecondPass, ClipsPartsOnly)
{
    addObject(true, 16000);
    addObject(false, 16000);
    frame->setBrokenUp(true);
    reAnalyze();
    EXPECT_TRUE(frame->object(0).clipped());
    EXPECT_FALSE(frame->object(1).clipped());
}

TEST_F(SecondPass, RemovesEveryPartWhenAllAreShort)
{
    addObject(true, 10);
    addObject(true, 10);
    frame->setBrokenUp(true);
    EXPECT_EQ(reAnalyze().objectCount(), 0);
}

TEST_F(SecondPass, OnlyPublishesWhatNeedsNoSecondLook)
{
    for (const bool lookedAt : {true, false}) {
        SCOPED_TRACE(lookedAt ? "already looked at" : "not broken up");
        frame = std::make_unique<Frame>();
        addObject(true, 10);
        frame->setReAnalyzed(lookedAt);
        frame->setBrokenUp(lookedAt);
        const std::size_t published = frames.size();
        reAnalyze();
        EXPECT_EQ(frames.size(), published + 1);
        EXPECT_EQ(ids(*frame), (std::vector{-1}));
        EXPECT_TRUE(frame->reAnalyzed());
        EXPECT_EQ(frame->elapsedTime2ndRun(), 0);
    }
}

TEST_F(AnalyzerTest, SurvivesAColourPicture)
{
    const int objects = analyze(withSquares({{10, 10}})).objectCount();
    image::Image colour(64, 48, 3, image::Format::Planar, image::ColorSpace::RGB);
    camera::ImageEvent event{nullptr, &original, &colour, -1};
    EXPECT_EQ(test::thrown<Exception>([&] { analyzer.onEvent(event); }),
              "Cannot compress color images.");
    EXPECT_EQ(analyze(withSquares({{10, 10}})).objectCount(), objects);
}

TEST(ROI, TurnsNegativeSizesRoundAndCutsWhatLiesOutside)
{
    struct Case
    {
        const char* what;
        std::array<int, 4> given;
        std::array<int, 4> expected;
    };

    constexpr Case cases[] = {
        {"as it is", {3, 4, 5, 6}, {3, 4, 5, 6}},
        {"negative width", {10, 4, -5, 6}, {5, 4, 5, 6}},
        {"negative height", {3, 10, 5, -6}, {3, 4, 5, 6}},
        {"left of the image", {-2, 4, 5, 6}, {0, 4, 3, 6}},
        {"above the image", {3, -4, 5, 6}, {3, 0, 5, 2}},
        {"turned round and outside", {2, 3, -5, -7}, {0, 0, 2, 3}},
        {"wholly outside is empty", {-20, 3, 5, 5}, {0, 3, 0, 5}},
        {"the most negative", {32767, 0, -32768, 1}, {0, 0, 32767, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto [x, y, w, h] = c.given;
        const ROI roi(x, y, w, h);
        EXPECT_EQ((std::array<int, 4>{roi.x, roi.y, roi.width, roi.height}), c.expected);
    }
}

} // namespace
} // namespace tarvik::analysis
