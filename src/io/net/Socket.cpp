#include "io/net/Socket.h"

#include "core/concurrent/WakeUp.h"
#include "core/sys/PortHolder.h"
#include "io/net/SocketException.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <string>
#include <utility>

namespace tarvik::io::net {

namespace {

/// Who or what keeps a socket from its local address; empty when there is nothing to tell.
std::string obstacle(int descriptor, const sockaddr_in& address, int error)
{
    if (error == EADDRNOTAVAIL) {
        std::array<char, INET_ADDRSTRLEN> name{};
        ::inet_ntop(AF_INET, &address.sin_addr, name.data(), name.size());
        return std::string(name.data()) + " is no address of this machine.";
    }
    int protocol = 0;
    socklen_t size = sizeof protocol;
    ::getsockopt(descriptor, SOL_SOCKET, SO_PROTOCOL, &protocol, &size);
    const std::string port = (protocol == IPPROTO_TCP ? "TCP port " : "UDP port ") +
                             std::to_string(ntohs(address.sin_port));
    if (error != EADDRINUSE) {
        return port + " was wanted.";
    }
    const std::string holder = sys::portHolder(protocol, address);
    return port + (holder.empty() ? " is in use." : " is held by " + holder + ".");
}

} // namespace

struct Socket::Interruption
{
    void set()
    {
        requested = true;
        wakeUp.set();
    }

    std::atomic<bool> requested{false}; ///< the same as wakeUp, for a look without a system call
    concurrent::WakeUp wakeUp;
};

Socket::Handle::Handle(int openDescriptor, std::shared_ptr<Interruption> interruptible)
    : descriptor(openDescriptor),
      interruption(std::move(interruptible))
{}

Socket::Handle::~Handle()
{
    ::close(descriptor);
}

Socket::~Socket()
{
    close();
}

void Socket::close()
{
    Pin handle;
    {
        const concurrent::MutexLock lock(_handleMutex);
        handle = std::exchange(_handle, nullptr);
    }
    if (handle != nullptr) {
        handle->interruption->set();
        ::shutdown(handle->descriptor, SHUT_RDWR);
    }
}

void Socket::interrupt()
{
    if (const Pin handle = pin()) {
        handle->interruption->set();
    }
}

int Socket::localPort() const
{
    const char* const message = "Couldn't read the local port.";
    const Pin handle = pinOrThrow(message);
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (::getsockname(handle->descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw SocketException(message, errno);
    }
    return ntohs(address.sin_port);
}

Socket::Pin Socket::pin() const
{
    const concurrent::MutexLock lock(_handleMutex);
    return _handle;
}

Socket::Pin Socket::pinOrThrow(const char* message) const
{
    Pin handle = pin();
    if (handle == nullptr) {
        throw SocketException(message, EBADF);
    }
    if (handle->interruption->requested) {
        throw SocketException(message, ECANCELED);
    }
    return handle;
}

Socket::Pin Socket::create(int type, int protocol) const
{
    if (isOpen()) {
        throw SocketException("Socket already open.");
    }
    auto interruption = std::make_shared<Interruption>();
    const int descriptor = ::socket(AF_INET, type | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol);
    if (descriptor < 0) {
        throw SocketException("Couldn't open socket.", errno);
    }
    auto handle = std::make_shared<const Handle>(descriptor, std::move(interruption));
    const int on = 1;
    if (::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0) {
        throw SocketException("Couldn't set socket options.", errno);
    }
    return handle;
}

void Socket::set(Pin handle)
{
    const concurrent::MutexLock lock(_handleMutex);
    _handle = std::move(handle);
}

bool Socket::replace(const Pin& old, Pin handle)
{
    const concurrent::MutexLock lock(_handleMutex);
    if (_handle != old) {
        return false;
    }
    _handle = std::move(handle);
    return true;
}

void Socket::bindTo(const char* address, int port, const char* invalidAddress)
{
    const char* const message = "Binding socket failed.";
    const Pin handle = pinOrThrow(message);
    const sockaddr_in local = makeAddress(address, port, invalidAddress);
    if (::bind(handle->descriptor, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        const int error = errno;
        throw SocketException(message, error, obstacle(handle->descriptor, local, error));
    }
}

sockaddr_in Socket::makeAddress(const char* address, int port, const char* message)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(static_cast<std::uint16_t>(port));
    const bool valid = address == nullptr || ::inet_aton(address, &result.sin_addr) != 0;
    if (!valid || port < 0 || port > UINT16_MAX) {
        throw SocketException(message, EINVAL);
    }
    return result;
}

bool Socket::waitFor(const Handle& handle, short events, const Deadline& deadline,
                     const char* message)
{
    for (;;) {
        int timeoutMs = -1;
        if (deadline.has_value()) {
            const auto left =
                std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
            timeoutMs = left.count() > 0 ? static_cast<int>(left.count()) : 0;
        }
        const int wakeUp = handle.interruption->wakeUp.descriptor();
        std::array<pollfd, 2> entries{{{handle.descriptor, events, 0}, {wakeUp, POLLIN, 0}}};
        const int ready = ::poll(entries.data(), entries.size(), timeoutMs);
        if (ready < 0 && errno != EINTR) {
            throw SocketException(message, errno);
        }
        if (handle.interruption->requested) {
            throw SocketException(message, ECANCELED);
        }
        if (ready > 0 && entries[0].revents != 0) {
            return true;
        }
        if (ready == 0) {
            return false;
        }
    }
}

std::size_t Socket::availableOn(const Handle& handle)
{
    int count = 0;
    if (::ioctl(handle.descriptor, FIONREAD, &count) != 0) {
        throw SocketException("Error getting number of available bytes.", errno);
    }
    return static_cast<std::size_t>(count);
}

bool Socket::waitForEither(const Handle& handle, short events, const concurrent::WakeUp& other,
                           const char* message)
{
    for (;;) {
        const int wakeUp = handle.interruption->wakeUp.descriptor();
        std::array<pollfd, 3> entries{
            {{handle.descriptor, events, 0}, {wakeUp, POLLIN, 0}, {other.descriptor(), POLLIN, 0}}};
        const int ready = ::poll(entries.data(), entries.size(), -1);
        if (ready < 0 && errno != EINTR) {
            throw SocketException(message, errno);
        }
        if (handle.interruption->requested) {
            throw SocketException(message, ECANCELED);
        }
        if (ready > 0 && entries[0].revents != 0) {
            return true;
        }
        if (ready > 0 && entries[2].revents != 0) {
            return false;
        }
    }
}

} // namespace tarvik::io::net
