#pragma once

#include "core/logging/LogEntry.h"

#include <exception>
#include <string_view>

namespace tarvik::logging {

class Log;

/// Base of every component that logs: holds its named log of the global manager.
class Logging
{
public:
    explicit Logging(std::string_view logName);

protected:
    ~Logging() = default;
    Logging(const Logging&) = default;
    Logging& operator=(const Logging&) = default;

    /// Makes an entry with the local time. Never throws.
    void log(LogLevel level, std::string_view message) const noexcept;
    /// An entry of the words and what the failure says, and another one of its reason, if it has
    /// one. Never throws.
    void logFailure(LogLevel level, std::string_view words,
                    const std::exception& failure) const noexcept;

private:
    Log* _log; ///< lives in the global manager until process exit
};

} // namespace tarvik::logging
