#include "breakup/PolygonDivider.h"

#include "Outlines.h"
#include "analysis/Frame.h"
#include "database/Matchings.h"
#include "image/Image.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>
#include <string>

using namespace tarvik;
using namespace tarvik::breakup;
using namespace tarvik::test;
using testing::ElementsAre;

namespace {

constexpr std::int16_t NONE = -1;

/// Just under 3 grid steps; the necks are 2 wide.
BreakupConfiguration enabled()
{
    BreakupConfiguration config;
    config.setBreakupEnabled(true);
    config.setMaxCutLength(fp<32, 30>(3 * STEP << 16));
    return config;
}

Outline shifted(Outline outline, int dx, int dy)
{
    for (GridPoint& p : outline) {
        p.x += dx;
        p.y += dy;
    }
    return outline;
}

Outline pick(const Outline& outline, std::initializer_list<std::size_t> indices)
{
    Outline picked;
    for (const std::size_t i : indices) {
        picked.push_back(outline[i]);
    }
    return picked;
}

/// A divider with a frame in front of it and somebody listening behind it.
class PolygonDividerTest : public testing::Test,
                           public util::Listener<ReAnalyzeEvent>,
                           public util::Listener<FrameProcessedEvent>
{
protected:
    PolygonDividerTest()
    {
        divider.addListener(static_cast<util::Listener<ReAnalyzeEvent>*>(this));
        divider.addListener(static_cast<util::Listener<FrameProcessedEvent>*>(this));
        divider.setConfig(enabled());
    }

    /// The points lie in the frame's pool, as the analyzer leaves them.
    void addObject(const Outline& outline, std::int16_t templateID)
    {
        const int index = frame.objectCount();
        frame.setObjectCount(index + 1);
        frame.object(index).reset();
        frame.object(index).polygon().setPoints(pooled(outline), false);
        matchings.setCount(static_cast<std::int16_t>(index + 1));
        matchings.matchings().back().templateID = templateID;
    }

    void addHole(int object, const Outline& outline)
    {
        analysis::Object& owner = frame.object(object);
        analysis::Polygon& hole = owner.addInnerContour()->polygon;
        hole.setPoints(pooled(outline), false);
        hole.move(-owner.polygon().position());
    }

    std::span<Point> pooled(const Outline& outline)
    {
        const auto points = closed(outline);
        const auto slice = frame.freePoints().first(points.size());
        std::ranges::copy(points, slice.begin());
        frame.usePoints(static_cast<int>(points.size()));
        return slice;
    }

    void divide()
    {
        database::BreakupEvent event{.originalImage = &original,
                                     .binaryImage = &binary,
                                     .frame = &frame,
                                     .matchings = &matchings,
                                     .sourceId = 9};
        divider.onEvent(event);
    }

    void onEvent(ReAnalyzeEvent& event) override { note("again ", event); }

    void onEvent(FrameProcessedEvent& event) override
    {
        note("processed ", event);
        EXPECT_EQ(event.matchings, &matchings);
    }

    void note(const char* what, const auto& event)
    {
        events += what;
        EXPECT_EQ(event.source, &divider);
        EXPECT_EQ(event.originalImage, &original);
        EXPECT_EQ(event.binaryImage, &binary);
        EXPECT_EQ(event.frame, &frame);
        EXPECT_EQ(event.sourceId, 9);
    }

    [[nodiscard]] Outline outlineOf(int object) const
    {
        const analysis::Polygon& p = frame.object(object).polygon();
        return onGrid(p.position(), p.points());
    }

    [[nodiscard]] Outline outlineOfHole(int object, std::size_t hole) const
    {
        const analysis::Object& o = frame.object(object);
        const analysis::Polygon& p = o.innerContours()[hole].polygon;
        return onGrid(o.polygon().position() + p.position(), p.points());
    }

    PolygonDivider divider;
    analysis::Frame frame;
    database::Matchings matchings;
    image::Image original;
    image::Image binary;
    std::string events;
};

TEST_F(PolygonDividerTest, PassesFramesOnAsConfigured)
{
    struct Case
    {
        const char* what;
        bool enabled;
        bool reAnalyzed;
        const char* events;
    };

    const Case cases[] = {
        {"disabled: done", false, false, "processed "},
        {"first pass: once more, whether or not anything was cut", true, false, "again "},
        {"second pass: done", true, true, "processed "},
        {"disabled between the passes: done", false, true, "processed "},
    };
    addObject(SQUARE, NONE);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        events.clear();
        BreakupConfiguration config = enabled();
        config.setBreakupEnabled(c.enabled);
        divider.setConfig(config);
        frame.setReAnalyzed(c.reAnalyzed);
        divide();
        EXPECT_EQ(events, c.events);
        EXPECT_FALSE(frame.brokenUp());
        EXPECT_FALSE(frame.object(0).cropped());
    }
}

TEST_F(PolygonDividerTest, CutsInTwo)
{
    addObject(shifted(SQUARE, 50, 0), 3);
    addObject(TWO_BLOBS, NONE);
    addObject(shifted(SQUARE, 70, 0), 4);
    frame.object(1).setId(12);
    frame.object(1).setClipped(true);
    divide();

    EXPECT_TRUE(frame.brokenUp());
    ASSERT_EQ(frame.objectCount(), 4);
    EXPECT_EQ(outlineOf(1), pick(TWO_BLOBS, {0, 1, 2, 7, 8, 9})) << "in the old one's place";
    EXPECT_EQ(outlineOf(3), pick(TWO_BLOBS, {2, 3, 4, 5, 6, 7})) << "at the end";
    for (const int part : {1, 3}) {
        EXPECT_TRUE(frame.object(part).cropped());
        EXPECT_FALSE(frame.object(part).clipped());
        EXPECT_EQ(frame.object(part).id(), -1);
    }
    EXPECT_FALSE(frame.object(0).cropped());
    EXPECT_EQ(outlineOf(0), shifted(SQUARE, 50, 0));
    EXPECT_EQ(outlineOf(2), shifted(SQUARE, 70, 0));
    EXPECT_EQ(events, "again ");
}

