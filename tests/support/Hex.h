#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::test {

/// Bytes from text such as "06 00 FF"; blanks are ignored.
inline std::vector<std::byte> fromHex(std::string_view text)
{
    std::vector<std::byte> result;
    std::string digits;
    for (const char c : text) {
        if (c != ' ') {
            digits += c;
        }
        if (digits.size() == 2) {
            result.push_back(static_cast<std::byte>(std::stoi(digits, nullptr, 16)));
            digits.clear();
        }
    }
    return result;
}

/// "06 00 FF"
inline std::string toHex(std::span<const std::byte> bytes)
{
    static constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string result;
    for (const std::byte b : bytes) {
        const auto value = std::to_integer<std::size_t>(b);
        result += result.empty() ? "" : " ";
        result += DIGITS[value / 16];
        result += DIGITS[value % 16];
    }
    return result;
}

} // namespace tarvik::test
