#pragma once

#include "image/Image.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string_view>
#include <vector>

namespace tarvik::test {

/// A binary image from rows of text: '.' is background, anything else foreground.
inline image::Image drawn(const std::vector<std::string_view>& rows)
{
    image::Image picture(static_cast<std::uint16_t>(rows.front().size()),
                         static_cast<std::uint16_t>(rows.size()));
    std::size_t i = 0;
    for (const std::string_view row : rows) {
        for (const char c : row) {
            picture.data()[i++] = c == '.' ? 0 : 255;
        }
    }
    return picture;
}

/// Fills the rectangle of w x h pixels at (x, y).
inline void fill(image::Image& picture, int x, int y, int w, int h, std::uint8_t value = 255)
{
    for (int row = y; row < y + h; ++row) {
        for (int column = x; column < x + w; ++column) {
            picture.data()[row * picture.width() + column] = value;
        }
    }
}

/// Every pixel by itself is foreground with this probability, with any byte but 0.
inline image::Image randomPicture(std::mt19937& random, int width, int height, double density)
{
    image::Image picture(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
    for (std::uint8_t& pixel : picture.bytes()) {
        const bool set = static_cast<double>(random() % 4096) < density * 4096;
        pixel = static_cast<std::uint8_t>(set ? 1 + random() % 255 : 0);
    }
    return picture;
}

/// Any bytes.
inline image::Image randomGrey(std::mt19937& random, int width, int height)
{
    image::Image picture(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
    for (std::uint8_t& pixel : picture.bytes()) {
        pixel = static_cast<std::uint8_t>(random());
    }
    return picture;
}

} // namespace tarvik::test
