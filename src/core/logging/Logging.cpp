#include "core/logging/Logging.h"

#include "core/Exception.h"
#include "core/logging/LogManager.h"
#include "core/util/succeeds.h"

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

void Logging::logFailure(LogLevel level, std::string_view words,
                         const std::exception& failure) const noexcept
{
    if (!util::succeeds([&] { log(level, std::string(words) + failure.what()); })) {
        log(level, failure.what());
    }
    const auto* const ours = dynamic_cast<const Exception*>(&failure);
    if (ours != nullptr && !ours->reason().empty()) {
        log(level, ours->reason());
    }
}

} // namespace tarvik::logging
