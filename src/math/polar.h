#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <cmath>
#include <cstdint>

namespace tarvik {

/// Angle of a in radians, in [-pi, pi]; 0 for the origin. The arguments and the result of the
/// arc tangent have single precision. It is computed in double and then rounded, because the single
/// precision functions of the C libraries differ in their last bit and this does not.
template <int W, int F>
[[nodiscard]] inline fp<32, 15> polarAngle(Complex<W, F> a)
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

} // namespace tarvik
