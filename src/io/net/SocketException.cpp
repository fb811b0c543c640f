#include "io/net/SocketException.h"

#include <cstddef>
#include <string_view>
#include <system_error>
#include <utility>

namespace tarvik::io::net {

namespace {

constexpr std::size_t MAX_TEXT = 1023;
constexpr std::size_t MAX_PART = 500;

/// strerror(), safe from any thread.
std::string description(int errorCode)
{
    return std::generic_category().message(errorCode);
}

std::string withDetails(const char* message, int errorCode)
{
    return std::string(std::string_view(message).substr(0, MAX_PART)) +
           " Details: " + description(errorCode).substr(0, MAX_PART);
}

} // namespace

SocketException::SocketException(const char* message)
    : IOException(std::string(std::string_view(message).substr(0, MAX_TEXT)))
{}

SocketException::SocketException(int errorCode)
    : IOException(description(errorCode).substr(0, MAX_TEXT)),
      _errorCode(errorCode)
{}

SocketException::SocketException(const char* message, int errorCode)
    : IOException(withDetails(message, errorCode)),
      _errorCode(errorCode)
{}

SocketException::SocketException(const char* message, int errorCode, std::string reason)
    : IOException(withDetails(message, errorCode), std::move(reason)),
      _errorCode(errorCode)
{}

std::string SocketException::formattedError() const
{
    return description(_errorCode);
}

} // namespace tarvik::io::net
