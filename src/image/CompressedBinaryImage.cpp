#include "image/CompressedBinaryImage.h"

#include "core/Exception.h"
#include "image/Packing.h"

#include <algorithm>

namespace tarvik::image {

namespace {

constexpr std::size_t WORD_BITS = 32;

constexpr ByteWindow NOT_ZERO = ByteWindow::interval(1, 255);

/// Appends groups of at most 32 bits to a word array.
class BitWriter
{
public:
    explicit BitWriter(std::uint32_t* words) : _words(words) {}

    /// The bits above count must be 0.
    void append(std::uint32_t bits, std::size_t count)
    {
        _pending |= std::uint64_t{bits} << _pendingCount;
        _pendingCount += count;
        if (_pendingCount >= WORD_BITS) {
            *_words++ = static_cast<std::uint32_t>(_pending);
            _pending >>= WORD_BITS;
            _pendingCount -= WORD_BITS;
        }
    }

    void finish()
    {
        if (_pendingCount > 0) {
            *_words = static_cast<std::uint32_t>(_pending);
        }
    }

private:
    std::uint32_t* _words;
    std::uint64_t _pending = 0;
    std::size_t _pendingCount = 0;
};

void packRow(const std::uint8_t* pixels, std::size_t count, BitWriter& writer)
{
    const WordPacker packer(NOT_ZERO);
    std::size_t done = 0;
    for (; done + WORD_BITS <= count; done += WORD_BITS) {
        writer.append(packer.pack(pixels + done), WORD_BITS);
    }
    if (done < count) {
        writer.append(packer.packTail(pixels + done, count - done), count - done);
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
    BitWriter writer(_words.data());
    const std::size_t stride = image.width();
    for (std::size_t row = y; row < std::size_t{y} + h; ++row) {
        packRow(image.data() + row * stride + x, w, writer);
    }
    writer.finish();
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
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const bool foreground = (_words[i / WORD_BITS] >> i % WORD_BITS & 1U) != 0;
        pixels[i] = foreground ? 255 : 0;
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
