#pragma once

#include "image/Image.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// What the kernels of image/Binarization.h do, as plainly as it can be said: pixel by pixel. Kept
/// to be measured against.
namespace tarvik::bench {

struct Bounds
{
    std::uint8_t low;
    std::uint8_t high;

    [[nodiscard]] bool contain(std::uint8_t v) const { return low <= v && v <= high; }
};

inline void binarizePlainly(const image::Image& grey, Bounds window, bool invert,
                            image::Image& binary)
{
    for (std::size_t i = 0; i < grey.pixelCount(); ++i) {
        const bool inside = window.contain(grey.data()[i]);
        binary.data()[i] = (inside && !invert) || (!inside && invert) ? 255 : 0;
    }
}

/// `hue` may wrap around.
inline void binarizePlainly(const std::uint8_t* h, const std::uint8_t* s, const std::uint8_t* v,
                            const std::array<Bounds, 3>& windows, bool invert, image::Image& binary)
{
    const Bounds hue = windows[0];
    for (std::size_t i = 0; i < binary.pixelCount(); ++i) {
        const bool inHue =
            hue.low <= hue.high ? hue.contain(h[i]) : h[i] >= hue.low || h[i] <= hue.high;
        const bool inside = inHue && windows[1].contain(s[i]) && windows[2].contain(v[i]);
        binary.data()[i] = inside != invert ? 255 : 0;
    }
}

/// Neighbours clockwise from the upper left one.
inline void encodePlainly(const image::Image& grey, Bounds window, image::Image& codes)
{
    const int width = grey.width();
    const std::array<int, 8> offsets{-width - 1, -width, -width + 1, 1,
                                     width + 1,  width,  width - 1,  -1};
    for (int y = 1; y + 1 < grey.height(); ++y) {
        for (int x = 1; x + 1 < width; ++x) {
            const std::uint8_t* const pixel = grey.data() + y * width + x;
            int code = 0;
            if (window.contain(*pixel)) {
                for (std::size_t k = 0; k < offsets.size(); ++k) {
                    code |= window.contain(pixel[offsets[k]]) ? 1 << k : 0;
                }
            }
            codes.data()[y * width + x] = static_cast<std::uint8_t>(code == 255 ? 0 : code);
        }
    }
}

} // namespace tarvik::bench
