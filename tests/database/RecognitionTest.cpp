#include "database/Recognition.h"

#include "Samples.h"
#include "database/DatabaseState.h"
#include "database/Matching.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>

using namespace tarvik;
using namespace tarvik::database;
using namespace tarvik::test;

namespace {

constexpr int HALF_PI = 51472;

DatabaseState stateWith(std::initializer_list<TemplateSpec> specs,
                        const Transform::Matrix& matrix = {})
{
    DatabaseState state;
    DatabaseConfiguration config;
    Transform transform;
    transform.combinedMatrix = matrix;
    config.setTransform(transform);
    state.setConfig(config);
    for (const TemplateSpec& spec : specs) {
        state.addTemplate(std::make_shared<const Template>(makeTemplate(spec)));
    }
    return state;
}

Matching match(const DatabaseState& state, const analysis::Object& object, bool found)
{
    Matching matching;
    EXPECT_EQ(recognize(state, object, matching), found);
    return matching;
}

Matching match(const DatabaseState& state, const analysis::FourierDescriptor& shape, bool found)
{
    return match(state, objectOf(shape), found);
}

/// Column by column.
Transform::Matrix matrix(int re0, int im0, int re1, int im1, int re2, int im2)
{
    using C = Complex<32, 15>;
    return {C::fromRaw(re0, im0), C::fromRaw(re1, im1), C::fromRaw(re2, im2)};
}

TEST(Recognition, WithoutTemplatesTellsWhereTheObjectLies)
{
    const Matching m = match(stateWith({}), descriptor({{0, 100, -200}}, 77), false);
    EXPECT_EQ(m.templateID, -1);
    EXPECT_EQ(m.position, (Complex<32, 21>::fromRaw(6400, -12800)));
    EXPECT_EQ(m.rotation.raw(), 77);
    EXPECT_EQ(m.confidence.raw(), 0);
    EXPECT_EQ(m.error.raw(), 32767);
}

struct TransformCase
{
    const char* what;
    Transform::Matrix matrix;
    std::int16_t x;
    std::int16_t y;
    int rotation;
    Complex<32, 21> position;
    int expectedRotation;
};

TEST(Recognition, TransformsPositionAndRotation)
{
    using P = Complex<32, 21>;
    const TransformCase cases[] = {
        {"scaled, sheared and moved: (10.25, -3.375); the x axis turns by 0.24498",
         matrix(65536, 16384, -32768, 8192, 327680, -98304), 8192, -16384, 0,
         P::fromRaw(21495808, -7077888), -8027},
        {"what is too small rounds down: -2^-30 and 2^-30", matrix(1, 0, -1, 0, 0, 0), -1, 0, 5,
         P::fromRaw(-1, 0), 5},
        {"turned by a quarter, past -pi", matrix(0, 32768, -32768, 0, 0, 0), 100, 200, -100000,
         P::fromRaw(12800, -6400), -100000 - HALF_PI + 205887},
        {"turned by minus a quarter, past pi", matrix(0, -32768, 32768, 0, 0, 0), 100, 200, 100000,
         P::fromRaw(-12800, 6400), 100000 + 51471 - 205887},
        {"pi itself stays", matrix(32768, 0, 0, 0, 0, 0), 0, 0, 102944, P(), 102944},
        {"the widest factors still fit the sum, of which the low bits stay",
         matrix(INT32_MIN, INT32_MIN, 0, 0, INT32_MIN, 0), -32768, -32768, 0, P::fromRaw(0, 0),
         77207},
    };
    for (const TransformCase& c : cases) {
        SCOPED_TRACE(c.what);
        const Matching m =
            match(stateWith({}, c.matrix), descriptor({{0, c.x, c.y}}, c.rotation), false);
        EXPECT_EQ(m.position, c.position);
        EXPECT_EQ(m.rotation.raw(), c.expectedRotation);
    }
}

TEST(Recognition, ComparesNoClippedObjectAndKeepsItsOwnRotation)
{
    const auto turned = matrix(0, 32768, -32768, 0, 0, 0);
    analysis::Object object = objectOf(descriptor({{0, 100, 200}}, 300));
    object.setClipped(true);
    const Matching m = match(stateWith({{.id = 4}}, turned), object, false);
    EXPECT_EQ(m.templateID, -1);
    EXPECT_EQ(m.error.raw(), 32767);
    EXPECT_EQ(m.rotation.raw(), 300);
    EXPECT_EQ(m.position, (Complex<32, 21>::fromRaw(12800, -6400)));
}

TEST(Recognition, TurnsTheGripPointWithTheObject)
{
    const TemplateSpec spec{.id = 65537,
                            .shape = descriptor({{1, 500, 0}}),
                            .shapeRotated = descriptor({{1, -500, 0}}),
                            .rotation = fp<32, 15>(1000),
                            .gripPoint = Complex<16, 15>::fromRaw(8192, 0)};
    // A quarter turn has sine 32767 and takes (8192, 0) to (0, 8191); three quarters have -32768.
    const DatabaseState state = stateWith({spec});
    const Matching upright = match(state, descriptor({{0, 100, 200}, {1, 500, 0}}, HALF_PI), true);
    EXPECT_EQ(upright.position, (Complex<32, 21>::fromRaw(100 * 64, 8391 * 64)));
    EXPECT_EQ(upright.rotation.raw(), HALF_PI + 1000);
    EXPECT_EQ(upright.templateID, 1) << "the low 16 bits";

    const Matching upsideDown =
        match(state, descriptor({{0, 100, 200}, {1, -500, 0}}, HALF_PI), true);
    EXPECT_EQ(upsideDown.position, (Complex<32, 21>::fromRaw(100 * 64, -7992 * 64)));
    EXPECT_EQ(upsideDown.rotation.raw(), HALF_PI + 102944 + 1000 - 205887);
}

TEST(Recognition, GripPositionWrapsIn16Bits)
{
    const TemplateSpec spec{.gripPoint = Complex<16, 15>::fromRaw(32767, 0)};
    const Matching m = match(stateWith({spec}), descriptor({{0, 32767, 0}}), true);
    EXPECT_EQ(m.position.re.raw(), (32766 + 32767 - 65536) * 64); // turning by 0 took one off
}

TEST(Recognition, OneTemplateAloneIsSureOnlyOfAnExactMatch)
{
    const DatabaseState state = stateWith({{.id = 3}});
    const Matching exact = match(state, descriptor({}), true);
    EXPECT_EQ(exact.templateID, 3);
    EXPECT_EQ(exact.confidence.raw(), 32767);
    EXPECT_EQ(exact.error.raw(), 0);

    const Matching close = match(state, descriptor({{1, 1024, 0}}), true);
    EXPECT_EQ(close.templateID, 3);
    EXPECT_EQ(close.confidence.raw(), 0);
    EXPECT_EQ(close.error.raw(), 32); // 2^20 >> 15

    const Matching far = match(state, descriptor({{1, 8192, 0}}), false);
    EXPECT_EQ(far.templateID, -1);
    EXPECT_EQ(far.error.raw(), 2048) << "tells how far off";

    EXPECT_EQ(match(state, objectOf({}, {Hole{1, 1}}), false).error.raw(), -1)
        << "the maximum, its low 16 bits";
}

struct ConfidenceCase
{
    const char* what;
    std::int16_t object; ///< real part of frequency 1
    std::int16_t first;
    std::int16_t second;
    int id; ///< 1 or 2
    int error;
    int confidence;
};

TEST(Recognition, ConfidenceIsTheLeadOverTheSecondBest)
{
    const ConfidenceCase cases[] = {
        {"1 - 2^20 / 2^22", 0, 1024, 2048, 1, 32, 24576},
        {"the better one comes second", 0, 2048, 1024, 2, 32, 24576},
        {"equally good: the later one, with no lead", 0, 1024, -1024, 2, 32, 0},
        {"both exact", 50, 50, 50, 2, 0, 0},
        {"one exact", 50, 50, 51, 1, 0, 32767},
        {"only one within the limit: 1 - 2^20 / (2^31 - 1)", 0, 1024, 8192, 1, 32, 32751},
    };
    for (const ConfidenceCase& c : cases) {
        SCOPED_TRACE(c.what);
        const auto spec = [](int id, std::int16_t value) {
            return TemplateSpec{.id = id,
                                .shape = descriptor({{1, value, 0}}),
                                .shapeRotated = descriptor({{1, 32767, 0}})};
        };
        const DatabaseState state = stateWith({spec(1, c.first), spec(2, c.second)});
        const Matching m = match(state, descriptor({{1, c.object, 0}}), true);
        EXPECT_EQ(m.templateID, c.id);
        EXPECT_EQ(m.error.raw(), c.error);
        EXPECT_EQ(m.confidence.raw(), c.confidence);
    }
}

TEST(Recognition, SeveralTemplatesWithoutAMatchTellNoError)
{
    const DatabaseState state = stateWith({{.id = 1}, {.id = 2}});
    const Matching m = match(state, descriptor({{1, 8192, 0}}), false);
    EXPECT_EQ(m.templateID, -1);
    EXPECT_EQ(m.error.raw(), 32767);
    EXPECT_EQ(m.confidence.raw(), 0);
}

} // namespace
