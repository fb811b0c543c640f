#pragma once

#include <exception>
#include <string>
#include <utility>

namespace tarvik {

/// Base of every failure in the system: one complete sentence that may reach a client or a log.
class Exception : public std::exception
{
public:
    explicit Exception(std::string message, std::string reason = {})
        : _message(std::move(message)),
          _reason(std::move(reason))
    {}

    [[nodiscard]] const char* what() const noexcept override { return _message.c_str(); }

    /// What stood in the way, which the message does not tell: a sentence of its own for whoever
    /// has to put it right. Empty when there is no more to say.
    [[nodiscard]] const std::string& reason() const noexcept { return _reason; }

private:
    std::string _message;
    std::string _reason;
};

} // namespace tarvik
