#include "math/FourierTransform.h"

#include "math/FourierLanes.h"
#include "math/isqrt.h"
#include "math/sinPi.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstddef>

namespace tarvik {

namespace {

constexpr double TWO_PI = 6.283185307179586;

using std::complex;

template <int F>
complex<double> toDouble(Complex<16, F> z)
{
    return {z.re.toDouble(), z.im.toDouble()};
}

/// value x 32768 + 0.5, truncated towards zero, kept to 16 bits.
std::int16_t toQ15(double value)
{
    return wrapTo<std::int16_t>(static_cast<std::int64_t>(value * 32768.0 + 0.5));
}

Complex<16, 15> widenedCentre(const Complex<16, 14>& centre)
{
    return Complex<16, 15>::fromRaw(wrapTo<std::int16_t>(centre.re.raw() * 2),
                                    wrapTo<std::int16_t>(centre.im.raw() * 2));
}

double outlineLength(std::span<const Complex<16, 14>> points)
{
    double length = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        length += std::abs(toDouble(points[i]) - toDouble(points[i - 1]));
    }
    return length;
}

/// (1 / T) times the integral of z(s) e^(-2 pi i n s / T) over one period, for n != 0.
complex<double> exactCoefficient(std::span<const Complex<16, 14>> points, double total, int n)
{
    complex<double> sum = 0;
    double s = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const complex<double> d = toDouble(points[i]) - toDouble(points[i - 1]);
        const double l = std::abs(d);
        if (l == 0) {
            continue;
        }
        const double a = -TWO_PI * n * s / total;
        s += l;
        const double b = -TWO_PI * n * s / total;
        sum += d / l * (std::exp(complex<double>(0, b)) - std::exp(complex<double>(0, a)));
    }
    return sum * total / ((TWO_PI * n) * (TWO_PI * n));
}

/// One piece of the outline between two points.
struct Segment
{
    std::int32_t dx = 0; ///< 16-bit differences, 14 fractional bits
    std::int32_t dy = 0;
    std::int32_t length = 0; ///< fp<32, 15>
};

/// The length by sqrt in double would be the integer part of twice the distance in raw units as
/// well: squares of integers this small leave the rounding no room to reach the next integer.
Segment segmentBetween(Complex<16, 14> a, Complex<16, 14> b)
{
    const Complex<16, 14> d = b - a;
    Segment segment{d.re.raw(), d.im.raw(), 0};
    const auto square = static_cast<std::uint64_t>(std::int64_t{segment.dx} * segment.dx +
                                                   std::int64_t{segment.dy} * segment.dy);
    segment.length = static_cast<std::int32_t>(isqrt(4 * square));
    return segment;
}

/// Frequencies +n and -n of one outline while its segments pass.
struct FrequencyPair
{
    struct Side
    {
        Complex<16, 15> factor{fp<16, 15>::MAX, fp<16, 15>::ZERO}; ///< at the segment's start
        std::int32_t re = 0;                                       ///< sum, fp<32, 28>
        std::int32_t im = 0;
    };

    Side positive;
    Side negative;
};

void addWrapping(std::int32_t& sum, std::int64_t term)
{
    sum = wrapTo<std::int32_t>(static_cast<std::uint32_t>(sum) + static_cast<std::uint64_t>(term));
}

/// The formula as it is defined, for outlines and frequencies out of the fast path's reach.
void addPlainly(FrequencyPair::Side& side, const Segment& segment, std::int64_t s,
                std::int64_t total, int n)
{
    const fp<16, 15> angle(wrapTo<std::int16_t>(-2 * n * s * 32768 / total));
    const Complex<16, 15> before = side.factor;
    const Complex<16, 15> after = unitFactor(angle);
    side.factor = after;
    const std::int32_t q =
        wrapTo<std::int32_t>(std::int64_t{wrapTo<std::int16_t>(segment.length >> 2)} *
                             wrapTo<std::int16_t>(79 * n * n) * 2);
    if (q == 0) {
        return;
    }
    // Products with the factor in 32 bits, 28 of them fractional; they are even before they wrap.
    const auto half = [](std::int64_t product) { return wrapTo<std::int32_t>(2 * product) >> 1; };
    const auto re = [&](Complex<16, 15> e) {
        return half(std::int64_t{e.re.raw()} * segment.dx - std::int64_t{e.im.raw()} * segment.dy);
    };
    const auto im = [&](Complex<16, 15> e) {
        return half(std::int64_t{e.re.raw()} * segment.dy + std::int64_t{e.im.raw()} * segment.dx);
    };
    addWrapping(side.re, (std::int64_t{re(after)} - re(before)) * total / q >> 1);
    addWrapping(side.im, (std::int64_t{im(after)} - im(before)) * total / q >> 1);
}

