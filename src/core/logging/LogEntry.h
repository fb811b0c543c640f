#pragma once

#include "core/serialization/Fields.h"
#include "core/sys/DateTime.h"

#include <cstdint>
#include <string>

namespace tarvik::logging {

/// How much an entry matters; the numbers travel on the wire.
enum class LogLevel : std::int32_t
{
    Fine = 0,
    Info = 1,
    Warning = 2,
    Fatal = 3,
};

/// "FINE", "INFO", "WARNING", "FATAL", or "UNKNOWN" for any other number.
[[nodiscard]] const char* levelName(std::int32_t priority);

/// One message of a log.
struct LogEntry
{
    sys::DateTime time;
    std::int32_t priority = 0;
    std::string message;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Time", self.time) & field("Priority", self.priority) &
            field("Message", self.message);
    }
};

} // namespace tarvik::logging
