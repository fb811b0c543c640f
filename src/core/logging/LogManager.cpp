#include "core/logging/LogManager.h"

#include "core/Exception.h"

#include <cstdio>

namespace tarvik::logging {

LogManager& LogManager::globalInstance()
{
    static LogManager manager;
    return manager;
}

int LogManager::logCount() const
{
    const concurrent::MutexLock lock(_listMutex);
    return static_cast<int>(_logs.size());
}

Log* LogManager::getLog(int i) const
{
    const concurrent::MutexLock lock(_listMutex);
    if (i < 0 || static_cast<std::size_t>(i) >= _logs.size()) {
        throw Exception("Invalid log index.");
    }
    return _logs[static_cast<std::size_t>(i)].get();
}

Log* LogManager::getLog(std::string_view name)
{
    const concurrent::MutexLock lock(_listMutex);
    for (const auto& log : _logs) {
        if (log->name() == name) {
            return log.get();
        }
    }
    _logs.push_back(
        std::make_unique<Log>(*this, std::string(name), static_cast<int>(_logs.size())));
    return _logs.back().get();
}

LogManagerSnapshot LogManager::snapshot() const
{
    LogManagerSnapshot result;
    result.config = config();
    const concurrent::MutexLock lock(_listMutex);
    for (const auto& log : _logs) {
        result.logs.push_back({log->name(), log->index(), log->entries()});
    }
    return result;
}

void LogManager::echo(const Log& log, const LogEntry& entry)
{
    if (!_logToConsole) {
        return;
    }
    const concurrent::MutexLock lock(_consoleMutex);
    std::fprintf(stdout, "%s (%s): %s\n", log.name().c_str(), levelName(entry.priority),
                 entry.message.c_str());
    std::fflush(stdout);
}

void LogManager::publish(const Log& log, const LogEntry& entry)
{
    LogEvent event{this, &log.name(), &entry, log.index()};
    notify(event);
}

} // namespace tarvik::logging