TEST_F(PolygonDividerTest, CutsInThreeAtNestedCuts)
{
    addObject(THREE_BLOBS, NONE);
    divide();
    ASSERT_EQ(frame.objectCount(), 3);
    EXPECT_EQ(outlineOf(0), pick(THREE_BLOBS, {0, 1, 2, 13, 14, 15}));
    EXPECT_EQ(outlineOf(1), pick(THREE_BLOBS, {2, 3, 4, 5, 10, 11, 12, 13}));
    EXPECT_EQ(outlineOf(2), pick(THREE_BLOBS, {5, 6, 7, 8, 9, 10}));
}

TEST_F(PolygonDividerTest, RebuildsUnrecognizedObjectsWithoutACutWhole)
{
    addObject(SQUARE, NONE);
    addObject(shifted(SQUARE, 100, 0), 1);
    addObject(shifted(TWO_BLOBS, 50, 20), NONE);
    divide();
    ASSERT_EQ(frame.objectCount(), 4);
    EXPECT_EQ(outlineOf(0), SQUARE);
    EXPECT_TRUE(frame.object(0).cropped());
    EXPECT_FALSE(frame.object(1).cropped());
}

TEST_F(PolygonDividerTest, NeverCutsARecognizedObject)
{
    addObject(TWO_BLOBS, 0);
    divide();
    EXPECT_EQ(frame.objectCount(), 1);
    EXPECT_EQ(frame.possibleCuts().count(), 0);
    EXPECT_FALSE(frame.brokenUp());
    EXPECT_EQ(events, "again ");
}

TEST_F(PolygonDividerTest, GivesEachHoleToThePartAroundIt)
{
    const Outline hole = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};
    addObject(TWO_BLOBS, NONE);
    addHole(0, shifted(hole, 16, 4));
    addHole(0, shifted(hole, 60, 60));
    addHole(0, shifted(hole, 4, 4));
    addHole(0, shifted(hole, 18, 7));
    divide();
    ASSERT_EQ(frame.object(0).innerContourCount(), 1);
    EXPECT_EQ(outlineOfHole(0, 0), shifted(hole, 4, 4));
    ASSERT_EQ(frame.object(1).innerContourCount(), 2);
    EXPECT_EQ(outlineOfHole(1, 0), shifted(hole, 16, 4));
    EXPECT_EQ(outlineOfHole(1, 1), shifted(hole, 18, 7));
}

TEST_F(PolygonDividerTest, StopsAtTwentyFiveObjects)
{
    addObject(THREE_BLOBS, NONE);
    for (int i = 1; i < 24; ++i) {
        addObject(shifted(SQUARE, 0, 20), 1);
    }
    divide();
    ASSERT_EQ(frame.objectCount(), 25);
    EXPECT_EQ(outlineOf(0), pick(THREE_BLOBS, {0, 1, 2, 13, 14, 15}));
    EXPECT_EQ(outlineOf(24), pick(THREE_BLOBS, {2, 3, 4, 5, 10, 11, 12, 13}));
}

TEST_F(PolygonDividerTest, DividesTheLongestOutlinesWithinTheFramesPools)
{
    // 25 blobs in a row fill the list of cuts; the parts must not outgrow the pool.
    Outline top;
    Outline bottom;
    for (int i = 0; i < 26; ++i) {
        top.insert(top.end(), {{5 * i, 0}, {5 * i + 2, 0}, {5 * i + 3, 4}});
        bottom.insert(bottom.end(), {{5 * i, 10}, {5 * i + 2, 10}, {5 * i + 3, 6}});
    }
    top.insert(top.end(), bottom.rbegin(), bottom.rend());
    addObject(top, NONE);
    divide();
    EXPECT_EQ(frame.possibleCuts().count(), 25);
    EXPECT_EQ(frame.objectCount(), 25);
    for (int i = 0; i < 25; ++i) {
        EXPECT_GE(frame.object(i).polygon().pointCount(), 7) << i;
    }
}

TEST_F(PolygonDividerTest, ConfigurationSurvivesXMLAndIsKeptWhenOneFails)
{
    io::serialization::XMLEncoder encoder;
    const PolygonDivider other;
    encoder& io::serialization::field("PolygonDivider", other);
    const std::string text = encoder.printToBuffer();
    EXPECT_THAT(text, testing::HasSubstr("<Enabled>0</Enabled>"));
    EXPECT_THAT(text, testing::HasSubstr("<MaxCutLength>0.050000</MaxCutLength>"));

    const auto decode = [this](const std::string& content) {
        io::serialization::XMLDecoder decoder;
        decoder.loadFromString(content);
        decoder& io::serialization::field("PolygonDivider", divider);
    };
    const std::string truncated =
        text.substr(0, text.find("<MaxCutLength>")) + "</Configuration></PolygonDivider></Data>";
    EXPECT_NE(thrown<Exception>([&] { decode(truncated); }), "(nothing thrown)");
    EXPECT_TRUE(divider.config() == enabled());
    decode(text);
    EXPECT_FALSE(divider.config().breakupEnabled());
    // Texts are read in single precision, which steps by 4 there.
    EXPECT_EQ(divider.config().maxCutLength().raw(), 53687092);
}

} // namespace
