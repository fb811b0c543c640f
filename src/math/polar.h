#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <cmath>
#include <cstdint>
#include <initializer_list>

namespace tarvik {

/// atan(y / x) for 0 <= y <= x and 0 < x <= 2^15, with 28 fractional bits, off by less than 8
/// units: an even polynomial fitted to atan(q) / q at the nodes of Chebyshev, in Horner's form.
[[nodiscard]] constexpr std::int32_t arcTangentOctant(std::uint32_t y, std::uint32_t x)
{
    // q with 30 fractional bits, by long division in two digits.
    const std::uint32_t high = (y << 16) / x;
    const std::uint32_t low = (((y << 16) - high * x) << 14) / x;
    const std::int64_t q = (high << 14) + low;
    const std::int64_t square = (q * q) >> 30;
    std::int64_t sum = 3043053;
    for (const std::int32_t c : {-17185271, 45728095, -80481733, 114211277, -152498940, 214667658,
                                 -357911079, 1073741807}) {
        sum = ((sum * square) >> 30) + c;
    }
    return static_cast<std::int32_t>((sum * q) >> 32);
}

/// The angle of a point in all four quadrants, with 28 fractional bits, off by less than 10 units.
[[nodiscard]] constexpr std::int32_t arcTangent(std::int32_t y, std::int32_t x)
{
    constexpr std::int32_t PI_28 = 843314857;
    const auto ay = static_cast<std::uint32_t>(y < 0 ? -y : y);
    const auto ax = static_cast<std::uint32_t>(x < 0 ? -x : x);
    std::int32_t angle = ay <= ax ? arcTangentOctant(ay, ax) : PI_28 / 2 - arcTangentOctant(ax, ay);
    angle = x < 0 ? PI_28 - angle : angle;
    return y < 0 ? -angle : angle;
}

/// Angle of a in radians, in [-pi, pi]; 0 for the origin. The arguments and the result of the
/// arc tangent have single precision. It is computed in double and then rounded, because the single
/// precision functions of the C libraries differ in their last bit and this does not.
template <int W, int F>
[[nodiscard]] inline fp<32, 15> polarAngleByDouble(Complex<W, F> a)
{
    const auto y = static_cast<float>(a.im.toDouble());
    const auto x = static_cast<float>(a.re.toDouble());
    const auto angle = static_cast<float>(std::atan2(double{y}, double{x}));
    return fp<32, 15>::fromDouble(double{angle});
}

/// The length whose square is given, rounded to nearest. A square is never negative, so the one sum
/// that wraps in 32 bits (both parts -2) is read as the unsigned number that it is.
[[nodiscard]] inline fp<32, 28> squareRoot(fp<32, 28> square)
{
    const double value = static_cast<double>(static_cast<std::uint32_t>(square.raw()));
    return fp<32, 28>::fromDouble(std::sqrt(value * 0x1p-28));
}

template <int F>
[[nodiscard]] inline fp<32, 15> polarAngle(Complex<32, F> a)
{
    return polarAngleByDouble(a);
}

/// The same for 16 bits, in integers as long as these tell the result beyond doubt. The angle's
/// single precision moves it by 2^-23 at most, 32 units of the integer arc tangent; where the
/// result does not change up to that and the arc tangent's own error away, it is the one sought.
template <int F>
[[nodiscard]] inline fp<32, 15> polarAngle(Complex<16, F> a)
{
    constexpr std::int32_t DOUBT = 32 + 10;
    constexpr std::int32_t UNIT = 1 << 13; // of the result
    if (a == Complex<16, F>{}) {
        return fp<32, 15>::ZERO;
    }
    const std::int32_t angle = arcTangent(a.im.raw(), a.re.raw()) + UNIT / 2;
    const std::int32_t result = (angle - DOUBT) / UNIT; // truncates towards zero
    return result == (angle + DOUBT) / UNIT ? fp<32, 15>(result) : polarAngleByDouble(a);
}

} // namespace tarvik
