#include "io/net/TCPSocket.h"

#include "io/net/SocketException.h"

#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>

namespace tarvik::io::net {

namespace {

constexpr const char* CONNECT_FAILED = "Connecting to host failed.";
constexpr const char* ACCEPT_FAILED = "Error accepting connection.";
constexpr const char* READ_FAILED = "Couldn't read data.";
constexpr const char* WRITE_FAILED = "Couldn't send data.";

template <class T>
void setOption(int descriptor, int level, int option, const T& value, const char* message)
{
    if (::setsockopt(descriptor, level, option, &value, sizeof value) != 0) {
        throw SocketException(message, errno);
    }
}

void setConnectionOptions(int descriptor)
{
    constexpr int sendBuffer = 5120;
    constexpr timeval sendTime{3, 0};
    setOption(descriptor, SOL_SOCKET, SO_SNDBUF, sendBuffer, "Couldn't set send buffer size.");
    setOption(descriptor, SOL_SOCKET, SO_SNDTIMEO, sendTime, "Couldn't set send timeout.");
    setOption(descriptor, IPPROTO_TCP, TCP_NODELAY, 1, "Couldn't set NO_DELAY.");
}

/// Segments of an Ethernet frame on every path. On the loopback they would be larger than the whole
/// send buffer, so that the receiver never sees two of them and delays each acknowledgement by 40
/// ms. A system without the option does without.
void limitSegments(int descriptor)
{
    constexpr int segmentBytes = 1448;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_MAXSEG, &segmentBytes, sizeof segmentBytes);
}

/// Finds out that a peer has vanished without a word (power, cable), since while it seems connected
/// nobody else gets in: after 8 s when something sent is not acknowledged, and after 15 s when all
/// is silent. A system without these options does without.
void noticeVanishedPeer(int descriptor)
{
    constexpr int on = 1;
    constexpr unsigned int unacknowledgedMs = 8000;
    constexpr int idleS = 10;
    constexpr int intervalS = 5;
    constexpr int probes = 4;
    ::setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, &idleS, sizeof idleS);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, &intervalS, sizeof intervalS);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPCNT, &probes, sizeof probes);
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &unacknowledgedMs,
                 sizeof unacknowledgedMs);
}

bool wouldBlock(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

/// The connection that waited has gone before it was accepted: wait for the next one.
bool connectionVanished(int error)
{
    return wouldBlock(error) || error == ECONNABORTED || error == EINTR || error == EPROTO;
}

} // namespace

void TCPSocket::open()
{
    const Pin handle = create(SOCK_STREAM, IPPROTO_TCP);
    setConnectionOptions(handle->descriptor);
    limitSegments(handle->descriptor);
    set(handle);
}

void TCPSocket::connect(const char* address, int port, int timeoutMs)
{
    connectUntil(address, port, Clock::now() + std::chrono::milliseconds(timeoutMs));
}

void TCPSocket::connectUntil(const char* address, int port, const Deadline& deadline)
{
    const Pin handle = pinOrThrow(CONNECT_FAILED);
    const sockaddr_in peer = makeAddress(address, port, "Invalid address.");
    if (::connect(handle->descriptor, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) {
        return;
    }
    if (errno != EINPROGRESS && errno != EINTR) {
        throw SocketException(CONNECT_FAILED, errno);
    }
    if (!waitFor(*handle, POLLOUT, deadline, CONNECT_FAILED)) {
        throw SocketException(CONNECT_FAILED, ETIMEDOUT);
    }
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(handle->descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) {
        throw SocketException(CONNECT_FAILED, error);
    }
}

void TCPSocket::listen()
{
    constexpr int backlog = 10;
    const char* const message = "Error listening.";
    if (::listen(pinOrThrow(message)->descriptor, backlog) != 0) {
        throw SocketException(message, errno);
    }
}

void TCPSocket::waitForConnection()
{
    const Pin handle = pinOrThrow(ACCEPT_FAILED);
    waitFor(*handle, POLLIN, std::nullopt, ACCEPT_FAILED);
}

bool TCPSocket::acceptPending()
{
    const Pin listening = pinOrThrow(ACCEPT_FAILED);
    const int descriptor =
        ::accept4(listening->descriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0) {
        if (connectionVanished(errno)) {
            return false;
        }
        throw SocketException(ACCEPT_FAILED, errno);
    }
    const auto connection = std::make_shared<const Handle>(descriptor, listening->interruption);
    setConnectionOptions(descriptor);
    limitSegments(descriptor);
    noticeVanishedPeer(descriptor);
    if (!replace(listening, connection)) {
        throw SocketException(ACCEPT_FAILED, ECANCELED); // closed meanwhile
    }
    return true;
}

void TCPSocket::accept()
{
    do {
        waitForConnection();
    } while (!acceptPending());
}

void TCPSocket::waitReadable()
{
    const Pin handle = pinOrThrow(READ_FAILED);
    waitFor(*handle, POLLIN, std::nullopt, READ_FAILED);
}

bool TCPSocket::waitReadable(const concurrent::WakeUp& other)
{
    return waitForEither(*pinOrThrow(READ_FAILED), POLLIN, other, READ_FAILED);
}

void TCPSocket::waitWhileConnected(const concurrent::WakeUp& other)
{
    if (waitForEither(*pinOrThrow(READ_FAILED), POLLRDHUP, other, READ_FAILED)) {
        throw SocketException(READ_FAILED, ECONNRESET);
    }
}

void TCPSocket::setSendBudget(std::chrono::milliseconds budget)
{
    _sendDeadline = budget.count() > 0 ? Deadline(Clock::now() + budget) : std::nullopt;
}

void TCPSocket::readImpl(std::span<std::byte> bytes)
{
    while (!bytes.empty()) {
        bytes = bytes.subspan(readSomeImpl(bytes));
    }
}

std::size_t TCPSocket::readSomeImpl(std::span<std::byte> bytes)
{
    const Pin handle = pinOrThrow(READ_FAILED);
    if (bytes.empty()) {
        return 0;
    }
    for (;;) {
        const ssize_t count = ::recv(handle->descriptor, bytes.data(), bytes.size(), 0);
        if (count > 0) {
            return static_cast<std::size_t>(count);
        }
        if (count == 0) {
            // An orderly end carries no error number; this one reads right in a log.
            throw SocketException(READ_FAILED, ECONNRESET);
        }
        if (wouldBlock(errno)) {
            waitFor(*handle, POLLIN, std::nullopt, READ_FAILED);
        } else if (errno != EINTR) {
            throw SocketException(READ_FAILED, errno);
        }
    }
}

void TCPSocket::writeImpl(std::span<const std::byte> bytes)
{
    const Pin handle = pinOrThrow(WRITE_FAILED);
    const Clock::time_point end = _sendDeadline.value_or(Clock::now() + SEND_TIMEOUT);
    while (!bytes.empty()) {
        const ssize_t count =
            ::send(handle->descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (wouldBlock(errno)) {
            const Clock::time_point stalled = Clock::now() + SEND_TIMEOUT;
            if (!waitFor(*handle, POLLOUT, std::min(end, stalled), WRITE_FAILED)) {
                throw SocketException(WRITE_FAILED, ETIMEDOUT);
            }
        } else if (errno != EINTR) {
            throw SocketException(WRITE_FAILED, errno);
        }
    }
}

std::size_t TCPSocket::bytesAvailableImpl() const
{
    return availableOn(*pinOrThrow("Error getting number of available bytes."));
}

} // namespace tarvik::io::net
