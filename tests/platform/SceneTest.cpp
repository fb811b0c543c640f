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
                flood(i, value, 2);
            }
        }
        return regions;
    }

    void flood(int start, std::uint8_t value, std::uint8_t paint)
    {
        std::vector<int> open{start};
        at(start) = paint;
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
                    at(ny * _size.width + nx) = paint;
                    open.push_back(ny * _size.width + nx);
                }
            }
        }
    }

    /// Foreground only where the whole square of this half side is foreground.
    [[nodiscard]] Picture eroded(int half) const
    {
        Picture thin(_size);
        for (int y = half; y < _size.height - half; ++y) {
            for (int x = half; x < _size.width - half; ++x) {
                bool full = true;
                for (int dy = -half; dy <= half && full; ++dy) {
                    const auto row = pixels.begin() + (y + dy) * _size.width + x;
                    full = std::find(row - half, row + half + 1, std::uint8_t{0}) == row + half + 1;
                }
                thin.at(y * _size.width + x) = full ? 1 : 0;
            }
        }
        return thin;
    }

    [[nodiscard]] std::uint64_t digest() const // Fowler, Noll and Vo, variant 1a
    {
        std::uint64_t hash = 0xCBF29CE484222325U;
        for (const std::uint8_t byte : pixels) {
            hash = (hash ^ byte) * 0x100000001B3U;
        }
        return hash;
    }

    std::uint8_t& at(int i) { return pixels[static_cast<std::size_t>(i)]; }

private:
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

Picture colour(Scene& scene, std::uint32_t frame, Size size = SENSORS[0])
{
    Picture picture(size, 3);
    scene.rgb(frame, size.width, size.height, picture.pixels);
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

/// Belt and holes are all the background there is, but for a pixel that may be cut off where the
/// gap between touching parts narrows to nothing.
void expectHoles(Picture binary, const std::vector<ScenePart>& parts)
{
    const int regions = binary.countRegions(0);
    EXPECT_GE(regions, 1 + holesOf(parts));
    EXPECT_LE(regions, 1 + holesOf(parts) + pairsOf(parts));
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
    EXPECT_EQ(colour(scene, 12345, SENSORS[2]).digest(), 3045941063845090836U);
}

TEST(Scene, SegmentsIntoItsPartsAndHolesAtTheGreyThreshold)
{
    for (const Size size : SENSORS) {
        for (const int count : {1, 9, 12, 25}) {
            SCOPED_TRACE(testing::Message() << size.width << " wide, " << count << " parts");
            Scene scene({.parts = count, .standing = true});
            const auto frame = static_cast<std::uint32_t>(count);
            const auto parts = scene.parts(frame, size.width, size.height);
            EXPECT_EQ(static_cast<int>(parts.size()) - pairsOf(parts), count);
            Picture binary = grey(scene, frame, size).binarized();
            expectHoles(binary, parts);
            EXPECT_EQ(binary.countRegions(1), count);
        }
    }
}

TEST(Scene, ShowsTheSameSilhouettesInColour)
{
    Scene scene({.standing = true});
    const Picture rgb = colour(scene, 5);
    Picture intensity(SENSORS[0]);
    for (std::size_t i = 0; i < intensity.pixels.size(); ++i) {
        const auto* p = rgb.pixels.data() + 3 * i;
        intensity.pixels[i] = static_cast<std::uint8_t>((p[0] + 2 * p[1] + p[2] + 2) / 4);
    }
    EXPECT_EQ(intensity.binarized().countRegions(1), 9);
    expectHoles(intensity.binarized(), scene.parts(5, 640, 480));
}

TEST(Scene, HangsTouchingPartsTogetherByANeckThatIsThinnerThanAnyPart)
{
    int pairs = 0;
    for (std::uint32_t frame = 0; frame < 200; frame += 40) {
        Scene scene({.seed = 3 + frame, .noise = 0, .standing = true});
        const auto parts = scene.parts(frame, 640, 480);
        pairs += pairsOf(parts);
        Picture filled = grey(scene, frame).binarized();
        filled.flood(0, 0, 2); // the belt around the parts; what background is left are holes
        for (std::uint8_t& pixel : filled.pixels) {
            pixel = pixel == 2 ? 0 : 1;
        }
        EXPECT_EQ(filled.eroded(5).countRegions(1), static_cast<int>(parts.size()));
    }
    EXPECT_GT(pairs, 2);
}

TEST(Scene, KeepsPartsApartHoweverTheyTurn)
{
    for (const Size size : SENSORS) {
        for (const int count : {9, 25}) {
            const Scene scene({.parts = count});
            const double unit = size.width / 640.0 / 256 * (count > 12 ? 0.75 : 1);
            for (std::uint32_t frame = 0; frame < 3000; frame += 30) {
                const auto parts = scene.parts(frame, size.width, size.height);
                for (std::size_t i = 0; i < parts.size(); ++i) {
                    for (std::size_t k = 0; k < i; ++k) {
                        if (k + 1 == i && parts[i].touching && parts[k].touching) {
                            continue;
                        }
                        const double dx = (parts[i].x - parts[k].x) / 256.0;
                        const double dy = (parts[i].y - parts[k].y) / 256.0;
                        const int radii =
                            shapeOf(parts[i].kind).radius + shapeOf(parts[k].kind).radius;
                        ASSERT_GT(std::hypot(dx, dy), radii * unit + 2);
                    }
                }
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

TEST(Scene, DrawsAPartWhereAndAsItSays)
{
    // The centroid of a picture's foreground, seen from the middle, turns with the part.
    constexpr std::uint16_t QUARTER = 16384;
    Scene scene({.noise = 0});
    for (const Kind kind : KINDS) {
        SCOPED_TRACE(shapeOf(kind).name);
        const auto centroid = [&](std::uint16_t rotation) {
            Picture picture({640, 480});
            scene.greyPartAlone(kind, rotation, 640, 480, picture.pixels);
            double sumX = 0;
            double sumY = 0;
            double sum = 0;
            for (int i = 0; i < 640 * 480; ++i) {
                if (picture.at(i) >= 128) {
                    sumX += i % 640 + 0.5 - 320;
                    sumY += i / 640 + 0.5 - 240;
                    sum += 1;
                }
            }
            return std::pair(sumX / sum, sumY / sum);
        };
        constexpr std::uint16_t OBLIQUE =
            5461; // edges along the pixels would be rounded all one way
        const auto [x, y] = centroid(OBLIQUE);
        const auto [turnedX, turnedY] = centroid(OBLIQUE + QUARTER);
        EXPECT_LT(std::hypot(x, y), 8) << "near the centroid of the outline";
        EXPECT_NEAR(turnedX, -y, 0.3);
        EXPECT_NEAR(turnedY, x, 0.3);
    }
}
