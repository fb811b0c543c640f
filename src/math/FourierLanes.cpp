#include "math/FourierLanes.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace tarvik {

#ifdef __x86_64__

// Only these functions are compiled for AVX2, and only processors that have it come here.
#define TARVIK_AVX2 __attribute__((target("avx2")))

namespace {

constexpr std::size_t COEFFICIENTS = 15;
constexpr std::size_t CENTRE = 7;

/// 16 units of outline.
constexpr std::int32_t MAX_LENGTH = 1 << 19;
/// 1 unit: |dx| + |dy| of a segment.
constexpr std::int32_t MAX_SEGMENT = 1 << 14;

/// A quotient of integers that is not one itself lies further below the next integer, relatively,
/// than 1 / dividend. So a quotient in double precision that errs upwards by less than that, and
/// never downwards, truncates to the integer quotient. These exceed what rounding takes away in at
/// most four operations, 2^-51.
constexpr double ANGLE_BIAS = 1 + 0x1p-45;  ///< dividends n s 2^16 < 2^38
constexpr double WEIGHT_BIAS = 1 + 0x1p-50; ///< dividends |e d| total < 2^49

struct Segment
{
    std::int32_t dx; ///< fp<16, 14>
    std::int32_t dy;
    std::int32_t length; ///< fp<32, 15>, truncated
};

Segment segmentBetween(Complex<16, 14> a, Complex<16, 14> b)
{
    const Complex<16, 14> d = b - a;
    const std::int32_t dx = d.re.raw();
    const std::int32_t dy = d.im.raw();
    const double square = static_cast<double>(std::int64_t{dx} * dx + std::int64_t{dy} * dy);
    return {dx, dy, static_cast<std::int32_t>(std::sqrt(4 * square))};
}

/// (product of two signed 16-bit lanes) >> SHIFT, low 16 bits.
template <int SHIFT>
TARVIK_AVX2 inline __m256i multiply(__m256i a, __m256i b)
{
    return _mm256_or_si256(_mm256_slli_epi16(_mm256_mulhi_epi16(a, b), 16 - SHIFT),
                           _mm256_srli_epi16(_mm256_mullo_epi16(a, b), SHIFT));
}

/// sin_PI() of 16 angles. The magnitude of -1 stays 0x8000 and multiplies to the right bits.
TARVIK_AVX2 inline __m256i sines(__m256i x)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i half = _mm256_set1_epi16(16384);
    // (131072 - 4 |x|) >> 3
    const __m256i t = _mm256_sub_epi16(half, _mm256_avg_epu16(_mm256_abs_epi16(x), zero));
    const __m256i y = multiply<12>(t, x);
    const __m256i d = _mm256_sub_epi16(multiply<15>(y, _mm256_abs_epi16(y)), y);
    const __m256i sine = _mm256_add_epi16(y, multiply<15>(d, _mm256_set1_epi16(7373)));
    return _mm256_blendv_epi8(sine, _mm256_set1_epi16(32767), _mm256_cmpeq_epi16(x, half));
}

/// cos_PI() of 16 angles.
TARVIK_AVX2 inline __m256i cosines(__m256i x)
{
    const __m256i half = _mm256_set1_epi16(16384);
    const __m256i wraps = _mm256_cmpgt_epi16(x, _mm256_set1_epi16(16383));
    // A quarter turn on, or back where that would leave [-1, 1): the two are half a turn apart.
    const __m256i turned = _mm256_xor_si256(_mm256_add_epi16(x, half),
                                            _mm256_and_si256(wraps, _mm256_set1_epi16(-32768)));
    return _mm256_sub_epi16(_mm256_xor_si256(sines(turned), wraps), wraps);
}

/// Both parts of the sums of four coefficients as fp<32, 28>, and the weights of their frequencies.
struct Quad
{
    __m128i re;
    __m128i im;
    __m256d weights;
};

/// (v x weights, truncating) >> 1.
TARVIK_AVX2 inline __m128i weighted(__m128i v, __m256d weights)
{
    return _mm_srai_epi32(_mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_cvtepi32_pd(v), weights)), 1);
}

TARVIK_AVX2 inline void add(Quad& quad, __m128i re, __m128i im, __m256d base)
{
    const __m256d weights = _mm256_mul_pd(quad.weights, base);
    quad.re = _mm_add_epi32(quad.re, weighted(re, weights));
    quad.im = _mm_add_epi32(quad.im, weighted(im, weights));
}

TARVIK_AVX2 inline __m256d inverseSquares(double n, double m)
{
    return _mm256_setr_pd(1 / (n * n), 1 / (n * n), 1 / (m * m), 1 / (m * m));
}

/// Coefficients of one outline while its segments pass.
///
/// Lanes come in pairs of frequencies -n and +n. In the two halves of a 256-bit register, the low
/// words carry n = 1, 2 and 5, 6, the high ones 3, 4 and 7, 8; 8 is not wanted, and comes for free.
class Lanes
{
public:
    TARVIK_AVX2 explicit Lanes(std::int32_t total)
        : _total(total),
          _lowTurns(_mm256_mul_pd(_mm256_setr_pd(1, 2, 3, 4), _mm256_set1_pd(turnOf(total)))),
          _highTurns(_mm256_mul_pd(_mm256_setr_pd(5, 6, 7, 8), _mm256_set1_pd(turnOf(total)))),
          _low(_mm256_set1_epi32(32767)),
          _high(_mm256_set1_epi32(32767)),
          _quads{Quad{_mm_setzero_si128(), _mm_setzero_si128(), inverseSquares(1, 2)},
                 Quad{_mm_setzero_si128(), _mm_setzero_si128(), inverseSquares(3, 4)},
                 Quad{_mm_setzero_si128(), _mm_setzero_si128(), inverseSquares(5, 6)},
                 Quad{_mm_setzero_si128(), _mm_setzero_si128(), inverseSquares(7, 8)}}
    {}

