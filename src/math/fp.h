#pragma once

#include <compare>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace tarvik {

namespace detail {

template <int W>
struct RawInteger;

template <>
struct RawInteger<16>
{
    using Type = std::int16_t;
};

template <>
struct RawInteger<32>
{
    using Type = std::int32_t;
};

template <>
struct RawInteger<64>
{
    using Type = std::int64_t;
};

} // namespace detail

/// Keeps the low bits of a wider integer: two's complement, never undefined.
template <class To, class From>
[[nodiscard]] constexpr To wrapTo(From value)
{
    static_assert(std::is_integral_v<To> && std::is_integral_v<From>);
    return static_cast<To>(static_cast<std::make_unsigned_t<To>>(value));
}

/// A signed fixed-point number of W bits, F of them fractional: raw / 2^F in [-2^(W-1-F),
/// 2^(W-1-F)).
///
/// Formats never mix implicitly, nothing rounds and nothing saturates: sums, differences and
/// narrowing wrap in two's complement, shifts go towards minus infinity.
template <int W, int F>
class fp
{
public:
    using Raw = typename detail::RawInteger<W>::Type;
    static constexpr int WIDTH = W;
    static constexpr int FRACTION = F;

    static const fp ZERO;
    static const fp HALF;
    static const fp ONE;
    static const fp TWO;
    /// Pi and 2 pi rounded to nearest, each by itself: PI2 is not PI + PI.
    static const fp PI;
    static const fp PI2;
    static const fp MAX;
    /// The smallest positive value, 2^-F (not the most negative one).
    static const fp MIN;

    constexpr fp() = default;

    /// From the raw value.
    constexpr explicit fp(Raw raw) : _raw(raw) {}

    /// value x 2^F + 0.5, truncated towards zero. The value must fit the format.
    [[nodiscard]] static constexpr fp fromDouble(double value)
    {
        return fp(static_cast<Raw>(value * SCALE + 0.5));
    }

    [[nodiscard]] constexpr Raw raw() const { return _raw; }

    [[nodiscard]] constexpr double toDouble() const { return static_cast<double>(_raw) / SCALE; }

    friend constexpr bool operator==(fp, fp) = default;
    friend constexpr auto operator<=>(fp, fp) = default;

    friend constexpr fp operator+(fp a, fp b) { return fp(wrapTo<Raw>(wide(a) + wide(b))); }

    friend constexpr fp operator-(fp a, fp b) { return fp(wrapTo<Raw>(wide(a) - wide(b))); }

    constexpr fp operator-() const { return fp(wrapTo<Raw>(0 - wide(*this))); }

    constexpr fp& operator+=(fp other) { return *this = *this + other; }

    constexpr fp& operator-=(fp other) { return *this = *this - other; }

    /// Same width, N fractional bits; N < F.
    template <int N>
    [[nodiscard]] constexpr fp<W, N> scale() const
    {
        static_assert(N < F);
        return fp<W, N>(static_cast<Raw>(_raw >> (F - N)));
    }

    /// Half the width, N fractional bits, the low bits kept.
    template <int N>
    [[nodiscard]] constexpr fp<W / 2, N> scaleDown() const
    {
        static_assert(N < F);
        return fp<W / 2, N>(wrapTo<typename fp<W / 2, N>::Raw>(_raw >> (F - N)));
    }

    /// Twice the width, N fractional bits.
    template <int N>
    [[nodiscard]] constexpr fp<W * 2, N> scaleUp() const
    {
        static_assert(N > F);
        using Wide = typename fp<W * 2, N>::Raw;
        using UnsignedWide = std::make_unsigned_t<Wide>;
        return fp<W * 2, N>(
            static_cast<Wide>(static_cast<UnsignedWide>(static_cast<Wide>(_raw)) << (N - F)));
    }

private:
    static constexpr double SCALE = static_cast<double>(std::uint64_t{1} << F);

    /// Unsigned and at least as wide as Raw, so that arithmetic on it may wrap.
    using Unsigned = std::conditional_t<(W < 64), std::uint32_t, std::uint64_t>;

    static constexpr Unsigned wide(fp a) { return static_cast<Unsigned>(a._raw); }

    Raw _raw = 0;
};

// Each instance defines the constants that it uses; clang 14 takes only these explicit definitions
// into constant expressions.
template <>
inline constexpr fp<16, 15> fp<16, 15>::ZERO{0};
template <>
inline constexpr fp<16, 15> fp<16, 15>::HALF{16384};
template <>
inline constexpr fp<16, 15> fp<16, 15>::MAX{32767};
template <>
inline constexpr fp<16, 14> fp<16, 14>::ZERO{0};
template <>
inline constexpr fp<16, 14> fp<16, 14>::ONE{16384};
template <>
inline constexpr fp<32, 15> fp<32, 15>::ZERO{0};
template <>
inline constexpr fp<32, 15> fp<32, 15>::HALF{16384};
template <>
inline constexpr fp<32, 15> fp<32, 15>::ONE{32768};
template <>
inline constexpr fp<32, 15> fp<32, 15>::TWO{65536};
template <>
inline constexpr fp<32, 15> fp<32, 15>::PI{102944};
template <>
inline constexpr fp<32, 15> fp<32, 15>::PI2{205887};
template <>
inline constexpr fp<32, 21> fp<32, 21>::ZERO{0};
template <>
inline constexpr fp<32, 28> fp<32, 28>::ZERO{0};
template <>
inline constexpr fp<32, 28> fp<32, 28>::MAX{2147483647};
template <>
inline constexpr fp<32, 28> fp<32, 28>::MIN{1};
template <>
inline constexpr fp<32, 30> fp<32, 30>::ZERO{0};
template <>
inline constexpr fp<32, 30> fp<32, 30>::MAX{2147483647};

/// Widens without loss: the product has the sum of the widths and of the fractional bits.
template <int W1, int F1, int W2, int F2>
[[nodiscard]] constexpr auto operator*(fp<W1, F1> a, fp<W2, F2> b)
{
    // 16 x 32 bits fit 64; there is no 48-bit storage.
    constexpr int W = W1 + W2 == 48 ? 64 : W1 + W2;
    using Wide = typename fp<W, F1 + F2>::Raw;
    return fp<W, F1 + F2>(static_cast<Wide>(static_cast<Wide>(a.raw()) * b.raw()));
}

/// Magnitude; that of the most negative value wraps to itself.
template <int W, int F>
[[nodiscard]] constexpr fp<W, F> abs(fp<W, F> a)
{
    return a.raw() < 0 ? -a : a;
}

} // namespace tarvik
