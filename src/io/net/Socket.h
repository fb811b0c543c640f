#pragma once

#include "core/concurrent/Mutex.h"

#include <netinet/in.h>

#include <chrono>
#include <memory>
#include <optional>

namespace tarvik::concurrent {
class WakeUp;
}

namespace tarvik::io::net {

/// What TCP and UDP sockets share: the descriptor, and waits that any thread can end.
///
/// Threads: isOpen(), interrupt() and close() from any thread at any time. The descriptor lives
/// until the last call in progress on it has returned, so its number is never reused under one.
/// The other operations belong to one reader and one writer.
class Socket
{
public:
    using Clock = std::chrono::steady_clock;

    Socket() = default;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    [[nodiscard]] bool isOpen() const { return pin() != nullptr; }

    /// Interrupts, shuts the connection down in both directions and lets the descriptor go.
    /// Closing a closed socket does nothing.
    void close();

    /// Ends every wait in progress with a SocketException, and every later one until the next
    /// open(). An owner that stops its thread clears its running flag first; the thread tests the
    /// flag after open().
    void interrupt();

    /// The port that the socket is bound to, in host order; for sockets bound to port 0.
    /// Throws SocketException.
    [[nodiscard]] int localPort() const;

protected:
    struct Interruption;

    /// An open descriptor, closed when the last user lets go of it.
    struct Handle
    {
        Handle(int openDescriptor, std::shared_ptr<Interruption> interruptible);
        Handle(const Handle&) = delete;
        Handle& operator=(const Handle&) = delete;
        ~Handle();

        int descriptor;
        /// Passed on from the listening socket to its connection.
        std::shared_ptr<Interruption> interruption;
    };

    using Pin = std::shared_ptr<const Handle>;
    using Deadline = std::optional<Clock::time_point>;

    ~Socket();

    /// Null while closed.
    [[nodiscard]] Pin pin() const;

    /// Never null, and not interrupted: throws SocketException with the message.
    [[nodiscard]] Pin pinOrThrow(const char* message) const;

    /// A new non-blocking IPv4 socket with address re-use, not yet set().
    [[nodiscard]] Pin create(int type, int protocol) const;
    void set(Pin handle);
    /// False, and nothing changes, when the socket no longer has the old handle.
    [[nodiscard]] bool replace(const Pin& old, Pin handle);

    /// Null address: every local one.
    void bindTo(const char* address, int port, const char* invalidAddress);

    /// Throws SocketException(message, EINVAL) for a text that is no IPv4 address.
    [[nodiscard]] static sockaddr_in makeAddress(const char* address, int port,
                                                 const char* message);

    /// Waits for POLLIN or POLLOUT; false when the deadline passes first. Throws
    /// SocketException(message, ECANCELED) once interrupted or closed.
    static bool waitFor(const Handle& handle, short events, const Deadline& deadline,
                        const char* message);

    [[nodiscard]] static std::size_t availableOn(const Handle& handle);

    /// Waits for the events, or a hang-up (true), or for the wake-up (false). Throws as waitFor().
    static bool waitForEither(const Handle& handle, short events, const concurrent::WakeUp& other,
                              const char* message);

private:
    /// Guards _handle. A leaf: nothing else is locked while it is held.
    mutable concurrent::Mutex _handleMutex;
    Pin _handle TARVIK_GUARDED_BY(_handleMutex);
};

} // namespace tarvik::io::net
