#pragma once

#include "io/IOException.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarvik::io::serialization {

/// Foreign data that cannot be decoded. Names the element, the value and the limit.
class SerializationException : public IOException
{
public:
    using IOException::IOException;
};

/// "Invalid count in <name>: 33. Allowed: 0 to 32."
[[noreturn]] void throwInvalidCount(std::string_view name, std::int64_t count, std::int64_t min,
                                    std::int64_t max);

/// "Invalid text length in <name>: 70000. Allowed: 0 to 65535."
[[noreturn]] void throwInvalidLength(std::string_view name, std::int64_t length, std::size_t max);

/// For foreign text inside an error message: cut to a readable length, control characters and
/// bytes outside ASCII replaced by '?'.
[[nodiscard]] std::string printable(std::string_view text);

} // namespace tarvik::io::serialization
