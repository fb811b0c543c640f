#include "io/serialization/SerializationException.h"

#include <algorithm>
#include <string>

namespace tarvik::io::serialization {

namespace {

std::string invalid(const char* what, std::string_view name, std::int64_t value, std::int64_t min,
                    std::uint64_t max)
{
    return std::string("Invalid ") + what + " in <" + std::string(name) +
           ">: " + std::to_string(value) + ". Allowed: " + std::to_string(min) + " to " +
           std::to_string(max) + ".";
}

} // namespace

void throwInvalidCount(std::string_view name, std::int64_t count, std::int64_t min,
                       std::int64_t max)
{
    throw SerializationException(
        invalid("count", name, count, min, static_cast<std::uint64_t>(max)));
}

void throwInvalidLength(std::string_view name, std::int64_t length, std::size_t max)
{
    throw SerializationException(invalid("text length", name, length, 0, max));
}

std::string printable(std::string_view text)
{
    constexpr std::size_t maxLength = 64;
    std::string result(text.substr(0, maxLength));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    if (text.size() > maxLength) {
        result += "...";
    }
    return result;
}

} // namespace tarvik::io::serialization
