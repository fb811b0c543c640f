#pragma once

#include "math/fp.h"

#include <cstdint>

namespace tarvik {

/// Two fixed-point numbers of one format: x and y of a point, or a complex number.
///
/// Each part wraps by itself. A Complex<16, 14> fills exactly 32 bits, the real part first.
/// As aligned as a word of their size, points are copied as one.
template <int W, int F>
struct alignas(W == 16 ? 4 : alignof(fp<W, F>)) Complex
{
    using Part = fp<W, F>;

    static const Complex ZERO;

    Part re{};
    Part im{};

    constexpr Complex() = default;

    constexpr Complex(Part real, Part imaginary) : re(real), im(imaginary) {}

    [[nodiscard]] static constexpr Complex fromRaw(typename Part::Raw real,
                                                   typename Part::Raw imaginary)
    {
        return {Part(real), Part(imaginary)};
    }

    friend constexpr bool operator==(const Complex&, const Complex&) = default;

    friend constexpr Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }

    friend constexpr Complex operator-(Complex a, Complex b) { return {a.re - b.re, a.im - b.im}; }

    constexpr Complex operator-() const { return {-re, -im}; }

    constexpr Complex& operator+=(Complex other) { return *this = *this + other; }

    constexpr Complex& operator-=(Complex other) { return *this = *this - other; }
};

template <>
inline constexpr Complex<16, 14> Complex<16, 14>::ZERO{};
template <>
inline constexpr Complex<16, 15> Complex<16, 15>::ZERO{};
template <>
inline constexpr Complex<32, 15> Complex<32, 15>::ZERO{};
template <>
inline constexpr Complex<32, 21> Complex<32, 21>::ZERO{};
template <>
inline constexpr Complex<32, 28> Complex<32, 28>::ZERO{};
template <>
inline constexpr Complex<32, 30> Complex<32, 30>::ZERO{};

static_assert(sizeof(Complex<16, 14>) == 4);

/// Squared magnitude of a pair of 16-bit parts, in two's complement of 32 bits: it wraps to the
/// most negative value when both parts are the most negative ones.
template <int F>
[[nodiscard]] constexpr fp<32, 2 * F> squaredNorm(Complex<16, F> a)
{
    return a.re * a.re + a.im * a.im;
}

} // namespace tarvik
