#include "image/CompressedBinaryImage.h"

#include "core/Exception.h"

#include <array>
#include <cstddef>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace tarvik::image {

namespace {

constexpr std::size_t WORD_BITS = 32;

#ifdef __SSE2__

/// Bit k of the result is set when pixel k of the 32 is not zero.
std::uint32_t packWord(const std::uint8_t* pixels)
{
    const __m128i zero = _mm_setzero_si128();
    const auto zeroMask = [&](const std::uint8_t* p) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, zero)));
    };
    return ~(zeroMask(pixels) | zeroMask(pixels + 16) << 16);
}

#else

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first pixel is the lowest byte");

/// Bit k of the result is set when pixel k of the 32 is not zero.
std::uint32_t packWord(const std::uint8_t* pixels)
{
    std::array<std::uint32_t, 8>
        words; // NOLINT(cppcoreguidelines-pro-type-member-init): filled at once
    std::memcpy(words.data(), pixels, sizeof words);
    std::uint32_t any = 0;
    for (const std::uint32_t word : words) {
        any |= word;
    }
    if (any == 0) {
        return 0; // most of a picture is background
    }
    std::uint32_t packed = 0;
    for (std::size_t i = words.size(); i-- > 0;) {
        // The top bit of each byte that is not zero; the product gathers the four in bits 24
        // ... 27.
        const std::uint32_t word = words[i];
        const std::uint32_t tops = (((word & 0x7F7F7F7FU) + 0x7F7F7F7FU) | word) & 0x80808080U;
        packed = packed << 4 | ((tops >> 7) * 0x01020408U) >> 24;
    }
    return packed;
}

#endif

/// The same for the last, fewer than 32 pixels.
std::uint32_t packTail(const std::uint8_t* pixels, std::size_t count)
{
    std::array<std::uint8_t, WORD_BITS> padded{};
    std::memcpy(padded.data(), pixels, count);
    return packWord(padded.data());
}

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
    std::size_t done = 0;
    for (; done + WORD_BITS <= count; done += WORD_BITS) {
        writer.append(packWord(pixels + done), WORD_BITS);
    }
    if (done < count) {
        writer.append(packTail(pixels + done, count - done), count - done);
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
    refuseColor(image);
    reshape(image.width(), image.height());
    // Rows follow each other without padding here and there.
    const std::uint8_t* const pixels = image.data();
    const std::size_t count = image.pixelCount();
    const std::size_t whole = count / WORD_BITS;
    for (std::size_t i = 0; i < whole; ++i) {
        _words[i] = packWord(pixels + i * WORD_BITS);
    }
    if (whole < _words.size()) {
        _words[whole] = packTail(pixels + whole * WORD_BITS, count - whole * WORD_BITS);
    }
}

void CompressedBinaryImage::reshape(std::uint16_t w, std::uint16_t h)
{
    if (w == _width && h == _height) {
        return;
    }
    _words.assign((std::size_t{w} * h + WORD_BITS - 1) / WORD_BITS, 0);
    _width = w;
    _height = h;
}

} // namespace tarvik::image
