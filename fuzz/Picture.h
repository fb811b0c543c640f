#pragma once

#include "Target.h"
#include "image/Image.h"

#include <algorithm>
#include <vector>

namespace tarvik::fuzz {

/// A binary picture: a byte each for width, height (0 to 143 pixels) and size of the dots, then the
/// dots, eight to a byte, from the front again when they run out.
inline image::Image takePicture(Input& input)
{
    constexpr int sides = 144; // small ones find as much, sooner
    const int width = input.byte() % sides;
    const int height = input.byte() % sides;
    const int dot = 1 + input.byte() % 16;
    const int dotsPerRow = (width + dot - 1) / dot;
    const int rows = (height + dot - 1) / dot;
    const auto wanted = static_cast<std::size_t>((dotsPerRow * rows + 7) / 8);
    std::vector<std::uint8_t> dots(
        std::max<std::size_t>(std::min(wanted, input.bytesAvailable()), 1));
    std::ranges::generate(dots, [&] { return input.byte(); });

    image::Image picture(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto i = static_cast<std::size_t>(y / dot * dotsPerRow + x / dot);
            const unsigned byte = dots[i / 8 % dots.size()];
            picture.data()[y * width + x] = (byte >> i % 8 & 1U) != 0 ? 255 : 0;
        }
    }
    return picture;
}

} // namespace tarvik::fuzz
