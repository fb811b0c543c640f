#include "analysis/Frame.h"

#include "support/Points.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace tarvik::analysis {
namespace {

using Point = Complex<16, 14>;
using test::at;

Object squareObject(int x, int y, int half, int id = -1)
{
    Object object;
    object.polygon() = test::polygonOf(test::square(x, y, half));
    object.setId(id);
    return object;
}

TEST(Object, Holds100Holes)
{
    Object object;
    InnerContour hole;
    hole.polygon.moveTo(at(4, 5));
    object.setInnerContour(-1, hole);
    object.setInnerContour(100, hole);
    EXPECT_EQ(object.innerContourCount(), 0);
    object.setInnerContour(98, hole);
    EXPECT_EQ(object.innerContourCount(), 99);
    object.setInnerContour(3, hole);
    EXPECT_EQ(object.innerContourCount(), 99);
    EXPECT_EQ(object.innerContours()[98].polygon.position(), at(4, 5));
    EXPECT_NE(object.addInnerContour(), nullptr);
    EXPECT_EQ(object.innerContourCount(), 100);
    EXPECT_EQ(object.addInnerContour(), nullptr);
    EXPECT_EQ(object.innerContourCount(), 100);
}

TEST(Frame, Holds25Objects)
{
    const auto frame = std::make_unique<Frame>();
    frame->setObject(25, squareObject(0, 0, 10));
    frame->setObject(-1, squareObject(0, 0, 10));
    EXPECT_EQ(frame->objectCount(), 0);
    frame->setObject(0, squareObject(0, 0, 10, 4));
    frame->setObject(3, squareObject(0, 0, 10, 5));
    EXPECT_EQ(frame->objectCount(), 4);
    frame->setObject(1, squareObject(0, 0, 10));
    EXPECT_EQ(frame->objectCount(), 4);
    frame->setObject(24, squareObject(0, 0, 10));
    EXPECT_EQ(frame->objectCount(), 25);
}

TEST(Frame, FindsObjectsByIdentity)
{
    const auto frame = std::make_unique<Frame>();
    frame->setObject(0, squareObject(0, 0, 10, -1));
    frame->setObject(1, squareObject(0, 0, 10, 6));
    frame->setObject(2, squareObject(0, 0, 10, 6));
    EXPECT_EQ(std::as_const(*frame).findObject(6), &frame->object(1));
    EXPECT_EQ(std::as_const(*frame).findObject(-1), nullptr);
    EXPECT_EQ(std::as_const(*frame).findObject(5), nullptr);
    frame->setObjectCount(1);
    EXPECT_EQ(std::as_const(*frame).findObject(6), nullptr);
}

TEST(Frame, FindsTheLastObjectAtAPoint)
{
    const auto frame = std::make_unique<Frame>();
    frame->setObject(0, squareObject(0, 0, 1000));
    frame->setObject(1, squareObject(100, 100, 100));
    EXPECT_EQ(frame->findObject(at(100, 100)), &frame->object(1));
    EXPECT_EQ(frame->findObject(at(-500, 0)), &frame->object(0));
    EXPECT_EQ(frame->findObject(at(-2000, 0)), nullptr);
}

TEST(Frame, CopiesOwnTheirPoints)
{
    const auto frame = std::make_unique<Frame>();
    const auto pool = frame->freePoints();
    std::ranges::copy(test::square(500, 0, 300), pool.begin());
    frame->object(0).polygon().setPoints(pool.first(5), /*copy*/ false);
    frame->usePoints(5);
    frame->setObjectCount(1);
    frame->setBrokenUp(true);
    frame->setReAnalyzed(true);
    frame->setElapsedTime1stRun(11);
    frame->setElapsedTime2ndRun(12);
    frame->possibleCuts().add({});

    const auto copy = std::make_unique<Frame>(*frame);
    const Point corner = pool[0];
    pool[0] = at(1, 1);
    EXPECT_EQ(copy->object(0).polygon().points()[0], corner);
    EXPECT_TRUE(copy->object(0).polygon().ownsPoints());
    EXPECT_EQ(copy->objectCount(), 1);
    EXPECT_EQ(copy->poolUsed(), 5);
    EXPECT_TRUE(copy->brokenUp());
    EXPECT_TRUE(copy->reAnalyzed());
    EXPECT_EQ(copy->elapsedTime1stRun(), 11);
    EXPECT_EQ(copy->elapsedTime2ndRun(), 12);
    EXPECT_EQ(copy->possibleCuts().count(), 1);
}

/// Ids after a frame of these squares, given that the frame before had the others.
std::vector<int> idsAfter(const std::vector<Point>& before, const std::vector<Point>& now)
{
    const auto frame = std::make_unique<Frame>();
    Object::currentID = 10;
    for (const auto* places : {&before, &now}) {
        frame->beginImage();
        int i = 0;
        for (const Point place : *places) {
            frame->setObject(i++, squareObject(0, 0, 0));
            frame->object(i - 1).polygon().moveTo(place);
        }
        frame->matchObjectIDs();
    }
    std::vector<int> ids;
    for (const Object& object : frame->objects()) {
        ids.push_back(object.id());
    }
    return ids;
}

struct Identities
{
    const char* what;
    std::vector<Point> before; ///< get 10, 11, ...
    std::vector<Point> now;
    std::vector<int> ids;
};

TEST(Frame, KeepsTheIdentityOfObjectsThatStayInPlace)
{
    const Identities cases[] = {
        {"nothing moved", {at(0, 0), at(5000, 0)}, {at(0, 0), at(5000, 0)}, {10, 11}},
        {"order changed", {at(0, 0), at(5000, 0)}, {at(5000, 0), at(0, 0)}, {11, 10}},
        {"moved by 1638: 0.01 squared not reached", {at(0, 0)}, {at(1638, 0)}, {10}},
        {"moved by 1639", {at(0, 0)}, {at(1639, 0)}, {11}},
        {"moved by (1159, 1158): 2684245", {at(0, 0)}, {at(1159, 1158)}, {10}},
        {"moved by (1159, 1159): 2686562", {at(0, 0)}, {at(1159, 1159)}, {11}},
        {"the nearest one", {at(0, 0), at(1000, 0)}, {at(600, 0)}, {11}},
        {"of equally near ones the first", {at(0, 0), at(1000, 0)}, {at(500, 0)}, {10}},
        {"two near the same place: the first takes it, though farther",
         {at(0, 0)},
         {at(900, 0), at(0, 0)},
         {10, 11}},
        {"taken once only, then the next nearest",
         {at(0, 0), at(1000, 0)},
         {at(100, 0), at(0, 0)},
         {10, 11}},
        {"more objects than before", {}, {at(0, 0), at(9, 9)}, {10, 11}},
    };
    for (const Identities& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(idsAfter(c.before, c.now), c.ids);
    }
}

TEST(Frame, TakesItsPartPointsFromTheirOwnPool)
{
    const auto frame = std::make_unique<Frame>();
    EXPECT_EQ(frame->takePartPoints(Frame::PART_POOL_SIZE - 1).size(),
              static_cast<std::size_t>(Frame::PART_POOL_SIZE - 1));
    EXPECT_TRUE(frame->takePartPoints(2).empty());
    EXPECT_TRUE(frame->takePartPoints(-1).empty());
    EXPECT_EQ(frame->takePartPoints(1).size(), 1U);
    EXPECT_EQ(frame->poolUsed(), 0);
    frame->beginImage();
    EXPECT_EQ(frame->takePartPoints(2).size(), 2U);
}

} // namespace
} // namespace tarvik::analysis
