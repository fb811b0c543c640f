#include "image/CompressedBinaryImage.h"

#include "core/Exception.h"
#include "image/Packing.h"

#include <algorithm>
#include <cstring>

namespace tarvik::image {

namespace {

constexpr std::size_t WORD_BITS = 32;

constexpr ByteWindow NOT_ZERO = ByteWindow::interval(1, 255);

/// Appends count bits, the highest of the last word being 0, behind the ones that are there.
void append(std::span<const std::uint32_t> bits, std::size_t count, std::size_t position,
            std::uint32_t* words)
{
    const std::size_t shift = position % WORD_BITS;
    std::uint32_t* word = words + position / WORD_BITS;
    for (std::size_t done = 0; done < count; done += WORD_BITS) {
        const std::uint64_t pair = std::uint64_t{bits[done / WORD_BITS]} << shift;
        *word |= static_cast<std::uint32_t>(pair);
        ++word;
        if (shift + std::min(count - done, WORD_BITS) > WORD_BITS) {
            *word = static_cast<std::uint32_t>(pair >> WORD_BITS);
        }
    }
}

void refuseColor(const Image& image)
{
    if (image.channels() == 3) {
        throw Exception("Cannot compress color images.");
    }
}

} // namespace

void CompressedBinaryImage::load(const Image& image, std::uint16_t x, std::uint16_t y,
                                 std::uint16_t w, std::uint16_t h)
{
    refuseColor(image);
    if (x == 0 && y == 0 && w == image.width() && h == image.height()) {
        load(image);
        return;
    }
    reshape(w, h);
    if (w == 0) {
        return;
    }
    std::ranges::fill(_words, 0U);
    _row.resize((std::size_t{w} + WORD_BITS - 1) / WORD_BITS);
    for (std::size_t i = 0; i < h; ++i) {
        pack(image.bytes().subspan((y + i) * image.width() + x, w), NOT_ZERO, _row.data());
        append(_row, w, i * w, _words.data());
    }
}

void CompressedBinaryImage::load(const Image& image)
{
    load(image, NOT_ZERO);
}

void CompressedBinaryImage::load(const Image& grey, ByteWindow window)
{
    refuseColor(grey);
    reshape(grey.width(), grey.height());
    pack(grey.bytes(), window,
         _words.data()); // rows follow each other without padding on both sides
}

void CompressedBinaryImage::unpack(std::span<std::uint8_t> pixels) const
{
    for (std::size_t i = 0; i < pixels.size(); i += 8) {
        const std::uint64_t eight = _words[i / WORD_BITS] >> i % WORD_BITS & 0xFFU;
        // A copy of the bits in each byte, of which it keeps its own; then 0 stays, and any other
        // value becomes 255.
        const std::uint64_t own = (eight * 0x0101010101010101U) & 0x8040201008040201U;
        const std::uint64_t set = (own + 0x7F7F7F7F7F7F7F7FU) >> 7 & 0x0101010101010101U;
        const std::uint64_t bytes = set * 255;
        std::memcpy(&pixels[i], &bytes, std::min<std::size_t>(8, pixels.size() - i));
    }
}

void CompressedBinaryImage::clearRow(std::size_t row)
{
    const std::size_t end = (row + 1) * _width;
    for (std::size_t i = row * _width; i < end;) {
        const std::size_t bit = i % WORD_BITS;
        const std::size_t count = std::min(WORD_BITS - bit, end - i);
        _words[i / WORD_BITS] &= ~(~0U >> (WORD_BITS - count) << bit);
        i += count;
    }
}

void CompressedBinaryImage::clearFrame()
{
    if (wordCount() == 0) {
        return;
    }
    const std::size_t width = _width;
    const std::size_t height = _height;
    clearRow(0);
    clearRow(height - 1);
    // The last pixel of a row and the first one of the next are neighbours.
    for (std::size_t i = width; i < width * height; i += width) {
        _words[(i - 1) / WORD_BITS] &= ~(1U << (i - 1) % WORD_BITS);
        _words[i / WORD_BITS] &= ~(1U << i % WORD_BITS);
    }
}

void CompressedBinaryImage::reshape(std::uint16_t w, std::uint16_t h)
{
    if (w == _width && h == _height) {
        return;
    }
    _words.assign((std::size_t{w} * h + WORD_BITS - 1) / WORD_BITS + 1, 0);
    _width = w;
    _height = h;
}

} // namespace tarvik::image
