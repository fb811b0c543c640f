#include "image/Packing.h"

#include "image/Words.h"

#include <array>
#include <cstring>
#include <memory>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace tarvik::image {

namespace {

constexpr std::size_t WORD_BITS = 32;

/// Fewer than 32 pixels.
std::uint32_t packTail(const std::uint8_t* pixels, std::size_t count, ByteWindow window)
{
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < count; ++i) {
        packed |= (window.contains(pixels[i]) ? 1U : 0U) << i;
    }
    return packed;
}

#ifdef __x86_64__

// A byte v is inside when v - low, modulo 256, does not exceed extent, and then it is the smaller
// one of the two.

std::uint32_t insideMask(const std::uint8_t* pixels, __m128i low, __m128i extent)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    const __m128i distance = _mm_sub_epi8(bytes, low);
    return static_cast<std::uint32_t>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(distance, extent), distance)));
}

void packNarrow(const std::uint8_t* pixels, std::size_t count, ByteWindow window,
                std::uint32_t* words)
{
    const __m128i low = _mm_set1_epi8(static_cast<char>(window.low()));
    const __m128i extent = _mm_set1_epi8(static_cast<char>(window.extent()));
    const std::uint32_t flip = window.complement() ? ~0U : 0U;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* const group = pixels + i * WORD_BITS;
        words[i] =
            (insideMask(group, low, extent) | insideMask(group + 16, low, extent) << 16) ^ flip;
    }
}

constexpr std::size_t GROUP_WORDS = 4;

/// Has the pixels some groups ahead fetched: a picture is more than the processor fetches in time
/// by itself. Behind the picture's end that does nothing.
void prefetch(const std::uint8_t* group)
{
    constexpr std::uintptr_t DISTANCE = 1024;
    constexpr std::uintptr_t CACHE_LINE = 64;
    const auto ahead = reinterpret_cast<std::uintptr_t>(group) + DISTANCE;
    __builtin_prefetch(reinterpret_cast<const void*>(ahead));
    __builtin_prefetch(reinterpret_cast<const void*>(ahead + CACHE_LINE));
}

/// Whole groups of four words. Compiled for AVX2, and called on processors only that have it.
__attribute__((target("avx2"))) void packWide(const std::uint8_t* pixels, std::size_t count,
                                              ByteWindow window, std::uint32_t* words)
{
    const __m256i low = _mm256_set1_epi8(static_cast<char>(window.low()));
    const __m256i extent = _mm256_set1_epi8(static_cast<char>(window.extent()));
    const std::uint32_t flip = window.complement() ? ~0U : 0U;
    for (std::size_t first = 0; first < count; first += GROUP_WORDS) {
        prefetch(pixels + first * WORD_BITS);
#pragma GCC unroll 4
        for (std::size_t i = first; i < first + GROUP_WORDS; ++i) {
            const auto* const group = reinterpret_cast<const __m256i*>(pixels + i * WORD_BITS);
            const __m256i distance = _mm256_sub_epi8(_mm256_loadu_si256(group), low);
            const __m256i inside = _mm256_cmpeq_epi8(_mm256_min_epu8(distance, extent), distance);
            words[i] = static_cast<std::uint32_t>(_mm256_movemask_epi8(inside)) ^ flip;
        }
    }
}

/// Whole words.
void packWords(const std::uint8_t* pixels, std::size_t count, ByteWindow window,
               std::uint32_t* words)
{
    // Rows of a few words are not worth waking the wide half of the processor.
    constexpr std::size_t FEW_WORDS = 64;
    std::size_t wide = 0;
    if (count > FEW_WORDS && __builtin_cpu_supports("avx2") != 0) {
        wide = count - count % GROUP_WORDS;
        packWide(pixels, wide, window, words);
    }
    packNarrow(pixels + wide * WORD_BITS, count - wide, window, words + wide);
}

#else

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first pixel is the lowest byte");

constexpr std::uint32_t HIGH = 0x80808080;

std::uint32_t loadFour(const std::uint8_t* pixels)
{
    std::uint32_t word = 0;
    std::memcpy(&word, std::assume_aligned<sizeof word>(pixels), sizeof word);
    return word;
}

/// The 32 bits of as many aligned pixels: test gives the top bit of each of four bytes that is
/// foreground.
template <class Test>
inline std::uint32_t gather(const std::uint8_t* pixels, Test test)
{
    std::uint32_t packed = 0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < WORD_BITS; i += 8) {
        // The product brings the eight bits side by side, at the top, and none on top of another.
        const std::uint32_t spread =
            test(loadFour(pixels + i)) >> 4 | test(loadFour(pixels + i + 4));
        packed = packed >> 8 | (spread * 0x204081U & 0xFF000000U);
    }
    return packed;
}

template <class Test>
void gatherAll(const std::uint8_t* pixels, std::size_t count, std::uint32_t* words, Test test)
{
    for (std::size_t i = 0; i < count; ++i) {
        words[i] = gather(pixels + i * WORD_BITS, test);
    }
}

/// Most of a binary picture is background.
bool allZero(const std::uint8_t* pixels)
{
    std::uint32_t any = 0;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < WORD_BITS; i += 4) {
        any |= loadFour(pixels + i);
    }
    return any == 0;
}

void packNotZero(const std::uint8_t* pixels, std::size_t count, std::uint32_t* words)
{
    const auto notZero = [](std::uint32_t v) { return (((v & ~HIGH) + ~HIGH) | v) & HIGH; };
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* const group = pixels + i * WORD_BITS;
        words[i] = allZero(group) ? 0 : gather(group, notZero);
    }
}

/// In four bytes at a time (Lamport, "Multiple byte processing with full-word instructions", 1975).
void packAligned(const std::uint8_t* pixels, std::size_t count, ByteWindow window,
                 std::uint32_t* words)
{
    const std::uint32_t low = window.low();
    // The lower seven bits are compared by a subtraction that never borrows.
    const std::uint32_t threshold = (low & 0x7FU) * 0x01010101U;
    if (window.complement() || low + window.extent() != 255) {
        const image::words::WindowTest test(window);
        gatherAll(pixels, count, words,
                  [&](std::uint32_t v) { return static_cast<std::uint32_t>(test.insideBits(v)); });
    } else if (low == 1) {
        packNotZero(pixels, count, words);
    } else if (low < 128) {
        gatherAll(pixels, count, words,
                  [=](std::uint32_t v) { return (((v | HIGH) - threshold) | v) & HIGH; });
    } else {
        gatherAll(pixels, count, words,
                  [=](std::uint32_t v) { return ((v | HIGH) - threshold) & v & HIGH; });
    }
}

/// Whole words.
void packWords(const std::uint8_t* pixels, std::size_t count, ByteWindow window,
               std::uint32_t* words)
{
    if (image::words::isAligned(pixels)) {
        packAligned(pixels, count, window, words);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        alignas(4) std::array<std::uint8_t, WORD_BITS> copy;
        std::memcpy(copy.data(), pixels + i * WORD_BITS, copy.size());
        packAligned(copy.data(), 1, window, words + i);
    }
}

#endif

} // namespace

void pack(std::span<const std::uint8_t> pixels, ByteWindow window, std::uint32_t* words)
{
    const std::size_t whole = pixels.size() / WORD_BITS;
    packWords(pixels.data(), whole, window, words);
    const std::size_t rest = pixels.size() % WORD_BITS;
    if (rest > 0) {
        words[whole] = packTail(pixels.data() + whole * WORD_BITS, rest, window);
    }
}

} // namespace tarvik::image
