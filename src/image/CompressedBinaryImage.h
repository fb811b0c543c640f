#pragma once

#include "image/ByteWindow.h"
#include "image/Image.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarvik::image {

/// A black-and-white picture packed to one bit per pixel, rows following each other without
/// padding: pixel (c, r) is bit i mod 32 of word i / 32, i = r x width + c. A set bit is
/// foreground; bits behind the last pixel are 0.
class CompressedBinaryImage
{
public:
    /// Packs the rectangle of w x h pixels at (x, y), which must lie inside the image.
    /// Throws Exception "Cannot compress color images."; the contents then stay.
    void load(const Image& image, std::uint16_t x, std::uint16_t y, std::uint16_t w,
              std::uint16_t h);
    /// Packs the whole image.
    void load(const Image& image);
    /// Thresholds the whole of a grey image: foreground is what lies inside the window.
    void load(const Image& grey, ByteWindow window);

    /// One byte per pixel again: 255 foreground, 0 background.
    void unpack(std::span<std::uint8_t> pixels) const;

    /// Makes the first and the last row and column background.
    void clearFrame();

    [[nodiscard]] int width() const { return _width; }

    [[nodiscard]] int height() const { return _height; }

    /// One more word, 0, follows them in memory, so that a few bits may be read across the end.
    [[nodiscard]] std::span<const std::uint32_t> words() const
    {
        return std::span(_words).first(wordCount());
    }

private:
    [[nodiscard]] std::size_t wordCount() const
    {
        return (std::size_t{_width} * _height + 31) / 32;
    }

    void reshape(std::uint16_t w, std::uint16_t h);
    void clearRow(std::size_t row);

    std::uint16_t _width = 0;
    std::uint16_t _height = 0;
    std::vector<std::uint32_t> _words;
    std::vector<std::uint32_t> _row; ///< one row of a region, on its way to its place
};

} // namespace tarvik::image
