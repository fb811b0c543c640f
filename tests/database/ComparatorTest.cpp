#include "Samples.h"
#include "database/ComparatorFactory.h"
#include "database/comparators/AdvancedComparator.h"
#include "database/comparators/StereoComparator.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using namespace tarvik;
using namespace tarvik::database;
using namespace tarvik::database::comparators;
using namespace tarvik::test;

namespace {

constexpr int PI_RAW = 102944;

struct OutlineCase
{
    const char* what;
    analysis::FourierDescriptor object;
    analysis::FourierDescriptor straight;
    analysis::FourierDescriptor rotated;
    int error;
    bool match;
    int rotation;
};

TEST(Comparators, SumTheSquaredDifferencesOfTheBetterOrientation)
{
    constexpr std::int16_t MIN16 = -32768;
    constexpr int MIN32 = std::numeric_limits<int>::min();
    const auto none = descriptor({});
    std::vector<Coefficient> everyOne{{0, 900, 900}};
    for (const int k : {1, 2, 3, 4, 5, 6, 7}) {
        everyOne.insert(everyOne.end(), {{-k, 1, 1}, {k, 1, 1}});
    }
    const OutlineCase cases[] = {
        {"equal to both: the tie goes to the straight one", none, none, none, 0, true, 0},
        {"equal to the rotated one only", descriptor({{1, 9, 0}}), none, descriptor({{1, 9, 0}}), 0,
         true, PI_RAW},
        {"3 x 3 + 4 x 4 on the outer frequencies", descriptor({{-7, 3, 0}, {7, 0, -4}}), none,
         descriptor({{1, 3000, 0}}), 25, true, 0},
        {"every frequency but 0 counts", descriptor(everyOne), none, none, 28, true, 0},
        {"where it lies does not matter", descriptor({{0, MIN16, 32767}}), none,
         descriptor({{0, 5, 5}}), 0, true, 0},
        {"2 x 1500 squared is below 10737418", descriptor({{2, 1500, 1500}}), none, none, 4500000,
         true, 0},
        {"too far from both", descriptor({{2, 3000, 0}, {3, 3000, 0}}), none,
         descriptor({{2, -1, 0}}), 18000000, false, 0},
        {"a difference of 65535 wraps to -1", descriptor({{1, 32767, 0}}),
         descriptor({{1, MIN16, 0}}), none, 1, true, 0},
        {"a sum of 2^31 wraps to a negative error, which is below any limit",
         descriptor({{1, MIN16, MIN16}}), none, none, MIN32, true, 0},
        {"a sum of 2^32 wraps to 0", descriptor({{1, MIN16, MIN16}, {2, MIN16, MIN16}}), none, none,
         0, true, 0},
    };
    const StereoComparator stereo;
    const AdvancedComparator advanced;
    for (const OutlineCase& c : cases) {
        const Template t = makeTemplate({.shape = c.straight, .shapeRotated = c.rotated});
        const analysis::Object object = objectOf(c.object);
        for (const Comparator* comparator :
             std::initializer_list<const Comparator*>{&stereo, &advanced}) {
            SCOPED_TRACE(c.what);
            const ComparisonResult r = comparator->compare(object, t);
            EXPECT_EQ(r.error.raw(), c.error);
            EXPECT_EQ(r.match, c.match);
            EXPECT_EQ(r.rotation.raw(), c.rotation);
        }
    }
}

TEST(Comparators, MatchUpToTheMaximumErrorItself)
{
    const Template t = makeTemplate({});
    const analysis::Object object = objectOf(descriptor({{1, 3, 4}}));
    StereoComparator comparator;
    comparator.maxError = fp<32, 30>(25);
    EXPECT_TRUE(comparator.compare(object, t).match);
    comparator.maxError = fp<32, 30>(24);
    EXPECT_FALSE(comparator.compare(object, t).match);
}

/// Three holes in the directions right, down and left: gaps 51472, 51472 and 102943.
TemplateSpec threeHoles()
{
    constexpr int DISTANCE = 4096 << 14;
    TemplateSpec spec;
    spec.holes = {{fp<32, 15>(4000), fp<32, 28>(DISTANCE), fp<32, 15>(51472)},
                  {fp<32, 15>(8000), fp<32, 28>(DISTANCE), fp<32, 15>(51472)},
                  {fp<32, 15>(12000), fp<32, 28>(DISTANCE), fp<32, 15>(102943)}};
    spec.firstAngle = fp<32, 15>(0);
    return spec;
}

struct HoleCase
{
    const char* what;
    std::vector<Hole> holes;
    std::function<void(AdvancedComparator&)> adjust;
    bool match;
};

TEST(AdvancedComparator, ChecksTheHolesAsConfigured)
{
    const auto lengths = [](int tolerance) {
        return [tolerance](AdvancedComparator& c) { c.lengthsMaxDiff = fp<32, 15>(tolerance); };
    };
    const auto distances = [](int tolerance) {
        return [tolerance](AdvancedComparator& c) {
            c.compareLengths = false;
            c.compareDistances = true;
            c.distMaxDiff = fp<32, 28>(tolerance);
        };
    };
    const auto angles = [](int tolerance) {
        return [tolerance](AdvancedComparator& c) {
            c.compareLengths = false;
            c.compareAngles = true;
            c.anglesMaxDiff = fp<32, 15>(tolerance);
        };
    };
    const auto nothing = [](AdvancedComparator& c) { c.compareLengths = false; };
    const std::vector<Hole> taught = {{4096, 0, 12000}, {0, 4096, 4000}, {-4096, 0, 8000}};
    const std::vector<Hole> longer = {{4096, 0, 12000}, {0, 4096, 4000}, {-4096, 0, 8100}};
    const std::vector<Hole> farther = {{4096, 0, 4000}, {0, 4100, 4000}, {-4096, 0, 4000}};
    // Angle of (4096, 16): 127.999 + 0.5, so the gaps change by 128.
    const std::vector<Hole> askew = {{4096, 16, 4000}, {0, 4096, 4000}, {-4096, 0, 4000}};
    const std::vector<Hole> two = {{4096, 0, 12000}, {0, 4096, 4000}};
    const std::vector<Hole> elsewhere = {{9, 9, 400}, {99, 9, 400}, {9, 999, 400}};
    const HoleCase cases[] = {
        {"lengths in another order", taught, lengths(0), true},
        {"a length at its tolerance", longer, lengths(100), true},
        {"a length past its tolerance", longer, lengths(99), false},
        {"lengths ignored", longer, nothing, true},
        {"equal distances", taught, distances(0), true},
        {"a distance at its tolerance", farther, distances(4 << 14), true},
        {"a distance past its tolerance", farther, distances((4 << 14) - 1), false},
        {"equal gaps", taught, angles(0), true},
        {"a gap at its tolerance", askew, angles(128), true},
        {"a gap past its tolerance", askew, angles(127), false},
        {"a hole too few, whatever is compared", two, nothing, false},
        {"nothing compared but the count", elsewhere, nothing, true},
        {"a negative tolerance admits nothing", taught, lengths(-1), false},
    };
    const Template t = makeTemplate(threeHoles());
    for (const HoleCase& c : cases) {
        SCOPED_TRACE(c.what);
        const analysis::Object object = objectOf({}, c.holes);
        AdvancedComparator comparator;
        c.adjust(comparator);
        const ComparisonResult r = comparator.compare(object, t);
        EXPECT_EQ(r.match, c.match);
        EXPECT_EQ(r.error, c.match ? (fp<32, 30>::ZERO) : (fp<32, 30>::MAX));
        EXPECT_EQ(r.rotation.raw(), 0);
    }
}

TEST(AdvancedComparator, LooksAtNoHoleWhenTheTemplateDoesNotCare)
{
    TemplateSpec spec = threeHoles();
    spec.considerInnerContours = false;
    const Template t = makeTemplate(spec);
    EXPECT_TRUE(AdvancedComparator().compare(analysis::Object(), t).match);
}

struct RotationCase
{
    const char* what;
    std::vector<Hole> holes;
    int objectRotation;
    int rotation;
};

TEST(AdvancedComparator, TakesTheRotationFromTheFirstShiftThatFits)
{
    const Hole right{4096, 0};
    const Hole down{0, 4096};
    const Hole left{-4096, 0};
    const Hole up{0, -4096};
    // Ascending: up -51471, right 0, down 51472, left 102944. Taught: right, down, left.
    const RotationCase cases[] = {
        {"as taught", {right, down, left}, 0, 0},
        {"the object's own rotation comes off", {right, down, left}, 300, -300},
        {"a quarter on: the first is at down, which is second in order",
         {down, left, up},
         0,
         51472},
        {"a quarter back: the first is at up", {up, right, down}, 0, -51471},
        {"half a turn: the first is at left, the last in order", {left, up, right}, 20, 102924},
    };
    TemplateSpec spec = threeHoles();
    // A rotated outline that fits better must not bring its half turn in.
    spec.shape = descriptor({{1, 10, 0}});
    const Template t = makeTemplate(spec);
    AdvancedComparator comparator;
    comparator.compareLengths = false;
    comparator.compareAngles = true;
    comparator.correctRotation = true;
    comparator.anglesMaxDiff = fp<32, 15>(2); // gaps of equal size differ by their rounding
    for (const RotationCase& c : cases) {
        SCOPED_TRACE(c.what);
        const analysis::Object object = objectOf(descriptor({}, c.objectRotation), c.holes);
        const ComparisonResult r = comparator.compare(object, t);
        EXPECT_TRUE(r.match);
        EXPECT_EQ(r.rotation.raw(), c.rotation);
    }
    comparator.compareAngles = false;
    const analysis::Object object = objectOf(descriptor({}, 300), {right, down, left});
    EXPECT_EQ(comparator.compare(object, t).rotation.raw(), 0) << "angles were not compared";
}

} // namespace
