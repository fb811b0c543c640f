#include "analysis/extraction/chaincode/ContourStarts.h"

#include <algorithm>
#include <bit>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace tarvik::analysis::extraction::chaincode {

namespace {

constexpr std::size_t WORD_BITS = 32;
constexpr std::size_t BLOCK_WORDS = 16;

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

using Block = std::span<const std::uint32_t, BLOCK_WORDS>;

#ifdef __x86_64__

/// The compiler makes a chain of 16 steps of the plain loop.
bool anySet(Block words)
{
    const auto* const v = reinterpret_cast<const __m128i*>(words.data());
    const __m128i low = _mm_or_si128(_mm_loadu_si128(v), _mm_loadu_si128(v + 1));
    const __m128i high = _mm_or_si128(_mm_loadu_si128(v + 2), _mm_loadu_si128(v + 3));
    const __m128i zero = _mm_cmpeq_epi8(_mm_or_si128(low, high), _mm_setzero_si128());
    return _mm_movemask_epi8(zero) != 0xFFFF;
}

#else

bool anySet(Block words)
{
    std::uint32_t any = 0;
    for (const std::uint32_t word : words) {
        any |= word;
    }
    return any != 0;
}

#endif

// The block has whole rows on both sides. The result overlaps with nothing, which lets the compiler
// use vectors.

/// For a width that is a multiple of 32.
void findAligned(const std::uint32_t* words, std::size_t wordsPerRow,
                 std::uint32_t* __restrict result)
{
    const std::uint32_t* const up = words - wordsPerRow;
    const std::uint32_t* const down = words + wordsPerRow;
    for (std::size_t i = 0; i < BLOCK_WORDS; ++i) {
        result[i] = starts(words[i], up[i], down[i]);
    }
}

/// For a row of wordsPerRow words and `shift` more bits, 0 < shift < 32.
void findShifted(const std::uint32_t* words, std::size_t wordsPerRow, int shift,
                 std::uint32_t* __restrict result)
{
    const std::uint32_t* const up = words - wordsPerRow;
    const std::uint32_t* const down = words + wordsPerRow;
    for (std::size_t i = 0; i < BLOCK_WORDS; ++i) {
        const std::uint32_t above = *(up + i - 1) >> (32 - shift) | up[i] << shift;
        const std::uint32_t below = down[i] >> shift | down[i + 1] << (32 - shift);
        result[i] = starts(words[i], above, below);
    }
}

} // namespace

void ContourStarts::load(const image::CompressedBinaryImage& image)
{
    const std::span<const std::uint32_t> words = image.words();
    const std::size_t blocks = (words.size() + BLOCK_WORDS - 1) / BLOCK_WORDS;
    _size = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
    _words.resize(words.size()); // keeps its storage while the region stays the same
    _blocks.resize((blocks + WORD_BITS - 1) / WORD_BITS);
    std::size_t sample = 0; // of one word in each block
    for (std::size_t i = 0; i < _blocks.size(); ++i) {
        const std::size_t end = std::min(blocks, (i + 1) * WORD_BITS);
        std::uint32_t bits = 0;
        for (std::size_t block = i * WORD_BITS; block < end; ++block) {
            const auto rest = words.subspan(block * BLOCK_WORDS);
            if (rest.size() < BLOCK_WORDS || anySet(rest.first<BLOCK_WORDS>())) {
                loadBlock(image, block * BLOCK_WORDS);
                bits |= 1U << block % WORD_BITS;
                sample += _words[block * BLOCK_WORDS] != 0 ? 1U : 0U;
            }
        }
        _blocks[i] = bits;
    }
    _dense = 4 * sample > 3 * blocks;
}

void ContourStarts::loadBlock(const image::CompressedBinaryImage& image, std::size_t first)
{
    const std::span<const std::uint32_t> words = image.words();
    const std::ptrdiff_t width = image.width();
    const auto wordsPerRow = static_cast<std::size_t>(width) / WORD_BITS;
    const std::size_t end = std::min(first + BLOCK_WORDS, words.size());
    if (first < wordsPerRow + 1 || first + BLOCK_WORDS + wordsPerRow + 1 > words.size()) {
        for (std::size_t i = first; i < end; ++i) {
            const auto bit = static_cast<std::ptrdiff_t>(WORD_BITS * i);
            _words[i] = starts(words[i], bitsAt(words, bit - width), bitsAt(words, bit + width));
        }
    } else if (width % 32 == 0) {
        findAligned(&words[first], wordsPerRow, &_words[first]);
    } else {
        findShifted(&words[first], wordsPerRow, static_cast<int>(width % 32), &_words[first]);
    }
}

void ContourStarts::clear()
{
    _size = 0; // the storage stays
}

std::size_t ContourStarts::next(std::size_t index) const
{
    const std::size_t word = index / WORD_BITS;
    const std::size_t block = word / BLOCK_WORDS;
    const std::size_t here = isLoaded(block) ? firstInBlock(word) : _size;
    return here < _size ? here : firstInBlock(nextBlock(block + 1) * BLOCK_WORDS);
}

bool ContourStarts::isLoaded(std::size_t block) const
{
    return block / WORD_BITS < _blocks.size() &&
           (_blocks[block / WORD_BITS] >> block % WORD_BITS & 1U) != 0;
}

std::size_t ContourStarts::firstInBlock(std::size_t word) const
{
    const std::size_t end = std::min(word - word % BLOCK_WORDS + BLOCK_WORDS, _words.size());
    for (std::size_t i = word; i < end; ++i) {
        if (_words[i] != 0) {
            return i * WORD_BITS + static_cast<std::size_t>(std::countr_zero(_words[i]));
        }
    }
    return _size;
}

std::size_t ContourStarts::nextBlock(std::size_t block) const
{
    const std::span<const std::uint32_t> words = _words;
    std::uint32_t mask = ~0U << block % WORD_BITS;
    for (std::size_t i = block / WORD_BITS; i < _blocks.size(); ++i) {
        for (std::uint32_t rest = _blocks[i] & mask; rest != 0; rest &= rest - 1) {
            const std::size_t found =
                i * WORD_BITS + static_cast<std::size_t>(std::countr_zero(rest));
            const auto from = words.subspan(found * BLOCK_WORDS);
            if (from.size() < BLOCK_WORDS || anySet(from.first<BLOCK_WORDS>())) {
                return found;
            }
        }
        mask = ~0U;
    }
    return _blocks.size() * WORD_BITS;
}

} // namespace tarvik::analysis::extraction::chaincode
