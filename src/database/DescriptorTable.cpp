#include "database/DescriptorTable.h"

#include "database/Template.h"

#include <algorithm>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace tarvik::database {

DescriptorTable::Lanes::Lanes(const analysis::FourierDescriptor& descriptor)
{
    std::size_t lane = 0;
    for (int k = 0; k < analysis::FourierDescriptor::COUNT; ++k) {
        if (k != analysis::FourierDescriptor::CENTRE) {
            const auto& frequency = descriptor.frequencies()[static_cast<std::size_t>(k)];
            values[lane++] = frequency.re.raw();
            values[lane++] = frequency.im.raw();
        }
    }
}

DescriptorTable::DescriptorTable(std::span<const std::shared_ptr<const Template>> templates)
{
    for (const auto& t : templates) {
        _lanes.emplace_back(t->fourierDescriptor());
        _lanes.emplace_back(t->fourierDescriptorRotated());
    }
}

void DescriptorTable::compare(const analysis::FourierDescriptor& object, Errors& errors) const
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled at once
    std::array<std::int32_t, 2 * MAX_TEMPLATES> sums;
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2") != 0) {
        squaredDistancesWide(Lanes(object), _lanes, sums.data());
    } else {
        squaredDistances(Lanes(object), _lanes, sums.data());
    }
#else
    squaredDistances(Lanes(object), _lanes, sums.data());
#endif
    for (std::size_t i = 0; i < _lanes.size() / 2; ++i) {
        errors[i] = {fp<32, 30>(sums[2 * i]), fp<32, 30>(sums[2 * i + 1])};
    }
}

/// Differences wrap in 16 bits, sums in 32.
void DescriptorTable::squaredDistances(const Lanes& object, std::span<const Lanes> taught,
                                       std::int32_t* sums)
{
    for (const Lanes& lanes : taught) {
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < lanes.values.size(); ++i) {
            const std::int32_t difference =
                wrapTo<std::int16_t>(object.values[i] - lanes.values[i]);
            sum += static_cast<std::uint32_t>(difference * difference);
        }
        *sums++ = wrapTo<std::int32_t>(sum);
    }
}

#ifdef __x86_64__

/// The same, two at a time; compiled for AVX2, and called on processors only that have it.
__attribute__((target("avx2"))) void
DescriptorTable::squaredDistancesWide(const Lanes& object, std::span<const Lanes> taught,
                                      std::int32_t* sums)
{
    const auto* const o = reinterpret_cast<const __m256i*>(object.values.data());
    const __m256i low = _mm256_load_si256(o);
    const __m256i high = _mm256_load_si256(o + 1);
    for (std::size_t i = 0; i + 1 < taught.size(); i += 2) { // of each template there are two
        const auto* const a = reinterpret_cast<const __m256i*>(taught[i].values.data());
        const auto* const b = reinterpret_cast<const __m256i*>(taught[i + 1].values.data());
        const __m256i a0 = _mm256_sub_epi16(low, _mm256_load_si256(a));
        const __m256i a1 = _mm256_sub_epi16(high, _mm256_load_si256(a + 1));
        const __m256i b0 = _mm256_sub_epi16(low, _mm256_load_si256(b));
        const __m256i b1 = _mm256_sub_epi16(high, _mm256_load_si256(b + 1));
        const __m256i sa = _mm256_add_epi32(_mm256_madd_epi16(a0, a0), _mm256_madd_epi16(a1, a1));
        const __m256i sb = _mm256_add_epi32(_mm256_madd_epi16(b0, b0), _mm256_madd_epi16(b1, b1));
        // Pairs of a and b, in both halves; then their sums.
        const __m256i pairs = _mm256_hadd_epi32(sa, sb);
        const __m128i quad =
            _mm_add_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
        const __m128i both = _mm_hadd_epi32(quad, quad);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(sums + i), both);
    }
}

#endif

} // namespace tarvik::database
