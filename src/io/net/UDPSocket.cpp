#include "io/net/UDPSocket.h"

#include "io/net/SocketException.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace tarvik::io::net {

namespace {

constexpr const char* READ_FAILED = "Couldn't read data.";
constexpr const char* WRITE_FAILED = "Couldn't send data.";

} // namespace

void UDPSocket::open()
{
    set(create(SOCK_DGRAM, IPPROTO_UDP));
}

void UDPSocket::setDestination(const char* address, std::uint16_t port)
{
    sockaddr_in receiver{};
    receiver.sin_family = AF_INET;
    receiver.sin_port = htons(port);
    receiver.sin_addr.s_addr = address == nullptr ? INADDR_ANY : ::inet_addr(address);
    if (receiver.sin_addr.s_addr == INADDR_NONE) {
        throw SocketException("Invalid IP address.", EINVAL);
    }
    _receiver = receiver;
}

void UDPSocket::readImpl(std::span<std::byte> bytes)
{
    if (readSomeImpl(bytes) < bytes.size()) {
        throw SocketException(READ_FAILED, EMSGSIZE);
    }
}

std::size_t UDPSocket::readSomeImpl(std::span<std::byte> bytes)
{
    const Pin handle = pinOrThrow(READ_FAILED);
    for (;;) {
        const ssize_t count = ::recv(handle->descriptor, bytes.data(), bytes.size(), 0);
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno == EAGAIN || errno == EWOULDBLOCK) {
            waitFor(*handle, POLLIN, std::nullopt, READ_FAILED);
        } else if (errno != EINTR) {
            throw SocketException(READ_FAILED, errno);
        }
    }
}

void UDPSocket::writeImpl(std::span<const std::byte> bytes)
{
    if (_receiver.sin_addr.s_addr == 0 && _receiver.sin_port == 0) {
        throw SocketException("Receiver not yet specified.");
    }
    const Pin handle = pinOrThrow(WRITE_FAILED);
    const ssize_t count =
        ::sendto(handle->descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                 reinterpret_cast<const sockaddr*>(&_receiver), sizeof _receiver);
    if (count != static_cast<ssize_t>(bytes.size())) {
        throw SocketException(WRITE_FAILED, count < 0 ? errno : EMSGSIZE);
    }
}

std::size_t UDPSocket::bytesAvailableImpl() const
{
    return availableOn(*pinOrThrow("Error getting number of available bytes."));
}

} // namespace tarvik::io::net
