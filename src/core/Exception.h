#pragma once

#include <exception>
#include <string>
#include <utility>

namespace tarvik {

/// Base of every failure in the system: one complete sentence that may reach a client or a log.
class Exception : public std::exception
{
public:
    explicit Exception(std::string message) : _message(std::move(message)) {}

    [[nodiscard]] const char* what() const noexcept override { return _message.c_str(); }

private:
    std::string _message;
};

} // namespace tarvik
