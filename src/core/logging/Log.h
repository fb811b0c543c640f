#pragma once

#include "core/concurrent/Mutex.h"
#include "core/logging/LogEntry.h"

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::logging {

class LogManager;

/// One named log: keeps its last 512 entries, echoes each to the console if so configured, and
/// tells the log manager's listeners.
///
/// Threads: any. Listeners run on the logging thread with no lock held, so a listener that waits
/// for its peer keeps nobody else from logging, and may log itself.
class Log
{
public:
    static constexpr std::size_t CAPACITY = 512;

    explicit Log(LogManager& manager);
    Log(LogManager& manager, std::string name, int index);

    /// Empty for a log made without a name.
    [[nodiscard]] const std::string& name() const { return _name; }

    /// Position in the manager, -1 for a log made without a name.
    [[nodiscard]] int index() const { return _index; }

    /// Takes ownership of the entry; null is ignored.
    void log(LogEntry* entry);

    [[nodiscard]] int entryCount() const;

    /// Copy of the i-th oldest entry. Throws Exception "Invalid log entry index." outside
    /// 0 ... entryCount() - 1.
    [[nodiscard]] LogEntry getEntry(int i) const;

    /// Every entry, the oldest first, as of one moment.
    [[nodiscard]] std::vector<LogEntry> entries() const;

    void clearLog();

private:
    [[nodiscard]] std::size_t countLocked() const TARVIK_REQUIRES(_mutex);
    [[nodiscard]] const LogEntry& entryLocked(std::size_t i) const TARVIK_REQUIRES(_mutex);

    LogManager& _manager;
    const std::string _name;
    const int _index;

    /// Guards the ring, and keeps console lines in its order. Then the manager's console mutex.
    mutable concurrent::Mutex _mutex;
    std::array<std::unique_ptr<LogEntry>, CAPACITY> _entries TARVIK_GUARDED_BY(_mutex);
    /// Slot of the next entry; holds the oldest one when the ring is full.
    std::size_t _next TARVIK_GUARDED_BY(_mutex) = 0;
};

} // namespace tarvik::logging
