#include "ocamera/simulated/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

using namespace OCamera::simulated;

namespace {

struct Size
{
    int width;
    int height;
};

constexpr Size SENSORS[] = {{640, 480}, {752, 480}, {1280, 1024}};

class Picture
{
public:
    explicit Picture(Size size, std::size_t channels = 1)
        : _size(size),
          pixels(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
                 channels)
    {}

    [[nodiscard]] Picture binarized() const
    {
        Picture binary(_size);
        std::transform(pixels.begin(), pixels.end(), binary.pixels.begin(),
                       [](std::uint8_t v) { return v >= 128 ? std::uint8_t{1} : std::uint8_t{0}; });
        return binary;
    }

    /// Number of regions of a value, which is used up by counting. Foreground hangs together over
    /// corners, background does not.
    int countRegions(std::uint8_t value)
    {
        int regions = 0;
        for (int i = 0; i < _size.width * _size.height; ++i) {
            if (at(i) == value) {
                ++regions;
                flood(i, value);
            }
        }
        return regions;
    }

    [[nodiscard]] std::uint64_t digest() const // Fowler, Noll and Vo, variant 1a
    {
        std::uint64_t hash = 0xCBF29CE484222325U;
        for (const std::uint8_t byte : pixels) {
            hash = (hash ^ byte) * 0x100000001B3U;
        }
        return hash;
    }

private:
    std::uint8_t& at(int i) { return pixels[static_cast<std::size_t>(i)]; }

    void flood(int start, std::uint8_t value)
    {
        constexpr std::uint8_t USED = 2;
        std::vector<int> open{start};
        at(start) = USED;
        while (!open.empty()) {
            const int x = open.back() % _size.width;
            const int y = open.back() / _size.width;
            open.pop_back();
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    const bool diagonal = dx != 0 && dy != 0;
                    const int nx = x + dx;
                    const int ny = y + dy;
                    if ((diagonal && value == 0) || nx < 0 || ny < 0 || nx >= _size.width ||
                        ny >= _size.height || at(ny * _size.width + nx) != value) {
                        continue;
                    }
                    at(ny * _size.width + nx) = USED;
                    open.push_back(ny * _size.width + nx);
                }
            }
        }
    }

    Size _size;

public:
    std::vector<std::uint8_t> pixels;
};

Picture grey(Scene& scene, std::uint32_t frame, Size size = SENSORS[0])
{
    Picture picture(size);
    scene.grey(frame, size.width, size.height, picture.pixels);
    return picture;
}

int holesOf(const std::vector<ScenePart>& parts)
{
    int holes = 0;
    for (const ScenePart& part : parts) {
        holes += static_cast<int>(shapeOf(part.kind).contours.size()) - 1;
    }
    return holes;
}

int pairsOf(const std::vector<ScenePart>& parts)
{
    const auto touching = [](const ScenePart& part) { return part.touching; };
    return static_cast<int>(std::count_if(parts.begin(), parts.end(), touching)) / 2;
}

/// Where their circumscribed circles come closest, in pixels; touching pairs aside.
double leastGap(const std::vector<ScenePart>& parts, double unit)
{
    double least = 1000;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        for (std::size_t k = 0; k < i; ++k) {
            if (k + 1 != i || !parts[i].touching || !parts[k].touching) {
                const int radii = shapeOf(parts[i].kind).radius + shapeOf(parts[k].kind).radius;
                const int dx = parts[i].x - parts[k].x;
                const int dy = parts[i].y - parts[k].y;
                least = std::min(least, std::hypot(dx, dy) / 256 - radii * unit);
            }
        }
    }
    return least;
}

} // namespace

TEST(Scene, DependsOnSeedAndFrameOnly)
{
    Scene one;
    Scene other;
    (void)grey(other, 7, SENSORS[1]); // what was drawn before leaves no trace
    EXPECT_EQ(grey(one, 100).digest(), grey(other, 100).digest());
    EXPECT_NE(grey(one, 100).digest(), grey(other, 101).digest());
    Scene elsewhere({.seed = 2});
    EXPECT_NE(grey(one, 100).digest(), grey(elsewhere, 100).digest());
}

// Not derived from anything: the digests are what every compiler and machine must agree upon. They
// change whenever the scene is meant to look different.
TEST(Scene, IsTheSameToTheBitEverywhere)
{
    Scene scene;
    EXPECT_EQ(grey(scene, 100).digest(), 7494702688497433060U);
    Picture colour(SENSORS[2], 3);
    scene.rgb(12345, SENSORS[2].width, SENSORS[2].height, colour.pixels);
    EXPECT_EQ(colour.digest(), 3045941063845090836U);
}

TEST(Scene, SegmentsIntoItsPartsAndHolesAtTheGreyThreshold)
{
    for (const Size size : SENSORS) {
        for (const int count : {1, 12, 25}) {
            SCOPED_TRACE(testing::Message() << size.width << " wide, " << count << " parts");
            Scene scene({.parts = count, .standing = true});
            const auto frame = static_cast<std::uint32_t>(count);
            const auto parts = scene.parts(frame, size.width, size.height);
            EXPECT_EQ(static_cast<int>(parts.size()) - pairsOf(parts), count);
            Picture binary = grey(scene, frame, size).binarized();
            EXPECT_EQ(binary.countRegions(1), count);
            // Belt and holes are all the background there is, but for a pixel that may be cut off
            // where the gap between touching parts narrows to nothing.
            const int regions = binary.countRegions(0);
            EXPECT_GE(regions, 1 + holesOf(parts));
            EXPECT_LE(regions, 1 + holesOf(parts) + pairsOf(parts));
        }
    }
}

TEST(Scene, KeepsPartsApartHoweverTheyTurn)
{
    for (const Size size : SENSORS) {
        for (const int count : {9, 25}) {
            const Scene scene({.parts = count});
            const double unit = size.width / 640.0 / 256 * (count > 12 ? 0.75 : 1);
            for (std::uint32_t frame = 0; frame < 3000; frame += 30) {
                ASSERT_GT(leastGap(scene.parts(frame, size.width, size.height), unit), 2);
            }
        }
    }
}

TEST(Scene, BringsEveryKindAndPairsIntoViewEightToTenAtATime)
{
    const Scene scene;
    std::set<Kind> seen;
    int pairs = 0;
    for (std::uint32_t frame = 0; frame < 2000; frame += 50) {
        const auto parts = scene.parts(frame, 640, 480);
        const auto whole = std::count_if(parts.begin(), parts.end(),
                                         [](const ScenePart& p) { return !p.clipped; });
        EXPECT_GE(whole, 6);
        EXPECT_LE(parts.size(), 14U);
        pairs += pairsOf(parts);
        for (const ScenePart& part : parts) {
            seen.insert(part.kind);
        }
    }
    EXPECT_EQ(seen.size(), KINDS.size());
    EXPECT_GT(pairs, 20);
}
