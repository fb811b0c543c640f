#pragma once

#include "core/Exception.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace tarvik::client {

/// Where a server is.
struct ServerAddress
{
    std::string host = "127.0.0.1"; ///< name or IPv4 address
    std::uint16_t port = 0;

    [[nodiscard]] std::string text() const { return host + ":" + std::to_string(port); }
};

/// Why a client cannot go on; the text says what to do next.
class ClientException : public Exception
{
public:
    enum class Kind
    {
        Refused,       ///< nobody serves there, or somebody else is being served
        WrongGreeting, ///< whoever answers is no Tarvik server
        Lost,          ///< the connection has ended, or there is none
        Timeout,       ///< no answer in time; the connection is closed
        ImageRefused,  ///< the camera does not take the test image; the connection lives
        Misuse,        ///< the program called what it must not call there
    };

    ClientException(Kind kind, std::string message) : Exception(std::move(message)), _kind(kind) {}

    [[nodiscard]] Kind kind() const { return _kind; }

private:
    Kind _kind;
};

[[nodiscard]] ClientException refused(const ServerAddress& server, const std::string& reason);
[[nodiscard]] ClientException wrongGreeting(const ServerAddress& server);
[[nodiscard]] ClientException lost(const ServerAddress& server, const std::string& reason);
/// `what` completes "no ... came".
[[nodiscard]] ClientException timedOut(const ServerAddress& server, const std::string& what,
                                       std::chrono::milliseconds time);

} // namespace tarvik::client
