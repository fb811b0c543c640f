#include "ocamera/simulated/Fpga.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using namespace OCamera;
using namespace OCamera::simulated;

namespace {

using Picture = std::vector<std::uint8_t>;

constexpr std::uint32_t NOT_INVERTED = 1U << 31;

Picture drawn(const std::vector<std::string>& rows, char ink, std::uint8_t grey)
{
    Picture picture;
    for (const std::string& row : rows) {
        for (const char c : row) {
            picture.push_back(c == ink ? grey : 0);
        }
    }
    return picture;
}

} // namespace

TEST(FpgaThreshold, IncludesBothBoundsAndInverts)
{
    const Picture grey{0, 99, 100, 150, 200, 201, 255};

    struct Case
    {
        const char* what;
        BinarizationParameters parameters;
        Picture expected;
    };

    const std::vector<Case> cases{
        {"window", {0, 2, 100, 200}, {0, 0, 255, 255, 255, 0, 0}},
        {"inverted", {1, 2, 100, 200}, {255, 255, 0, 0, 0, 255, 255}},
        {"all", {0, 2, 0, 255}, {255, 255, 255, 255, 255, 255, 255}},
        {"one value", {0, 2, 150, 150}, {0, 0, 0, 255, 0, 0, 0}},
        {"empty window: bounds crossed", {0, 2, 200, 100}, {0, 0, 0, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Picture out(grey.size());
        threshold(grey, c.parameters, out);
        EXPECT_EQ(out, c.expected);
    }
}

TEST(FpgaNeighbours, CodeTheContour)
{
    const std::vector<std::string> rows{
        "#.......", "..####..", "..####..", "..####..",
        ".......#", "#....#..", "#.......", "........",
    };
    const Picture grey = drawn(rows, '#', 200);
    Picture expected(grey.size());
    const auto put = [&](std::size_t y, std::vector<std::uint8_t> codes) {
        std::copy(codes.begin(), codes.end(), expected.begin() + static_cast<long>(y * 8 + 2));
    };
    put(1, {8 + 16 + 32, 8 + 16 + 32 + 64 + 128, 8 + 16 + 32 + 64 + 128, 32 + 64 + 128});
    put(2, {2 + 4 + 8 + 16 + 32, 0, 0, 1 + 2 + 32 + 64 + 128}); // the inside is empty
    put(3, {2 + 4 + 8, 1 + 2 + 4 + 8 + 128, 1 + 2 + 4 + 8 + 128, 1 + 2 + 128});
    // The lone pixel has no neighbour, and the picture's border is left out: both stay 0.

    Picture out(grey.size(), 77);
    neighbours(grey, 8, 8, {2, 100U | 255U << 8 | NOT_INVERTED, 0}, out);
    EXPECT_EQ(out, expected);

    Picture inverted(grey.size());
    for (std::size_t i = 0; i < grey.size(); ++i) {
        inverted[i] = grey[i] == 0 ? 200 : 0;
    }
    neighbours(inverted, 8, 8, {2, 100U | 255U << 8, 0}, out);
    EXPECT_EQ(out, expected);
}

struct ColourCase
{
    const char* what;
    std::array<std::uint8_t, 3> rgb;
    int hue;
    int saturation;
    int value;
    int intensity;
};

TEST(FpgaBayer, ConvertsKnownColours)
{
    constexpr ColourCase cases[] = {
        {"red begins the circle", {255, 0, 0}, 0, 255, 255, 64},
        {"green, a third", {0, 255, 0}, 85, 255, 255, 128},
        {"blue, two thirds", {0, 0, 255}, 171, 255, 255, 64},
        {"yellow", {200, 200, 0}, 43, 255, 200, 150},
        {"just below red wraps to the end", {255, 0, 10}, 254, 255, 255, 66},
        {"orange, half saturated", {200, 150, 100}, 21, 128, 200, 150},
        {"grey has no hue", {90, 90, 90}, 0, 0, 90, 90},
        {"black", {0, 0, 0}, 0, 0, 0, 0},
    };
    constexpr int W = 5; // odd: the last column and row take the square before
    constexpr int H = 3;
    for (const ColourCase& c : cases) {
        SCOPED_TRACE(c.what);
        Picture rgb;
        for (int i = 0; i < W * H; ++i) {
            rgb.insert(rgb.end(), c.rgb.begin(), c.rgb.end());
        }
        Picture raw(W * H);
        mosaic(rgb, W, H, raw);
        const std::array<std::pair<eBayerOutput, int>, 4> outputs{{{BAYER_OUTPUT_H, c.hue},
                                                                   {BAYER_OUTPUT_S, c.saturation},
                                                                   {BAYER_OUTPUT_V, c.value},
                                                                   {BAYER_OUTPUT_I, c.intensity}}};
        for (const auto& [output, expected] : outputs) {
            Picture out(W * H);
            convertBayer(raw, W, H, output, BAYER_PATTERN_GRGR, out);
            EXPECT_EQ(out, Picture(W * H, static_cast<std::uint8_t>(expected))) << output;
        }
    }
}

TEST(FpgaBayer, TakesColoursWhereThePatternSaysTheyAre)
{
    // One square in which only the left upper pixel is lit.
    const Picture raw{200, 0, 0, 0};
    const std::array<std::pair<eBayerPattern, int>, 4> hues{{{BAYER_PATTERN_RGRG, 0},
                                                             {BAYER_PATTERN_BGBG, 171},
                                                             {BAYER_PATTERN_GRGR, 85},
                                                             {BAYER_PATTERN_GBGB, 85}}};
    for (const auto& [pattern, hue] : hues) {
        Picture out(4);
        convertBayer(raw, 2, 2, BAYER_OUTPUT_H, pattern, out);
        EXPECT_EQ(out[0], hue) << pattern;
    }
    Picture rgb{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    Picture out(4);
    mosaic(rgb, 2, 2, out);
    EXPECT_EQ(out, (Picture{2, 4, 9, 11})) << "green, red / blue, green";
}
