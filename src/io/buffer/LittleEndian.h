#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace tarvik::io::buffer {

/// The bytes of an integer, the lowest first, whatever the machine's own order.
template <std::integral T>
[[nodiscard]] constexpr std::array<std::byte, sizeof(T)> toLittleEndian(T value)
{
    std::array<std::byte, sizeof(T)> result{};
    auto rest = static_cast<std::uint64_t>(value);
    for (std::byte& b : result) {
        b = static_cast<std::byte>(rest & 0xFFU);
        rest >>= 8U;
    }
    return result;
}

template <std::integral T>
[[nodiscard]] constexpr T fromLittleEndian(std::span<const std::byte, sizeof(T)> bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = sizeof(T); i > 0; --i) {
        value = (value << 8U) | std::to_integer<std::uint64_t>(bytes[i - 1]);
    }
    return static_cast<T>(value);
}

/// The IEEE 754 encoding of a floating-point number, as an integer.
template <std::floating_point T>
[[nodiscard]] constexpr auto ieeeBits(T value)
{
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<Bits>(value);
}

} // namespace tarvik::io::buffer
