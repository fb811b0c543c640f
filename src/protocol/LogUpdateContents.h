#pragma once

#include "core/logging/LogEntry.h"
#include "core/serialization/Fields.h"

#include <cstdint>
#include <string>

namespace tarvik::com {

/// A new log entry on its way to a client.
struct LogUpdateContents
{
    std::string logName;
    std::int32_t logIndex = -1;
    logging::LogEntry entry;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("LogName", self.logName) & field("LogIndex", self.logIndex) &
            field("LogEntry", self.entry);
    }
};

} // namespace tarvik::com
