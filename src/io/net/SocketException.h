#pragma once

#include "io/IOException.h"

#include <string>

namespace tarvik::io::net {

/// A socket's failure and the system's reason: "Binding socket failed. Details: Address already in
/// use".
class SocketException : public IOException
{
public:
    /// The message alone, at most 1023 characters; error code 0.
    explicit SocketException(const char* message);

    /// The system's description of the error code, at most 1023 characters.
    explicit SocketException(int errorCode);

    /// The first 500 characters of the message, " Details: ", and the first 500 of the description.
    SocketException(const char* message, int errorCode);

    /// The same, and what stood in the way: "TCP port 7453 is held by tarvik-server, process 1234."
    SocketException(const char* message, int errorCode, std::string reason);

    /// The errno value at the failure, 0 when there was none.
    [[nodiscard]] int getErrorCode() const noexcept { return _errorCode; }

    /// The system's description of the error code.
    [[nodiscard]] std::string formattedError() const;

private:
    int _errorCode = 0;
};

} // namespace tarvik::io::net
