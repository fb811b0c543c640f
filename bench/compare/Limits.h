#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace tarvik::bench {

/// What the machine allows: the plainest loops over the same data, in the widest of the vectors
/// that every compiler here knows and this processor has (32 bytes with AVX2, else 16).

/// Reads every byte; their sum.
[[nodiscard]] std::uint64_t readOnce(std::span<const std::uint8_t> bytes);

/// 255 where the byte is 128 or more, else 0.
void threshold(std::span<const std::uint8_t> grey, std::span<std::uint8_t> binary);

/// One bit per byte, set where it is 128 or more. A multiple of 32 bytes.
void pack(std::span<const std::uint8_t> grey, std::span<std::uint32_t> bits);

/// 14 coefficients in 16-bit parts, filled up with zeros.
struct alignas(64) Lanes
{
    std::array<std::int16_t, 32> values{};
};

/// Sums of squared differences between one vector and each of several.
void squaredDifferences(const Lanes& object, std::span<const Lanes> templates,
                        std::span<std::int32_t> errors);

} // namespace tarvik::bench
