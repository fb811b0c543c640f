#include "server/TelnetAnswers.h"

#include "core/Version.h"
#include "database/Matchings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <numbers>
#include <span>

namespace tarvik::com::server::telnet {

namespace {

constexpr int HEADER_SIZE = 30;
constexpr int OBJECT_SIZE = 40;
/// Header bytes that the record's length field does not count.
constexpr int UNCOUNTED = 12;

/// In single precision, as the text answers have it.
float degrees(fp<32, 15> radians)
{
    return static_cast<float>(radians.raw()) * 0x1p-15F * 180.0F / std::numbers::pi_v<float>;
}

/// Two decimals and a point, whatever the locale.
std::string twoDecimals(double value)
{
    std::array<char, 64> text{};
    const auto end =
        std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, 2).ptr;
    return {text.data(), end};
}

void appendHeader(AnswerBuffer& answer, int objectCount)
{
    constexpr std::array<std::byte, 13> RESERVED{};
    answer.append("RDORPD");
    answer.append(std::uint16_t{1});
    answer.append(static_cast<std::uint16_t>(HEADER_SIZE - UNCOUNTED + OBJECT_SIZE * objectCount));
    answer.append(std::uint16_t{0});
    answer.append(std::uint32_t{static_cast<std::uint8_t>(objectCount)});
    answer.append(std::uint8_t{5});
    answer.append(std::span<const std::byte>(RESERVED));
}

void appendObject(AnswerBuffer& answer, const database::Matching& matching)
{
    answer.append(matching.position.re.toDouble());
    answer.append(matching.position.im.toDouble());
    answer.append(matching.rotation.toDouble() * 180.0 / std::numbers::pi);
    answer.append(static_cast<double>(matching.templateID));
    answer.append(0.0);
}

} // namespace

std::string version()
{
    return "Tarvik " + Version::current().versionStr() +
           " - Festo compatibility string: \"Version: 3.5\"";
}

std::string objectLine(const database::Matching& matching, const TaughtValues& taught)
{
    return std::to_string(matching.templateID) + ", " + twoDecimals(degrees(taught.gripRotation)) +
           ", " + twoDecimals(taught.height.toDouble()) + ", (" +
           twoDecimals(matching.position.re.toDouble()) + ", " +
           twoDecimals(matching.position.im.toDouble()) + ", 0, " +
           twoDecimals(degrees(matching.rotation)) + ", 0, 0)";
}

int objectIndex(std::string_view argument)
{
    const std::string digits(argument.substr(1, 2));
    return static_cast<int>(std::strtol(digits.c_str(), nullptr, 10)) - 1;
}

void appendResultRecord(AnswerBuffer& answer, const database::Matchings& matchings)
{
    const int count = std::min<int>(matchings.count(), MAX_RECORD_OBJECTS);
    appendHeader(answer, count);
    for (int i = 0; i < count; ++i) {
        appendObject(answer, matchings[i]);
    }
}

} // namespace tarvik::com::server::telnet
