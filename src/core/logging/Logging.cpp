#include "core/logging/Logging.h"

#include "core/logging/LogManager.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

namespace tarvik::logging {

Logging::Logging(std::string_view logName) : _log(LogManager::globalInstance().getLog(logName)) {}

void Logging::log(LogLevel level, std::string_view message) const noexcept
{
    try {
        auto entry = std::make_unique<LogEntry>(LogEntry{
            sys::DateTime::localTime(), static_cast<std::int32_t>(level), std::string(message)});
        _log->log(entry.release());
    } catch (const std::exception& e) {
        // Out of memory, or a listener's failure: a message must not cost what it reports on.
        std::fprintf(stderr, "A log entry was lost: %s\n", e.what());
    }
}

} // namespace tarvik::logging
