#include "image/Packing.h"

#include <array>
#include <cstring>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace tarvik::image {

namespace {

constexpr std::size_t WORD_BITS = 32;

} // namespace

std::uint32_t WordPacker::packTail(const std::uint8_t* pixels, std::size_t count) const
{
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < count; ++i) {
        packed |= (_window.contains(pixels[i]) ? 1U : 0U) << i;
    }
    return packed;
}

#ifdef __x86_64__

namespace {

// A byte v is inside when v - low, modulo 256, does not exceed extent, and then it is the smaller
// one of the two.

std::uint32_t insideMask(const std::uint8_t* pixels, __m128i low, __m128i extent)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
    const __m128i distance = _mm_sub_epi8(bytes, low);
    return static_cast<std::uint32_t>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(distance, extent), distance)));
}

/// Compiled for AVX2, and called on processors only that have it.
__attribute__((target("avx2"))) void packWide(const std::uint8_t* pixels, std::size_t count,
                                              ByteWindow window, std::uint32_t* words)
{
    const __m256i low = _mm256_set1_epi8(static_cast<char>(window.low()));
    const __m256i extent = _mm256_set1_epi8(static_cast<char>(window.extent()));
    const std::uint32_t flip = window.complement() ? ~0U : 0U;
    for (std::size_t i = 0; i < count; ++i) {
        const auto* const group = reinterpret_cast<const __m256i*>(pixels + i * WORD_BITS);
        const __m256i distance = _mm256_sub_epi8(_mm256_loadu_si256(group), low);
        const __m256i inside = _mm256_cmpeq_epi8(_mm256_min_epu8(distance, extent), distance);
        words[i] = static_cast<std::uint32_t>(_mm256_movemask_epi8(inside)) ^ flip;
    }
}

} // namespace

std::uint32_t WordPacker::pack(const std::uint8_t* pixels) const
{
    const __m128i low = _mm_set1_epi8(static_cast<char>(_window.low()));
    const __m128i extent = _mm_set1_epi8(static_cast<char>(_window.extent()));
    const std::uint32_t flip = _window.complement() ? ~0U : 0U;
    return (insideMask(pixels, low, extent) | insideMask(pixels + 16, low, extent) << 16) ^ flip;
}

#else

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first pixel is the lowest byte");

namespace {

/// Most of a binary picture is background.
bool allZero(const std::uint8_t* pixels)
{
    std::array<std::uint32_t, WORD_BITS / 4> group{};
    std::memcpy(group.data(), pixels, sizeof group);
    std::uint32_t any = 0;
    for (const std::uint32_t word : group) {
        any |= word;
    }
    return any == 0;
}

} // namespace

std::uint32_t WordPacker::pack(const std::uint8_t* pixels) const
{
    if (!_window.contains(0) && allZero(pixels)) {
        return 0;
    }
    // Products gather the lowest bits of four bytes in a nibble.
    constexpr words::Word LOWEST = words::broadcast(1);
    std::uint32_t packed = 0;
    for (std::size_t i = 0; i < WORD_BITS; i += sizeof(words::Word)) {
        const words::Word bits = _test.inside(words::load(pixels + i)) & LOWEST;
        for (std::size_t half = 0; half < sizeof(words::Word); half += 4) {
            const auto four = static_cast<std::uint32_t>(bits >> 8 * half);
            packed |= (four * 0x10204080U >> 28) << (i + half);
        }
    }
    return packed;
}

#endif

void pack(std::span<const std::uint8_t> pixels, ByteWindow window, std::uint32_t* words)
{
    const std::size_t whole = pixels.size() / WORD_BITS;
    const WordPacker packer(window);
#ifdef __x86_64__
    const bool wide = __builtin_cpu_supports("avx2") != 0;
    if (wide) {
        packWide(pixels.data(), whole, window, words);
    }
#else
    constexpr bool wide = false;
#endif
    for (std::size_t i = 0; i < whole && !wide; ++i) {
        words[i] = packer.pack(pixels.data() + i * WORD_BITS);
    }
    const std::size_t rest = pixels.size() % WORD_BITS;
    if (rest > 0) {
        words[whole] = packer.packTail(pixels.data() + whole * WORD_BITS, rest);
    }
}

} // namespace tarvik::image
