#pragma once

#include "Json.h"
#include "core/concurrent/Mutex.h"
#include "core/logging/LogManager.h"
#include "protocol/LogUpdateContents.h"

#include <cstdint>
#include <deque>
#include <string>

namespace tarvik::desk {

/// The camera's log entries in the order of their arrival, and the desk's own under "Desk".
///
/// Threads: any.
class LogBook
{
public:
    static constexpr std::size_t CAPACITY = 2000;

    /// What the camera had kept, at the start of a connection; replaces its earlier entries.
    void reset(const logging::LogManagerSnapshot& logs);
    void add(const com::LogUpdateContents& update);
    /// An entry of the desk itself.
    void note(logging::LogLevel level, const std::string& message);

    /// Entries behind this number, the oldest first: {"number", "log", "time", "level", "message"}.
    [[nodiscard]] Json after(std::uint64_t number) const;

private:
    struct Entry
    {
        std::uint64_t number;
        std::string log;
        logging::LogEntry entry;
    };

    void append(const std::string& log, const logging::LogEntry& entry) TARVIK_REQUIRES(_mutex);

    /// A leaf.
    mutable concurrent::Mutex _mutex;
    std::deque<Entry> _entries TARVIK_GUARDED_BY(_mutex);
    std::uint64_t _lastNumber TARVIK_GUARDED_BY(_mutex) = 0;
};

} // namespace tarvik::desk
