#include "ocamera/simulated/Fpga.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace OCamera::simulated {

namespace {

constexpr std::uint32_t NOT_INVERTED = 1U << 31;

/// Output byte for every grey value; a table has no special cases.
std::array<std::uint8_t, 256> thresholdTable(int low, int high, bool invert)
{
    std::array<std::uint8_t, 256> table{};
    for (int grey = 0; grey < 256; ++grey) {
        const bool inside = low <= grey && grey <= high;
        table[static_cast<std::size_t>(grey)] = inside != invert ? 255 : 0;
    }
    return table;
}

struct Rgb
{
    int red;
    int green;
    int blue;
};

int hue(const Rgb& c)
{
    const int max = std::max({c.red, c.green, c.blue});
    const int range = max - std::min({c.red, c.green, c.blue});
    if (range == 0) {
        return 0;
    }
    // Sixths of the circle from the colour that is strongest, towards the stronger of the others.
    int sixths = 0;
    if (max == c.red) {
        sixths = c.green - c.blue;
    } else if (max == c.green) {
        sixths = 2 * range + c.blue - c.red;
    } else {
        sixths = 4 * range + c.red - c.green;
    }
    const int circle = 6 * range;
    return (((sixths + circle) * 256 + circle / 2) / circle) & 0xFF;
}

int saturation(const Rgb& c)
{
    const int max = std::max({c.red, c.green, c.blue});
    const int range = max - std::min({c.red, c.green, c.blue});
    return max == 0 ? 0 : (255 * range + max / 2) / max;
}

int value(const Rgb& c)
{
    return std::max({c.red, c.green, c.blue});
}

/// Applies `component` to the colour of every square. Where red lies in the square alternates, so
/// its four pixels are taken by the parity of the square's corner.
template <class Component>
void forEachSquare(std::span<const std::uint8_t> in, int width, int height, int redX, int redY,
                   std::span<std::uint8_t> out, Component component)
{
    for (int y = 0; y < height; ++y) {
        const int top = std::min(y, height - 2);
        const int redRow = (top & 1) == redY ? top : top + 1;
        const int blueRow = 2 * top + 1 - redRow;
        const std::uint8_t* reds = in.data() + std::ptrdiff_t{redRow} * width;
        const std::uint8_t* blues = in.data() + std::ptrdiff_t{blueRow} * width;
        std::uint8_t* line = out.data() + std::ptrdiff_t{y} * width;
        for (int x = 0; x < width; ++x) {
            const int left = std::min(x, width - 2);
            const int redColumn = (left & 1) == redX ? left : left + 1;
            const int blueColumn = 2 * left + 1 - redColumn;
            const Rgb c{reds[redColumn], (reds[blueColumn] + blues[redColumn] + 1) / 2,
                        blues[blueColumn]};
            line[x] = static_cast<std::uint8_t>(component(c));
        }
    }
}

void intensities(std::span<const std::uint8_t> in, int width, int height,
                 std::span<std::uint8_t> out)
{
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* upper = in.data() + std::ptrdiff_t{std::min(y, height - 2)} * width;
        const std::uint8_t* lower = upper + width;
        std::uint8_t* line = out.data() + std::ptrdiff_t{y} * width;
        for (int x = 0; x < width - 1; ++x) {
            line[x] = static_cast<std::uint8_t>(
                (upper[x] + upper[x + 1] + lower[x] + lower[x + 1] + 2) / 4);
        }
        line[width - 1] = line[width - 2];
    }
}

} // namespace

void threshold(std::span<const std::uint8_t> in, const BinarizationParameters& parameters,
               std::span<std::uint8_t> out)
{
    const std::uint8_t low = parameters.low;
    const auto extent = static_cast<std::uint8_t>(parameters.high - low);
    const std::uint8_t outside = parameters.invert != 0 ? 255 : 0;
    const std::uint8_t inside = parameters.low <= parameters.high ? 255 - outside : outside;
    for (std::size_t i = 0; i < in.size(); ++i) { // becomes vector instructions
        out[i] = static_cast<std::uint8_t>(in[i] - low) <= extent ? inside : outside;
    }
}

void neighbours(std::span<const std::uint8_t> in, int width, int height,
                const NeighbourhoodParameters& parameters, std::span<std::uint8_t> out)
{
    const auto low = static_cast<int>(parameters.thresholds & 0xFF);
    const auto high = static_cast<int>(parameters.thresholds >> 8 & 0xFF);
    const bool invert = (parameters.thresholds & NOT_INVERTED) == 0;
    const auto table = thresholdTable(low, high, invert);

    std::fill(out.begin(), out.end(), std::uint8_t{0});
    const std::ptrdiff_t w = width;
    const std::array<std::ptrdiff_t, 8> offsets{-w - 1, -w, -w + 1, 1, w + 1, w, w - 1, -1};
    for (int y = 1; y < height - 1; ++y) {
        for (int x = 1; x < width - 1; ++x) {
            const std::uint8_t* pixel = in.data() + y * w + x;
            if (table[*pixel] == 0) {
                continue;
            }
            unsigned code = 0;
            for (unsigned k = 0; k < offsets.size(); ++k) {
                code |= (table[pixel[offsets[k]]] & 1U) << k;
            }
            out[static_cast<std::size_t>(y * w + x)] =
                static_cast<std::uint8_t>(code == 0xFF ? 0 : code);
        }
    }
}

void mosaic(std::span<const std::uint8_t> rgb, int width, int height, std::span<std::uint8_t> out)
{
    // Index of the colour in red, green, blue, in even and odd columns.
    constexpr std::array<std::array<std::size_t, 2>, 2> PATTERN{{{1, 0}, {2, 1}}};
    for (int y = 0; y < height; ++y) {
        const auto [even, odd] = PATTERN[static_cast<std::size_t>(y & 1)];
        const std::uint8_t* from = rgb.data() + 3 * std::ptrdiff_t{y} * width;
        std::uint8_t* line = out.data() + std::ptrdiff_t{y} * width;
        int x = 0;
        for (; x + 1 < width; x += 2, from += 6) {
            line[x] = from[even];
            line[x + 1] = from[odd + 3];
        }
        if (x < width) {
            line[x] = from[even];
        }
    }
}

void convertBayer(std::span<const std::uint8_t> in, int width, int height, eBayerOutput output,
                  eBayerPattern pattern, std::span<std::uint8_t> out)
{
    const int redX = pattern == BAYER_PATTERN_GRGR || pattern == BAYER_PATTERN_BGBG ? 1 : 0;
    const int redY = pattern == BAYER_PATTERN_GBGB || pattern == BAYER_PATTERN_BGBG ? 1 : 0;
    switch (output) {
    case BAYER_OUTPUT_RAW:
        std::copy(in.begin(), in.end(), out.begin());
        break;
    case BAYER_OUTPUT_H:
        forEachSquare(in, width, height, redX, redY, out, hue);
        break;
    case BAYER_OUTPUT_S:
        forEachSquare(in, width, height, redX, redY, out, saturation);
        break;
    case BAYER_OUTPUT_V:
        forEachSquare(in, width, height, redX, redY, out, value);
        break;
    case BAYER_OUTPUT_I:
        intensities(in, width, height, out);
        break;
    }
}

} // namespace OCamera::simulated
