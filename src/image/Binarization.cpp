#include "image/Binarization.h"

#include "image/Image.h"
#include "image/Words.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace tarvik::image {

namespace {

using words::Word;

#if defined(__SSE2__) || defined(__ARM_NEON)
/// The compiler turns the plain loops into vectors of bytes, three times as fast as words.
constexpr bool HAS_BYTE_VECTORS = true;
#else
constexpr bool HAS_BYTE_VECTORS = false;
#endif

constexpr std::uint8_t FOREGROUND = 255;

/// Bytes that fill whole words, when words are to be used.
template <class... Pointers>
std::size_t bytesInWords(std::size_t size, Pointers... pointers)
{
    if (HAS_BYTE_VECTORS || !(words::isAligned(pointers) && ...)) {
        return 0;
    }
    return size - size % sizeof(Word);
}

/// 255 inside, 0 outside; written so that it becomes byte vector instructions.
inline std::uint8_t inside(std::uint8_t v, std::uint8_t low, std::uint8_t extent, std::uint8_t flip)
{
    const auto distance = static_cast<std::uint8_t>(v - low);
    return static_cast<std::uint8_t>((distance <= extent ? FOREGROUND : 0) ^ flip);
}

std::uint8_t mask(bool set)
{
    return set ? FOREGROUND : 0;
}

} // namespace

void binarize(std::span<const std::uint8_t> grey, ByteWindow window, std::span<std::uint8_t> binary)
{
    assert(grey.size() == binary.size());
    const words::WindowTest test(window);
    const std::size_t size = grey.size();
    const std::uint8_t* const in = grey.data();
    std::uint8_t* const out = binary.data();
    const std::size_t inWords = bytesInWords(size, in, out);
    std::size_t i = 0;
    for (; i < inWords; i += sizeof(Word)) {
        words::store(out + i, test.inside(words::load(in + i)));
    }
    const std::uint8_t low = window.low();
    const std::uint8_t extent = window.extent();
    const std::uint8_t flip = mask(window.complement());
    for (; i < size; ++i) {
        out[i] = inside(in[i], low, extent, flip);
    }
}

void binarize(const Planes& picture, const std::array<ByteWindow, 3>& windows, bool invert,
              std::span<std::uint8_t> binary)
{
    const auto& [first, second, third] = picture;
    const auto& [w1, w2, w3] = windows;
    assert(first.size() == binary.size() && second.size() == binary.size() &&
           third.size() == binary.size());
    const std::size_t size = binary.size();
    const std::uint8_t* const p1 = first.data();
    const std::uint8_t* const p2 = second.data();
    const std::uint8_t* const p3 = third.data();
    std::uint8_t* const out = binary.data();
    const std::uint8_t flip = mask(invert);
    std::size_t i = 0;
    const words::WindowTest t1(w1);
    const words::WindowTest t2(w2);
    const words::WindowTest t3(w3);
    const std::size_t inWords = bytesInWords(size, p1, p2, p3, out);
    for (; i < inWords; i += sizeof(Word)) {
        const Word all = t1.inside(words::load(p1 + i)) & t2.inside(words::load(p2 + i)) &
                         t3.inside(words::load(p3 + i));
        words::store(out + i, all ^ words::broadcast(flip));
    }
    const std::array low{w1.low(), w2.low(), w3.low()};
    const std::array extent{w1.extent(), w2.extent(), w3.extent()};
    const std::array outside{mask(w1.complement()), mask(w2.complement()), mask(w3.complement())};
    for (; i < size; ++i) {
        out[i] = static_cast<std::uint8_t>((inside(p1[i], low[0], extent[0], outside[0]) &
                                            inside(p2[i], low[1], extent[1], outside[1]) &
                                            inside(p3[i], low[2], extent[2], outside[2])) ^
                                           flip);
    }
}

void intersect(std::span<std::uint8_t> binary, std::span<const std::uint8_t> plane)
{
    assert(plane.size() == binary.size());
    std::uint8_t* const out = binary.data();
    const std::uint8_t* const in = plane.data();
    const std::size_t inWords = bytesInWords(binary.size(), in, out);
    std::size_t i = 0;
    for (; i < inWords; i += sizeof(Word)) {
        words::store(out + i, words::load(out + i) & words::load(in + i));
    }
    for (; i < binary.size(); ++i) {
        out[i] &= in[i];
    }
}

void unite(std::span<std::uint8_t> binary, std::span<const std::uint8_t> plane)
{
    assert(plane.size() == binary.size());
    std::uint8_t* const out = binary.data();
    const std::uint8_t* const in = plane.data();
    const std::size_t inWords = bytesInWords(binary.size(), in, out);
    std::size_t i = 0;
    for (; i < inWords; i += sizeof(Word)) {
        words::store(out + i, words::load(out + i) | words::load(in + i));
    }
    for (; i < binary.size(); ++i) {
        out[i] |= in[i];
    }
}

namespace {

/// Codes of one row from three binarized rows; the first and the last pixel are left alone.
void encodeRow(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
               std::size_t width, std::uint8_t* codes)
{
    for (std::size_t x = 1; x + 1 < width; ++x) {
        const int neighbours = (above[x - 1] & 1) | (above[x] & 2) | (above[x + 1] & 4) |
                               (row[x + 1] & 8) | (below[x + 1] & 16) | (below[x] & 32) |
                               (below[x - 1] & 64) | (row[x - 1] & 128);
        const auto code = static_cast<std::uint8_t>(neighbours & row[x]);
        codes[x] = code == 255 ? std::uint8_t{0} : code; // surrounded: inside of an object
    }
}

} // namespace

void NeighbourEncoder::encode(const Image& grey, ByteWindow window, Image& codes)
{
    codes.reshape(grey.width(), grey.height());
    const std::size_t width = grey.width();
    const std::size_t height = grey.height();
    if (width < 3 || height < 3) {
        std::ranges::fill(codes.bytes(), std::uint8_t{0});
        return;
    }
    _rows.resize(3 * width);
    const auto binarizedRow = [&](std::size_t y) {
        return std::span(_rows).subspan(y % 3 * width, width);
    };
    const auto binarizeRow = [&](std::size_t y) {
        binarize(grey.bytes().subspan(y * width, width), window, binarizedRow(y));
    };
    binarizeRow(0);
    binarizeRow(1);
    for (std::size_t y = 1; y + 1 < height; ++y) {
        binarizeRow(y + 1);
        std::uint8_t* const out = codes.data() + y * width;
        encodeRow(binarizedRow(y - 1).data(), binarizedRow(y).data(), binarizedRow(y + 1).data(),
                  width, out);
        out[0] = 0;
        out[width - 1] = 0;
    }
    std::ranges::fill(codes.bytes().first(width), std::uint8_t{0});
    std::ranges::fill(codes.bytes().last(width), std::uint8_t{0});
}

} // namespace tarvik::image