    /// Adds a segment that ends at arc length s.
    TARVIK_AVX2 void add(const Segment& segment, std::int32_t s)
    {
        const __m256i angles = anglesAt(s);
        const __m256i c = cosines(angles);
        const __m256i si = sines(angles);
        const __m256i low = _mm256_unpacklo_epi16(c, si);
        const __m256i high = _mm256_unpackhi_epi16(c, si);

        const __m256i forRe = both(segment.dx, -segment.dy);
        const __m256i forIm = both(segment.dy, segment.dx);
        // A segment of less than 4 raw units does not count, but the curve goes on behind it.
        const std::int32_t quarter = segment.length >> 2;
        const double base = quarter == 0 ? 0.0 : _total * WEIGHT_BIAS / (158.0 * quarter);
        addHalves(_quads[0], _quads[2], change(low, _low, forRe), change(low, _low, forIm), base);
        addHalves(_quads[1], _quads[3], change(high, _high, forRe), change(high, _high, forIm),
                  base);
        _low = low;
        _high = high;
    }

    void store(std::span<Complex<16, 15>> coefficients) const
    {
        for (std::size_t n = 1; n <= CENTRE; ++n) {
            const Quad& quad = _quads[(n - 1) / 2];
            const std::size_t lane = (n - 1) % 2 * 2;
            coefficients[CENTRE - n] = coefficient(quad, lane);
            coefficients[CENTRE + n] = coefficient(quad, lane + 1);
        }
    }

private:
    /// 2^16 / total: an arc length times this is an angle as fp<16, 15> fraction of pi.
    static double turnOf(std::int32_t total) { return 65536 * ANGLE_BIAS / total; }

    /// Angles of frequencies -n and +n in turn, wrapped to 16 bits.
    [[nodiscard]] TARVIK_AVX2 __m256i anglesAt(std::int32_t s) const
    {
        const __m256d length = _mm256_set1_pd(s);
        const __m256i n = _mm256_set_m128i(_mm256_cvttpd_epi32(_mm256_mul_pd(_highTurns, length)),
                                           _mm256_cvttpd_epi32(_mm256_mul_pd(_lowTurns, length)));
        const __m256i minus = _mm256_sub_epi32(_mm256_setzero_si256(), n);
        return _mm256_blend_epi16(n, _mm256_slli_epi32(minus, 16), 0xAA);
    }

    /// Two 16-bit factors for the two parts of every unit factor.
    TARVIK_AVX2 static __m256i both(std::int32_t re, std::int32_t im)
    {
        return _mm256_set1_epi32(static_cast<std::int32_t>(
            (static_cast<std::uint32_t>(re) & 0xFFFFU) | static_cast<std::uint32_t>(im) << 16));
    }

    /// What the products with the segment change by from one end of it to the other.
    TARVIK_AVX2 static __m256i change(__m256i after, __m256i before, __m256i segment)
    {
        return _mm256_sub_epi32(_mm256_madd_epi16(after, segment),
                                _mm256_madd_epi16(before, segment));
    }

    TARVIK_AVX2 static void addHalves(Quad& first, Quad& second, __m256i re, __m256i im,
                                      double base)
    {
        const __m256d factor = _mm256_set1_pd(base);
        tarvik::add(first, _mm256_castsi256_si128(re), _mm256_castsi256_si128(im), factor);
        tarvik::add(second, _mm256_extracti128_si256(re, 1), _mm256_extracti128_si256(im, 1),
                    factor);
    }

    static Complex<16, 15> coefficient(const Quad& quad, std::size_t lane)
    {
        std::array<std::int32_t, 4> re;
        std::array<std::int32_t, 4> im;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(re.data()), quad.re);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(im.data()), quad.im);
        return Complex<16, 15>::fromRaw(wrapTo<std::int16_t>(re[lane] >> 13),
                                        wrapTo<std::int16_t>(im[lane] >> 13));
    }

    double _total;
    __m256d _lowTurns;  ///< n 2^16 / total, n = 1 ... 4
    __m256d _highTurns; ///< n = 5 ... 8
    __m256i _low;       ///< unit factors (cos, sin) at the end of the last segment
    __m256i _high;
    std::array<Quad, 4> _quads; ///< n = 1, 2; 3, 4; 5, 6; 7, 8
};

TARVIK_AVX2 bool transform(std::span<const Complex<16, 14>> points, std::int32_t total,
                           std::span<Complex<16, 15>> coefficients)
{
    Lanes lanes(total);
    std::int32_t s = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Segment segment = segmentBetween(points[i - 1], points[i]);
        if (segment.length == 0) {
            continue;
        }
        s += segment.length;
        if (s >= MAX_LENGTH || std::abs(segment.dx) + std::abs(segment.dy) >= MAX_SEGMENT) {
            return false;
        }
        lanes.add(segment, s);
    }
    lanes.store(coefficients);
    return true;
}

} // namespace

bool transformInLanes(std::span<const Complex<16, 14>> points, fp<32, 15> length,
                      std::span<Complex<16, 15>> coefficients)
{
    return coefficients.size() == COEFFICIENTS && length.raw() > 0 && length.raw() < MAX_LENGTH &&
           __builtin_cpu_supports("avx2") != 0 && transform(points, length.raw(), coefficients);
}

#else

bool transformInLanes(std::span<const Complex<16, 14>> /*points*/, fp<32, 15> /*length*/,
                      std::span<Complex<16, 15>> /*coefficients*/)
{
    return false;
}

#endif

} // namespace tarvik
