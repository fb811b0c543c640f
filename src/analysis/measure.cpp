#include "analysis/measure.h"

#include "math/isqrt.h"

#include <cstddef>
#include <cstdint>

namespace tarvik::analysis {

namespace {

/// Distance of two points as fp<32, 15> raw value.
///
/// By definition the integer part of sqrt(square) x 2^15 + 0.5, shifted right by 15, for the square
/// of the differences in 15 fractional bits: the integer root, or one more when the true root is at
/// most 2^-16 below it, which the remainder tells.
std::int32_t distance(Complex<16, 14> a, Complex<16, 14> b)
{
    const std::int64_t dx = 2 * (std::int64_t{b.re.raw()} - a.re.raw());
    const std::int64_t dy = 2 * (std::int64_t{b.im.raw()} - a.im.raw());
    const auto square = static_cast<std::uint64_t>(dx * dx + dy * dy);
    const std::uint64_t root = isqrt(square);
    if (root < 32767) {
        return static_cast<std::int32_t>(root); // integers this small are too far apart
    }
    const std::uint64_t next = root + 1;
    return static_cast<std::int32_t>((next * next - square) * 32768 <= next ? next : root);
}

fp<32, 15> momentOf(std::int32_t from, std::int32_t to, std::int32_t length)
{
    return fp<32, 15>(wrapTo<std::int32_t>((std::int64_t{2} * (from + to) * length) >> 15));
}

std::int16_t centreOf(fp<32, 15> moment, fp<32, 15> length)
{
    const std::int64_t centre =
        std::int64_t{moment.raw()} * 32768 / (std::int64_t{2} * length.raw());
    return wrapTo<std::int16_t>(centre >> 1);
}

} // namespace

Complex<16, 14> OutlineMeasure::centre() const
{
    return Complex<16, 14>::fromRaw(centreOf(momentX, length), centreOf(momentY, length));
}

OutlineMeasure measureOutline(std::span<const Complex<16, 14>> points)
{
    OutlineMeasure measure;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Complex<16, 14> a = points[i - 1];
        const Complex<16, 14> b = points[i];
        const std::int32_t d = distance(a, b);
        measure.momentX += momentOf(a.re.raw(), b.re.raw(), d);
        measure.momentY += momentOf(a.im.raw(), b.im.raw(), d);
        measure.length += fp<32, 15>(d);
    }
    return measure;
}

} // namespace tarvik::analysis
