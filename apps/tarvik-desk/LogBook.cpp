#include "LogBook.h"

#include <algorithm>
#include <cstdio>
#include <tuple>
#include <vector>

namespace tarvik::desk {

using concurrent::MutexLock;
using logging::LogEntry;

namespace {

constexpr const char* OWN = "Desk";

auto timeKey(const sys::DateTime& t)
{
    return std::make_tuple(t.year, t.month, t.day, t.hours, t.minutes, t.seconds, t.milliseconds);
}

std::string timeText(const sys::DateTime& t)
{
    char text[96];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", t.year, t.month, t.day,
                  t.hours, t.minutes, t.seconds, t.milliseconds);
    return text;
}

} // namespace

void LogBook::reset(const logging::LogManagerSnapshot& logs)
{
    std::vector<std::pair<const std::string*, const LogEntry*>> all;
    for (const logging::LogSnapshot& log : logs.logs) {
        for (const LogEntry& entry : log.entries) {
            all.emplace_back(&log.name, &entry);
        }
    }
    std::ranges::stable_sort(all, {}, [](const auto& e) { return timeKey(e.second->time); });
    const MutexLock lock(_mutex);
    std::erase_if(_entries, [](const Entry& entry) { return entry.log != OWN; });
    for (const auto& [name, entry] : all) {
        append(*name, *entry);
    }
}

void LogBook::add(const com::LogUpdateContents& update)
{
    const MutexLock lock(_mutex);
    append(update.logName, update.entry);
}

void LogBook::note(logging::LogLevel level, const std::string& message)
{
    const MutexLock lock(_mutex);
    append(OWN, {sys::DateTime::localTime(), static_cast<std::int32_t>(level), message});
}

Json LogBook::after(std::uint64_t number) const
{
    Json list = Json::array();
    const MutexLock lock(_mutex);
    const auto first = std::ranges::upper_bound(_entries, number, {}, &Entry::number);
    for (auto entry = first; entry != _entries.end(); ++entry) {
        list.push_back({{"number", entry->number},
                        {"log", entry->log},
                        {"time", timeText(entry->entry.time)},
                        {"level", logging::levelName(entry->entry.priority)},
                        {"message", entry->entry.message}});
    }
    return list;
}

void LogBook::append(const std::string& log, const LogEntry& entry)
{
    _entries.push_back({++_lastNumber, log, entry});
    if (_entries.size() > CAPACITY) {
        _entries.pop_front();
    }
}

} // namespace tarvik::desk
