#pragma once

#include <cmath>
#include <cstdint>

namespace tarvik {

/// Integer part of the square root by binary digits (Warren, Hacker's Delight, chapter 11): no
/// floating point at all.
[[nodiscard]] constexpr std::uint32_t isqrtDigits(std::uint64_t value)
{
    std::uint64_t bit = std::uint64_t{1} << 62;
    while (bit > value) {
        bit >>= 2;
    }
    std::uint64_t root = 0;
    for (; bit != 0; bit >>= 2) {
        const std::uint64_t trial = root + bit;
        root >>= 1;
        if (value >= trial) {
            value -= trial;
            root += bit;
        }
    }
    return static_cast<std::uint32_t>(root);
}

/// The same for 32 bits, in 32-bit steps.
[[nodiscard]] constexpr std::uint32_t isqrtDigits(std::uint32_t value)
{
    std::uint32_t bit = std::uint32_t{1} << 30;
    while (bit > value) {
        bit >>= 2;
    }
    std::uint32_t root = 0;
    for (; bit != 0; bit >>= 2) {
        const std::uint32_t trial = root + bit;
        root >>= 1;
        if (value >= trial) {
            value -= trial;
            root += bit;
        }
    }
    return root;
}

/// Integer part of the square root of a value below 2^52.
[[nodiscard]] inline std::uint32_t isqrt(std::uint64_t value)
{
#ifdef __SOFTFP__
    return value >> 32 == 0 ? isqrtDigits(static_cast<std::uint32_t>(value)) : isqrtDigits(value);
#else
    // The correctly rounded root of an integer below 2^52 never rounds up to the next integer.
    return static_cast<std::uint32_t>(std::sqrt(static_cast<double>(value)));
#endif
}

} // namespace tarvik
