#pragma once

#include "core/concurrent/Mutex.h"
#include "core/logging/Log.h"
#include "core/logging/LogEntry.h"
#include "core/serialization/Fields.h"
#include "core/util/Observable.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::logging {

class LogManager;

/// Published for every new entry; valid during the notification only.
struct LogEvent
{
    LogManager* source = nullptr;
    const std::string* logName = nullptr;
    const LogEntry* entry = nullptr;
    std::int32_t logIndex = -1;
};

struct LogConfig
{
    /// Echo every entry to standard output.
    bool logToConsole = true;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        s& io::serialization::field("LogToConsole", self.logToConsole);
    }
};

/// One log as of one moment, as it travels to a client.
struct LogSnapshot
{
    std::string name;
    std::int32_t index = -1;
    std::vector<LogEntry> entries;

    template <class S, class Self>
    static void serialize(S& s, Self& self);
};

/// Every log as of one moment, as it travels to a client.
struct LogManagerSnapshot
{
    static constexpr int MAX_LOGS = 256;

    LogConfig config;
    std::vector<LogSnapshot> logs;

    template <class S, class Self>
    static void serialize(S& s, Self& self);
};

/// Owns the logs and tells its listeners about every new entry.
///
/// Threads: any.
class LogManager : public util::Observable<LogEvent>
{
public:
    LogManager() = default;

    [[nodiscard]] static LogManager& globalInstance();

    [[nodiscard]] LogConfig config() const { return {.logToConsole = _logToConsole}; }

    void setConfig(const LogConfig& config) { _logToConsole = config.logToConsole; }

    [[nodiscard]] int logCount() const;
    /// Throws Exception "Invalid log index." outside 0 ... logCount() - 1.
    [[nodiscard]] Log* getLog(int i) const;
    /// The log of this name, made on first use. It lives as long as the manager.
    [[nodiscard]] Log* getLog(std::string_view name);

    [[nodiscard]] LogManagerSnapshot snapshot() const;

private:
    friend class Log;
    void echo(const Log& log, const LogEntry& entry);
    void publish(const Log& log, const LogEntry& entry);

    std::atomic<bool> _logToConsole{true};

    /// Guards the list of logs; then each log's own mutex.
    mutable concurrent::Mutex _listMutex;
    std::vector<std::unique_ptr<Log>> _logs TARVIK_GUARDED_BY(_listMutex);
    /// Keeps console lines of different logs whole. A leaf.
    concurrent::Mutex _consoleMutex;
};

template <class S, class Self>
void LogSnapshot::serialize(S& s, Self& self)
{
    using io::serialization::field;
    auto count = static_cast<std::int32_t>(self.entries.size());
    s& field("Name", self.name) & field("Index", self.index) & field("EntryCount", count);
    s.checkCount("EntryCount", count, static_cast<int>(Log::CAPACITY));
    if constexpr (!S::isEncoder()) {
        self.entries.assign(static_cast<std::size_t>(count), LogEntry{});
    }
    for (auto& entry : self.entries) {
        s& field("Entry", entry);
    }
}

template <class S, class Self>
void LogManagerSnapshot::serialize(S& s, Self& self)
{
    using io::serialization::field;
    auto count = static_cast<std::int32_t>(self.logs.size());
    s& field("LogConfig", self.config) & field("LogCount", count);
    s.checkCount("LogCount", count, MAX_LOGS);
    if constexpr (!S::isEncoder()) {
        self.logs.assign(static_cast<std::size_t>(count), LogSnapshot{});
    }
    for (auto& log : self.logs) {
        s& field("Log", log);
    }
}

} // namespace tarvik::logging
