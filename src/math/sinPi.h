#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <cstdint>

namespace tarvik {

/// Approximates sin(pi x) for x in [-1, 1) by a parabola refined once: y = 4x(1 - |x|), then
/// y + 0.225 (y|y| - y). Integer shifts throughout, so the same bits come out everywhere.
/// sin(pi/2) saturates at 1 - 2^-15.
[[nodiscard]] constexpr fp<16, 15> sin_PI(const fp<16, 15>& x)
{
    if (x == fp<16, 15>::HALF) {
        return fp<16, 15>::MAX;
    }
    // Every step fits 16 bits without wrapping: 0 <= t <= 2^14, |z| <= |y| <= 2^15, |d| <= 2^13.
    const std::int32_t raw = x.raw();
    const std::int32_t magnitude = raw < 0 ? -raw : raw;
    const std::int32_t t = (131072 - 4 * magnitude) >> 3;
    const std::int32_t y = (t * raw) >> 12;
    const std::int32_t z = (y * (y < 0 ? -y : y)) >> 15;
    const std::int32_t e = ((z - y) * 7373) >> 15;
    return fp<16, 15>(static_cast<std::int16_t>(y + e));
}

/// cos(pi x): the sine a quarter turn on, reached without leaving [-1, 1).
[[nodiscard]] constexpr fp<16, 15> cos_PI(const fp<16, 15>& x)
{
    return x < fp<16, 15>::HALF ? sin_PI(x + fp<16, 15>::HALF) : -sin_PI(x - fp<16, 15>::HALF);
}

/// An angle in radians as a fraction of pi, reduced to [-1, 1). The quotient truncates towards
/// zero; dropping whole turns is then the wrap of 16 bits, because 2 is 65536 raw.
[[nodiscard]] constexpr fp<16, 15> fractionOfPi(fp<32, 15> radians)
{
    static_assert(fp<32, 15>::PI.raw() == 32 * 3217);
    const std::int32_t raw = radians.raw();
    if (-(1 << 21) < raw && raw < 1 << 21) { // 20 turns; 32 bits hold it
        return fp<16, 15>(wrapTo<std::int16_t>(raw * 1024 / 3217));
    }
    return fp<16, 15>(wrapTo<std::int16_t>(std::int64_t{raw} * 32768 / fp<32, 15>::PI.raw()));
}

/// The unit factor e^(i pi x), each part 1 - 2^-15 at most.
[[nodiscard]] constexpr Complex<16, 15> unitFactor(fp<16, 15> x)
{
    return {cos_PI(x), sin_PI(x)};
}

/// a x factor: product sums in 32 bits, shifted right by 15, each kept as 16 bits.
template <int F>
[[nodiscard]] constexpr Complex<16, F> turned(Complex<16, F> a, Complex<16, 15> factor)
{
    const std::int32_t re = a.re.raw();
    const std::int32_t im = a.im.raw();
    const std::int32_t cosine = factor.re.raw();
    const std::int32_t sine = factor.im.raw();
    const auto wrapped = [](std::int64_t sum) {
        return wrapTo<std::int16_t>(wrapTo<std::int32_t>(sum) >> 15);
    };
    return Complex<16, F>::fromRaw(wrapped(std::int64_t{re * cosine} - im * sine),
                                   wrapped(std::int64_t{re * sine} + im * cosine));
}

} // namespace tarvik
