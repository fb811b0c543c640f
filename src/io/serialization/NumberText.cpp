#include "io/serialization/NumberText.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace tarvik::io::serialization::numbertext {

namespace {

constexpr std::string_view DIGITS = "0123456789";

/// Removes the digits in front and says whether there were any.
bool skipDigits(std::string_view& text)
{
    const std::size_t count = std::min(text.find_first_not_of(DIGITS), text.size());
    text.remove_prefix(count);
    return count > 0;
}

bool skip(std::string_view& text, std::string_view anyOf)
{
    const bool found = !text.empty() && anyOf.find(text.front()) != std::string_view::npos;
    text.remove_prefix(found ? 1 : 0);
    return found;
}

/// Digits with at most one point, and an exponent: no names, no hexadecimal.
bool isDecimal(std::string_view text)
{
    skip(text, "-");
    bool hasDigits = skipDigits(text);
    if (skip(text, ".")) {
        hasDigits = skipDigits(text) || hasDigits;
    }
    if (hasDigits && skip(text, "eE")) {
        skip(text, "+-");
        hasDigits = skipDigits(text);
    }
    return hasDigits && text.empty();
}

/// Of a number that has left the range of single precision: whether it is too small rather than
/// too large. Its magnitude shows in the position of its first digit and in its exponent.
bool underflows(std::string_view text)
{
    const std::size_t exponentAt = std::min(text.find_first_of("eE"), text.size());
    const std::string_view mantissa = text.substr(0, exponentAt);
    const std::size_t first = mantissa.find_first_of("123456789");
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    if (first == std::string_view::npos) {
        return true;
    }
    constexpr std::int64_t hugeExponent = std::int64_t{1} << 40; // beyond any text's length
    std::int64_t exponent = 0;
    if (exponentAt < text.size()) {
        std::string_view digits = text.substr(exponentAt + 1);
        skip(digits, "+");
        if (!parse(digits, exponent) || std::abs(exponent) > hugeExponent) {
            exponent = digits.front() == '-' ? -hugeExponent : hugeExponent;
        }
    }
    return exponent + static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) < 0;
}

} // namespace

namespace detail {

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    text = text.substr(first, text.find_last_not_of(blanks) - first + 1);
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-' && text[1] != '+';
    return plus ? text.substr(1) : text;
}

} // namespace detail

bool parse(std::string_view text, float& value)
{
    const std::string_view number = detail::trimmed(text);
    if (!isDecimal(number)) {
        return false;
    }
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        value = 0.0F;
        return underflows(number);
    }
    return result.ec == std::errc() && std::isfinite(value);
}

std::string format(double value)
{
    std::array<char, 64> text{};
    const auto result =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
    return {text.data(), result.ptr};
}

bool toRaw(float value, int fractionBits, std::int64_t& raw)
{
    const float scaled = std::ldexp(value, fractionBits) + 0.5F;
    constexpr float limit = 9223372036854775808.0F; // 2^63
    if (!(scaled > -limit && scaled < limit)) {
        return false;
    }
    raw = static_cast<std::int64_t>(scaled);
    return true;
}

} // namespace tarvik::io::serialization::numbertext
