#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

/// Numbers as decimal text, the same in every locale.
namespace tarvik::io::serialization::numbertext {

/// Reads a whole number: blanks around it and a leading '+' are allowed, nothing else. False when
/// it is something else or out of the type's range.
template <std::integral T>
[[nodiscard]] bool parse(std::string_view text, T& value);

/// Reads a decimal number, with fraction and exponent if need be, into single precision. False
/// when it is something else (not-a-number and infinity included) or too large; what is too small
/// becomes 0.
[[nodiscard]] bool parse(std::string_view text, float& value);

/// Six decimals, as "%f" writes them.
[[nodiscard]] std::string format(double value);

/// Raw value of a fixed-point number with this many fractional bits from the number read:
/// value x 2^F + 0.5 in single precision, truncated towards zero. False when it leaves 64 bits.
[[nodiscard]] bool toRaw(float value, int fractionBits, std::int64_t& raw);

namespace detail {

[[nodiscard]] std::string_view trimmed(std::string_view text);

} // namespace detail

template <std::integral T>
bool parse(std::string_view text, T& value)
{
    const std::string_view number = detail::trimmed(text);
    const char* const end = number.data() + number.size();
    const auto [stop, error] = std::from_chars(number.data(), end, value);
    return error == std::errc() && stop == end;
}

} // namespace tarvik::io::serialization::numbertext
