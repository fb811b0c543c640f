#include "core/logging/Log.h"

#include "core/Exception.h"
#include "core/logging/LogManager.h"

#include <utility>

namespace tarvik::logging {

const char* levelName(std::int32_t priority)
{
    static constexpr std::array<const char*, 4> NAMES{"FINE", "INFO", "WARNING", "FATAL"};
    const auto index = static_cast<std::uint32_t>(priority);
    return index < NAMES.size() ? NAMES[index] : "UNKNOWN";
}

Log::Log(LogManager& manager) : Log(manager, {}, -1) {}

Log::Log(LogManager& manager, std::string name, int index)
    : _manager(manager),
      _name(std::move(name)),
      _index(index)
{}

void Log::log(LogEntry* entry)
{
    std::unique_ptr<LogEntry> owned(entry);
    if (owned == nullptr) {
        return;
    }
    LogEntry published = *owned; // the ring may drop its own before every listener has seen it
    {
        const concurrent::MutexLock lock(_mutex);
        _entries[_next] = std::move(owned);
        _next = (_next + 1) % CAPACITY;
        _manager.echo(*this, published);
    }
    _manager.publish(*this, published);
}

std::size_t Log::countLocked() const
{
    return _entries[_next] != nullptr ? CAPACITY : _next;
}

const LogEntry& Log::entryLocked(std::size_t i) const
{
    const std::size_t oldest = _entries[_next] != nullptr ? _next : 0;
    return *_entries[(oldest + i) % CAPACITY];
}

int Log::entryCount() const
{
    const concurrent::MutexLock lock(_mutex);
    return static_cast<int>(countLocked());
}

LogEntry Log::getEntry(int i) const
{
    const concurrent::MutexLock lock(_mutex);
    if (i < 0 || static_cast<std::size_t>(i) >= countLocked()) {
        throw Exception("Invalid log entry index.");
    }
    return entryLocked(static_cast<std::size_t>(i));
}

std::vector<LogEntry> Log::entries() const
{
    const concurrent::MutexLock lock(_mutex);
    std::vector<LogEntry> result;
    const std::size_t count = countLocked();
    result.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        result.push_back(entryLocked(i));
    }
    return result;
}

void Log::clearLog()
{
    const concurrent::MutexLock lock(_mutex);
    for (auto& entry : _entries) {
        entry.reset();
    }
    _next = 0;
}

} // namespace tarvik::logging