/// What the weights total / q of one segment, q = 158 n^2 (length / 4), need for n = 1 ... 7.
///
/// The quotient of magnitude x total and q is estimated as magnitude x floor(total 2^k / q) / 2^k,
/// which is exact or one too small: magnitude < 2^k by the choice of k below 16 units of outline,
/// and the remainder, known modulo 2^32, tells.
class Weights
{
public:
    Weights(std::uint32_t total, std::uint32_t quarterLength)
        : _total(total),
          _unit(158 * quarterLength),
          _reciprocal(static_cast<std::uint32_t>((std::uint64_t{total} << shift()) / _unit)),
          _up(std::max(32 - shift(), 0)),
          _down(std::max(shift() - 32, 0))
    {}

    /// Prepares the frequencies +n and -n.
    void setFrequency(std::uint32_t n)
    {
        _divisor = _unit * n * n;
        // Dividing by a constant is a product; nested integer parts make one.
        static constexpr std::array<std::uint32_t (*)(std::uint32_t), 8> BY_SQUARE{
            [](std::uint32_t v) { return v; },      [](std::uint32_t v) { return v; },
            [](std::uint32_t v) { return v / 4; },  [](std::uint32_t v) { return v / 9; },
            [](std::uint32_t v) { return v / 16; }, [](std::uint32_t v) { return v / 25; },
            [](std::uint32_t v) { return v / 36; }, [](std::uint32_t v) { return v / 49; }};
        _scaled = BY_SQUARE[n](_reciprocal);
    }

    /// (value x total / q, truncating) shifted right by 1.
    [[nodiscard]] std::int32_t apply(std::int32_t value) const
    {
        const std::uint32_t magnitude =
            value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
        // magnitude x scaled >> shift, by the upper half of a product
        const std::uint64_t product = std::uint64_t{magnitude << _up} * _scaled;
        std::uint32_t quotient = static_cast<std::uint32_t>(product >> 32) >> _down;
        const std::uint32_t remainder = magnitude * _total - quotient * _divisor;
        quotient += remainder >= _divisor ? 1U : 0U;
        const auto signedQuotient = static_cast<std::int32_t>(quotient);
        return (value < 0 ? -signedQuotient : signedQuotient) >> 1;
    }

private:
    /// k
    [[nodiscard]] int shift() const
    {
        return 31 - static_cast<int>(std::bit_width(_total)) +
               static_cast<int>(std::bit_width(_unit));
    }

    std::uint32_t _total;
    std::uint32_t _unit;
    std::uint32_t _reciprocal;
    int _up;   ///< 32 - k, or 0; magnitude < 2^k
    int _down; ///< k - 32, or 0
    std::uint32_t _divisor = 0;
    std::uint32_t _scaled = 0;
};

void addFast(FrequencyPair::Side& side, const Segment& segment, std::uint32_t angle,
             const Weights& weights)
{
    const Complex<16, 15> after = unitFactor(fp<16, 15>(wrapTo<std::int16_t>(angle)));
    const std::int32_t re = after.re.raw() - side.factor.re.raw();
    const std::int32_t im = after.im.raw() - side.factor.im.raw();
    side.factor = after;
    addWrapping(side.re, weights.apply(re * segment.dx - im * segment.dy));
    addWrapping(side.im, weights.apply(re * segment.dy + im * segment.dx));
}

constexpr int FAST_FREQUENCIES = 7;
/// 16 units of length: up to here every intermediate of the fast path fits 32 bits.
constexpr std::int64_t FAST_LENGTH = std::int64_t{1} << 19;

bool suitsFastPath(const Segment& segment, std::int64_t s, std::int64_t total)
{
    // Differences of unit factors are below 2^17 raw, so that |dx| + |dy| < 2^14 keeps their
    // products with the segment below 2^31.
    return total < FAST_LENGTH && s < FAST_LENGTH &&
           std::abs(segment.dx) + std::abs(segment.dy) < 16384;
}

/// Adds one segment, which ends at arc length s, to the pairs of frequencies 1, 2, ...
void addSegmentFast(std::span<FrequencyPair> pairs, const Segment& segment, std::uint32_t s,
                    std::uint32_t total)
{
    // 2 s / total with 15 fractional bits, by long division in two digits; multiples of it for the
    // higher frequencies by addition, carrying the remainder.
    const std::uint32_t high = (s << 12) / total;
    const std::uint32_t rest = ((s << 12) - high * total) << 4;
    const std::uint32_t low = rest / total;
    const std::uint32_t turn = (high << 4) + low;
    const std::uint32_t turnRest = rest - low * total;

    const auto quarterLength = static_cast<std::uint32_t>(segment.length >> 2);
    Weights weights(total, quarterLength == 0 ? 1 : quarterLength);
    std::uint32_t angle = 0;
    std::uint32_t angleRest = 0;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        angle += turn;
        angleRest += turnRest;
        if (angleRest >= total) {
            angleRest -= total;
            ++angle;
        }
        if (quarterLength == 0) { // too short to count, but the curve goes on behind it
            pairs[i].positive.factor = unitFactor(fp<16, 15>(wrapTo<std::int16_t>(0U - angle)));
            pairs[i].negative.factor = unitFactor(fp<16, 15>(wrapTo<std::int16_t>(angle)));
            continue;
        }
        weights.setFrequency(static_cast<std::uint32_t>(i + 1));
        addFast(pairs[i].positive, segment, 0U - angle, weights);
        addFast(pairs[i].negative, segment, angle, weights);
    }
}

