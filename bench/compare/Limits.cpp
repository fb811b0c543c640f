#include "compare/Limits.h"

#include <cstddef>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace tarvik::bench {

#ifdef __x86_64__

namespace {

const bool HAS_AVX2 = __builtin_cpu_supports("avx2") != 0;

const __m128i* at(const std::uint8_t* bytes)
{
    return reinterpret_cast<const __m128i*>(bytes);
}

__attribute__((target("avx2"))) std::uint64_t readWide(std::span<const std::uint8_t> bytes)
{
    __m256i sums[4] = {};
    for (std::size_t i = 0; i + 128 <= bytes.size(); i += 128) {
        for (std::size_t k = 0; k < 4; ++k) {
            const auto* const p = reinterpret_cast<const __m256i*>(bytes.data() + i + 32 * k);
            sums[k] = _mm256_add_epi64(sums[k], _mm256_loadu_si256(p));
        }
    }
    const __m256i sum =
        _mm256_add_epi64(_mm256_add_epi64(sums[0], sums[1]), _mm256_add_epi64(sums[2], sums[3]));
    return static_cast<std::uint64_t>(_mm256_extract_epi64(sum, 0) + _mm256_extract_epi64(sum, 1) +
                                      _mm256_extract_epi64(sum, 2) + _mm256_extract_epi64(sum, 3));
}

__attribute__((target("avx2"))) void thresholdWide(std::span<const std::uint8_t> grey,
                                                   std::span<std::uint8_t> binary)
{
    for (std::size_t i = 0; i + 32 <= grey.size(); i += 32) {
        const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(grey.data() + i));
        // Bytes of 128 and more are the negative ones.
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(binary.data() + i),
                            _mm256_cmpgt_epi8(_mm256_setzero_si256(), v));
    }
}

__attribute__((target("avx2"))) void packWide(std::span<const std::uint8_t> grey,
                                              std::span<std::uint32_t> bits)
{
    for (std::size_t i = 0; i < bits.size(); ++i) {
        const auto* const p = reinterpret_cast<const __m256i*>(grey.data() + 32 * i);
        bits[i] = static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_loadu_si256(p)));
    }
}

__attribute__((target("avx2"))) void squaredDifferencesWide(const Lanes& object,
                                                            std::span<const Lanes> templates,
                                                            std::span<std::int32_t> errors)
{
    const auto* const o = reinterpret_cast<const __m256i*>(object.values.data());
    const __m256i low = _mm256_load_si256(o);
    const __m256i high = _mm256_load_si256(o + 1);
    for (std::size_t i = 0; i < templates.size(); ++i) {
        const auto* const t = reinterpret_cast<const __m256i*>(templates[i].values.data());
        const __m256i a = _mm256_sub_epi16(low, _mm256_load_si256(t));
        const __m256i b = _mm256_sub_epi16(high, _mm256_load_si256(t + 1));
        const __m256i s = _mm256_add_epi32(_mm256_madd_epi16(a, a), _mm256_madd_epi16(b, b));
        __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(s), _mm256_extracti128_si256(s, 1));
        sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4E));
        sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
        errors[i] = _mm_cvtsi128_si32(sum);
    }
}

} // namespace

std::uint64_t readOnce(std::span<const std::uint8_t> bytes)
{
    if (HAS_AVX2) {
        return readWide(bytes);
    }
    __m128i sum = _mm_setzero_si128();
    for (std::size_t i = 0; i + 16 <= bytes.size(); i += 16) {
        sum = _mm_add_epi64(sum, _mm_loadu_si128(at(bytes.data() + i)));
    }
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(sum));
}

void threshold(std::span<const std::uint8_t> grey, std::span<std::uint8_t> binary)
{
    if (HAS_AVX2) {
        thresholdWide(grey, binary);
        return;
    }
    for (std::size_t i = 0; i + 16 <= grey.size(); i += 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(binary.data() + i),
                         _mm_cmplt_epi8(_mm_loadu_si128(at(grey.data() + i)), _mm_setzero_si128()));
    }
}

void pack(std::span<const std::uint8_t> grey, std::span<std::uint32_t> bits)
{
    if (HAS_AVX2) {
        packWide(grey, bits);
        return;
    }
    for (std::size_t i = 0; i < bits.size(); ++i) {
        const auto mask = [&](std::size_t offset) {
            return static_cast<std::uint32_t>(
                _mm_movemask_epi8(_mm_loadu_si128(at(grey.data() + offset))));
        };
        bits[i] = mask(32 * i) | mask(32 * i + 16) << 16;
    }
}

void squaredDifferences(const Lanes& object, std::span<const Lanes> templates,
                        std::span<std::int32_t> errors)
{
    if (HAS_AVX2) {
        squaredDifferencesWide(object, templates, errors);
        return;
    }
    const auto* const o = reinterpret_cast<const __m128i*>(object.values.data());
    for (std::size_t i = 0; i < templates.size(); ++i) {
        const auto* const t = reinterpret_cast<const __m128i*>(templates[i].values.data());
        __m128i sum = _mm_setzero_si128();
        for (int k = 0; k < 4; ++k) {
            const __m128i d = _mm_sub_epi16(_mm_load_si128(o + k), _mm_load_si128(t + k));
            sum = _mm_add_epi32(sum, _mm_madd_epi16(d, d));
        }
        sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4E));
        sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xB1));
        errors[i] = _mm_cvtsi128_si32(sum);
    }
}

#else

std::uint64_t readOnce(std::span<const std::uint8_t> bytes)
{
    std::uint64_t sum = 0;
    for (const std::uint8_t byte : bytes) {
        sum += byte;
    }
    return sum;
}

void threshold(std::span<const std::uint8_t> grey, std::span<std::uint8_t> binary)
{
    for (std::size_t i = 0; i < grey.size(); ++i) {
        binary[i] = grey[i] >= 128 ? 255 : 0;
    }
}

void pack(std::span<const std::uint8_t> grey, std::span<std::uint32_t> bits)
{
    for (std::size_t i = 0; i < bits.size(); ++i) {
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < 32; ++k) {
            word |= (grey[32 * i + k] >> 7U & 1U) << k;
        }
        bits[i] = word;
    }
}

void squaredDifferences(const Lanes& object, std::span<const Lanes> templates,
                        std::span<std::int32_t> errors)
{
    for (std::size_t i = 0; i < templates.size(); ++i) {
        std::int32_t sum = 0;
        for (std::size_t k = 0; k < object.values.size(); ++k) {
            const int d = object.values[k] - templates[i].values[k];
            sum += d * d;
        }
        errors[i] = sum;
    }
}

#endif

} // namespace tarvik::bench
