#include "support/SceneChain.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <optional>

namespace tarvik::test {
namespace {

using simulated::Kind;
using simulated::ScenePart;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t IMAGES = 100;
#else
constexpr std::uint32_t IMAGES = 1000;
#endif

/// What came of the scene's parts.
struct Tally
{
    int parts = 0;          ///< taught, in full view
    int found = 0;          ///< as the right template
    int mistaken = 0;       ///< as another template
    int missed = 0;         ///< not at all
    int touching = 0;       ///< of those found, the ones out of a pair
    int rejected = 0;       ///< untaught parts that nothing was recognised in
    int accepted = 0;       ///< untaught parts taken for something
    double worstAngle = 0;  ///< degrees
    double worstOffset = 0; ///< pixels
};

double degreesBetween(double a, double b)
{
    return std::abs(std::remainder(a - b, 360.0));
}

/// The object whose centre is within 6 pixels of the part's.
std::optional<int> objectAt(const SceneChain::Result& result, const ScenePart& part, int width,
                            int height, double& offset)
{
    std::optional<int> best;
    offset = 6;
    for (int i = 0; i < result.frame->objectCount(); ++i) {
        const auto position = result.frame->object(i).polygon().position();
        const double x = position.re.toDouble() * (width / 2) + width / 2;
        const double y = position.im.toDouble() * (width / 2) + height / 2;
        const double distance = std::hypot(x - part.x / 256.0, y - part.y / 256.0);
        if (distance < offset) {
            offset = distance;
            best = i;
        }
    }
    return best;
}

void countPart(const SceneChain::Result& result, const ScenePart& part, int width, int height,
               Tally& tally)
{
    double offset = 0;
    const auto index = objectAt(result, part, width, height, offset);
    const int found = index ? (*result.matchings)[*index].templateID : -1;
    if (part.kind == Kind::Shard) {
        ++(found == -1 ? tally.rejected : tally.accepted);
        return;
    }
    ++tally.parts;
    if (found != SceneChain::templateOf(part.kind)) {
        ++(found == -1 ? tally.missed : tally.mistaken);
        return;
    }
    ++tally.found;
    tally.touching += part.touching ? 1 : 0;
    const double angle = (*result.matchings)[*index].rotation.toDouble() * 180 / 3.141592653589793;
    tally.worstAngle =
        std::max(tally.worstAngle, degreesBetween(angle, part.rotation * 360.0 / 65536));
    tally.worstOffset = std::max(tally.worstOffset, offset);
}

/// Whether an active band of the default clipping frame may hold some of the part.
bool nearBorder(const SceneChain::Result& result, const ScenePart& part, int width, int height)
{
    double offset = 0;
    const auto index = objectAt(result, part, width, height, offset);
    return part.clipped || (index && result.frame->object(*index).clipped());
}

Tally recognise(int width, int height, std::uint32_t images, bool throughColourSensor,
                const simulated::SceneOptions& options = {})
{
    simulated::Scene scene(options);
    SceneChain chain(width, height);
    chain.teachAll(scene);
    chain.throughColourSensor = throughColourSensor;
    chain.enableBreakup();
    Tally tally;
    for (std::uint32_t n = 0; n < images; ++n) {
        const auto result = chain.process(scene, n);
        const auto parts = scene.parts(n, width, height);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            // The other part of a pair, which hangs in the same outline until it is cut.
            bool pairClipped = false;
            for (const std::size_t other : {i - 1, i + 1}) {
                pairClipped |= parts[i].touching && other < parts.size() && parts[other].touching &&
                               nearBorder(result, parts[other], width, height);
            }
            if (!pairClipped && !nearBorder(result, parts[i], width, height)) {
                countPart(result, parts[i], width, height, tally);
            }
        }
    }
    std::printf("%dx%d, %u images, seed %u: %d of %d parts found (%d of them cut out of a pair), "
                "%d mistaken, %d missed, untaught: %d rejected, %d accepted; worst rotation %.2f "
                "degrees, worst "
                "position %.2f pixels\n",
                width, height, images, options.seed, tally.found, tally.parts, tally.touching,
                tally.mistaken, tally.missed, tally.rejected, tally.accepted, tally.worstAngle,
                tally.worstOffset);
    return tally;
}

TEST(SceneRecognition, FindsEveryTaughtPartInFullView)
{
    struct Case
    {
        int width;
        int height;
        std::uint32_t images;
        bool throughColourSensor;
        std::uint32_t seed = 1;
        double worstAngle = 2;
    };

    constexpr Case cases[] = {
        {640, 480, IMAGES, true},         {640, 480, IMAGES / 2, false},
        {752, 480, IMAGES / 5, false},    {1280, 1024, IMAGES / 5, false},
        {640, 480, IMAGES / 5, false, 2}, {640, 480, IMAGES / 5, false, 3},
        {640, 480, IMAGES / 5, false, 4}, {640, 480, IMAGES / 5, false, 5, 2.1}};
    for (const Case& c : cases) {
        const Tally tally =
            recognise(c.width, c.height, c.images, c.throughColourSensor, {.seed = c.seed});
        EXPECT_GT(tally.parts, static_cast<int>(c.images) * 3);
        EXPECT_EQ(tally.found, tally.parts);
        EXPECT_GT(tally.touching, 0) << "no pair was cut apart";
        EXPECT_EQ(tally.accepted, 0) << "an untaught part was taken for a taught one";
        EXPECT_LT(tally.worstAngle, c.worstAngle);
        EXPECT_LT(tally.worstOffset, 2.0 * c.width / 640);
    }
}

// As many as an image has room for: on a moving belt the clipped ones would take the last places.
TEST(SceneRecognition, FindsTwentyFiveSmallParts)
{
    constexpr int PARTS = simulated::SceneOptions::MAX_PARTS;
    const std::uint32_t images = IMAGES / 10;
    const Tally tally = recognise(640, 480, images, false, {.parts = PARTS, .standing = true});
    EXPECT_EQ(tally.parts + tally.rejected + tally.accepted, PARTS * static_cast<int>(images));
    EXPECT_EQ(tally.found, tally.parts);
    EXPECT_EQ(tally.accepted, 0) << "an untaught part was taken for a taught one";
    EXPECT_LT(tally.worstAngle, 3.0) << "three quarters of the size";
}

} // namespace
} // namespace tarvik::test