/// Frequencies first ... first + pairs.size() - 1 and their negatives.
void transformPairs(std::span<const Complex<16, 14>> points, std::int64_t total, int first,
                    std::span<FrequencyPair> pairs)
{
    std::int64_t s = 0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Segment segment = segmentBetween(points[i - 1], points[i]);
        if (segment.length == 0) {
            continue;
        }
        s += segment.length;
        if (first == 1 && total > 0 && suitsFastPath(segment, s, total)) {
            addSegmentFast(pairs, segment, static_cast<std::uint32_t>(s),
                           static_cast<std::uint32_t>(total));
            continue;
        }
        for (std::size_t p = 0; p < pairs.size(); ++p) {
            const int n = first + static_cast<int>(p);
            addPlainly(pairs[p].positive, segment, s, total, n);
            addPlainly(pairs[p].negative, segment, s, total, -n);
        }
    }
}

Complex<16, 15> coefficientOf(const FrequencyPair::Side& side)
{
    return Complex<16, 15>::fromRaw(wrapTo<std::int16_t>(side.re >> 13),
                                    wrapTo<std::int16_t>(side.im >> 13));
}

} // namespace

void Fourier_Forward_NonEquidistant_Exact(std::span<const Complex<16, 14>> points,
                                          const Complex<16, 14>& centre,
                                          std::span<Complex<16, 15>> coefficients)
{
    const double total = outlineLength(points);
    const int middle = (static_cast<int>(coefficients.size()) - 1) / 2;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        const int n = static_cast<int>(k) - middle;
        if (n == 0) {
            coefficients[k] = widenedCentre(centre);
            continue;
        }
        const complex<double> c = exactCoefficient(points, total, n);
        coefficients[k] = Complex<16, 15>::fromRaw(toQ15(c.real()), toQ15(c.imag()));
    }
}

void Fourier_Forward_NonEquidistant_Fast(std::span<const Complex<16, 14>> points,
                                         const Complex<16, 14>& centre, const fp<32, 15>& length,
                                         std::span<Complex<16, 15>> coefficients)
{
    const int middle = (static_cast<int>(coefficients.size()) - 1) / 2;
    std::fill(coefficients.begin(), coefficients.end(), Complex<16, 15>::ZERO);
    coefficients[static_cast<std::size_t>(middle)] = widenedCentre(centre);
    if (length == fp<32, 15>::ZERO || transformInLanes(points, length, coefficients)) {
        return;
    }
    for (int first = 1; first <= middle; first += FAST_FREQUENCIES) {
        std::array<FrequencyPair, FAST_FREQUENCIES> storage{};
        const int count = std::min(FAST_FREQUENCIES, middle - first + 1);
        const std::span pairs(storage.data(), static_cast<std::size_t>(count));
        transformPairs(points, length.raw(), first, pairs);
        for (int i = 0; i < count; ++i) {
            const FrequencyPair& pair = pairs[static_cast<std::size_t>(i)];
            coefficients[static_cast<std::size_t>(middle + first + i)] =
                coefficientOf(pair.positive);
            coefficients[static_cast<std::size_t>(middle - first - i)] =
                coefficientOf(pair.negative);
        }
    }
}

void Fourier_Backward_Exact(std::span<const Complex<16, 15>> coefficients,
                            const fp<32, 15>& rotation, std::span<Complex<16, 14>> points)
{
    const auto toPart = [](double value) {
        constexpr std::int64_t LIMIT = fp<16, 15>::MAX.raw();
        const auto raw = static_cast<std::int64_t>(value * 32768.0 + 0.5);
        return static_cast<std::int16_t>(std::clamp(raw, -LIMIT, LIMIT) >> 1);
    };
    const complex<double> turn = std::exp(complex<double>(0, rotation.toDouble()));
    const int middle = (static_cast<int>(coefficients.size()) - 1) / 2;
    const complex<double> centre = toDouble(coefficients[static_cast<std::size_t>(middle)]);
    const auto count = static_cast<double>(points.size());
    for (std::size_t j = 0; j < points.size(); ++j) {
        complex<double> sum = 0;
        for (std::size_t k = 0; k < coefficients.size(); ++k) {
            const int n = static_cast<int>(k) - middle;
            if (n != 0) {
                const double angle = TWO_PI * n * static_cast<double>(j) / count;
                sum += toDouble(coefficients[k]) * std::exp(complex<double>(0, angle));
            }
        }
        const complex<double> z = sum * turn + centre;
        points[j] = Complex<16, 14>::fromRaw(toPart(z.real()), toPart(z.imag()));
    }
}

} // namespace tarvik
