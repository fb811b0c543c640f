#include "analysis/extraction/chaincode/ContourStarts.h"

#include <algorithm>
#include <bit>

namespace tarvik::analysis::extraction::chaincode {

namespace {

/// The 32 bits from a bit index on, which may lie outside the words: 0 there.
std::uint32_t bitsAt(std::span<const std::uint32_t> words, std::ptrdiff_t index)
{
    const auto wordAt = [&](std::ptrdiff_t i) {
        const bool inside = i >= 0 && i < static_cast<std::ptrdiff_t>(words.size());
        return inside ? words[static_cast<std::size_t>(i)] : 0U;
    };
    const std::ptrdiff_t shift = index & 31;
    const std::ptrdiff_t word = (index - shift) / 32;
    const std::uint64_t pair = wordAt(word) | std::uint64_t{wordAt(word + 1)} << 32;
    return static_cast<std::uint32_t>(pair >> shift);
}

/// Foreground that is not covered both from above and from below.
std::uint32_t starts(std::uint32_t word, std::uint32_t above, std::uint32_t below)
{
    return word & ~(above & below);
}

/// The words that have whole rows on both sides, for a width that is a multiple of 32.
void findAligned(const std::uint32_t* words, std::ptrdiff_t wordsPerRow, std::ptrdiff_t begin,
                 std::ptrdiff_t end, std::uint32_t* result)
{
    for (std::ptrdiff_t i = begin; i < end; ++i) {
        result[i] = starts(words[i], words[i - wordsPerRow], words[i + wordsPerRow]);
    }
}

/// The same for a row of wordsPerRow words and `shift` more bits, 0 < shift < 32.
void findShifted(const std::uint32_t* words, std::ptrdiff_t wordsPerRow, int shift,
                 std::ptrdiff_t begin, std::ptrdiff_t end, std::uint32_t* result)
{
    for (std::ptrdiff_t i = begin; i < end; ++i) {
        const std::uint32_t above =
            words[i - wordsPerRow - 1] >> (32 - shift) | words[i - wordsPerRow] << shift;
        const std::uint32_t below = words[i + wordsPerRow] >> shift | words[i + wordsPerRow + 1]
                                                                          << (32 - shift);
        result[i] = starts(words[i], above, below);
    }
}

} // namespace

void ContourStarts::load(const image::CompressedBinaryImage& image)
{
    const std::span<const std::uint32_t> words = image.words();
    const auto count = static_cast<std::ptrdiff_t>(words.size());
    const std::ptrdiff_t width = image.width();
    _size = static_cast<std::size_t>(width) * static_cast<std::size_t>(image.height());
    _words.resize(words.size()); // keeps its storage while the region stays the same

    const std::ptrdiff_t wordsPerRow = width / 32;
    const auto begin = std::min(wordsPerRow + 1, count);
    const auto end = std::max(count - wordsPerRow - 1, begin);
    const auto atEdge = [&](std::ptrdiff_t i) {
        const auto slot = static_cast<std::size_t>(i);
        _words[slot] =
            starts(words[slot], bitsAt(words, 32 * i - width), bitsAt(words, 32 * i + width));
    };
    for (std::ptrdiff_t i = 0; i < begin; ++i) {
        atEdge(i);
    }
    if (width % 32 == 0) {
        findAligned(words.data(), wordsPerRow, begin, end, _words.data());
    } else {
        findShifted(words.data(), wordsPerRow, static_cast<int>(width % 32), begin, end,
                    _words.data());
    }
    for (std::ptrdiff_t i = end; i < count; ++i) {
        atEdge(i);
    }
}

void ContourStarts::clear()
{
    _words.clear();
    _size = 0;
}

std::size_t ContourStarts::next(std::size_t index) const
{
    for (std::size_t i = index / 32; i < _words.size(); ++i) {
        if (_words[i] != 0) {
            return i * 32 + static_cast<std::size_t>(std::countr_zero(_words[i]));
        }
    }
    return _size;
}

} // namespace tarvik::analysis::extraction::chaincode
