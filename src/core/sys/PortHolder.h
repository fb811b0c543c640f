#pragma once

#include <netinet/in.h>

#include <string>

namespace tarvik::sys {

/// Who keeps this process from binding a socket to a local IPv4 address and port, for a message:
/// "tarvik-server, process 1234", or "a process of user 1000" when the system does not let us look
/// into it. Empty when /proc tells nothing.
///
/// `protocol` is IPPROTO_TCP, of which listening sockets count only, or IPPROTO_UDP. Looks through
/// the descriptors of every process: for failures, not for loops. Any thread.
[[nodiscard]] std::string portHolder(int protocol, const sockaddr_in& address);

} // namespace tarvik::sys
