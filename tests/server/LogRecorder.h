#pragma once

#include "core/logging/LogManager.h"
#include "core/util/Listener.h"
#include "support/Eventually.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace tarvik::test {

/// Keeps what every log says while it lives, as "Server (INFO): Config saved.", off the console.
class LogRecorder : public util::Listener<logging::LogEvent>
{
public:
    LogRecorder()
    {
        manager().setConfig({.logToConsole = false});
        manager().addListener(this);
    }

    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    ~LogRecorder() override { manager().removeListener(this); }

    void onEvent(logging::LogEvent& event) override
    {
        const std::scoped_lock lock(_mutex);
        _lines.push_back(*event.logName + " (" + logging::levelName(event.entry->priority) +
                         "): " + event.entry->message);
    }

    [[nodiscard]] std::vector<std::string> lines() const
    {
        const std::scoped_lock lock(_mutex);
        return _lines;
    }

    /// Those of one log.
    [[nodiscard]] std::vector<std::string> lines(const std::string& log) const
    {
        std::vector<std::string> result = lines();
        std::erase_if(result, [&](const std::string& l) { return !l.starts_with(log + " ("); });
        return result;
    }

    [[nodiscard]] std::size_t count(const std::string& line) const
    {
        const std::vector<std::string> all = lines();
        return static_cast<std::size_t>(std::count(all.begin(), all.end(), line));
    }

    /// Waits until the line has come this often.
    [[nodiscard]] bool saw(const std::string& line, std::size_t times = 1) const
    {
        return eventually([&] { return count(line) >= times; });
    }

    void clear()
    {
        const std::scoped_lock lock(_mutex);
        _lines.clear();
    }

private:
    static logging::LogManager& manager() { return logging::LogManager::globalInstance(); }

    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
};

} // namespace tarvik::test
