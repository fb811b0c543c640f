#pragma once

#include "io/net/Socket.h"
#include "io/stream/InputStream.h"
#include "io/stream/OutputStream.h"

#include <cstddef>
#include <span>

namespace tarvik::concurrent {
class WakeUp;
}

namespace tarvik::io::net {

/// One TCP connection over IPv4, or the socket that listens for it: after accept() the same object
/// is the connection, and nobody listens any more until it is opened again.
///
/// Every failure is a SocketException; the end of the stream is one too ("Couldn't read data."). A
/// wait that is interrupted or closed fails with "Operation canceled".
///
/// Threads: see Socket. A read and a write may run at the same time.
class TCPSocket : public Socket,
                  public stream::InputStream<TCPSocket>,
                  public stream::OutputStream<TCPSocket>
{
public:
    /// A write without a time budget ends within this time, and no write waits longer than this
    /// for the peer to take anything at all.
    static constexpr std::chrono::milliseconds SEND_TIMEOUT{3000};

    /// Also the end of an interruption.
    void open();

    /// Null: every local address. Port 0: any free one.
    void bind(const char* address, int port) { bindTo(address, port, "Invalid address."); }

    /// Waits as long as the system tries; null means 0.0.0.0.
    void connect(const char* address, int port) { connectUntil(address, port, std::nullopt); }

    /// Gives up after timeoutMs milliseconds ("Connecting to host failed. Details: Connection
    /// timed out").
    void connect(const char* address, int port, int timeoutMs);

    /// At most 10 connections wait.
    void listen();

    /// Waits until a connection can be accepted. Needs no lock of anybody.
    void waitForConnection();

    /// Accepts the connection that waits, if there still is one, and returns at once.
    [[nodiscard]] bool acceptPending();

    /// Waits for one connection and becomes it.
    void accept();

    /// Waits until there is something to read, the end of the stream included.
    void waitReadable();

    /// The same, or until the wake-up is set: true when there is something to read.
    [[nodiscard]] bool waitReadable(const concurrent::WakeUp& other);

    /// Waits until the wake-up is set, while the peer may send what it likes; fails as soon as the
    /// peer has gone or said that it sends nothing more.
    void waitWhileConnected(const concurrent::WakeUp& other);

    /// Gives the writes to come this long in all, instead of 3 seconds each; 0 takes it back.
    /// Belongs to the writer.
    void setSendBudget(std::chrono::milliseconds budget);

    void readImpl(std::span<std::byte> bytes);
    [[nodiscard]] std::size_t readSomeImpl(std::span<std::byte> bytes);
    void writeImpl(std::span<const std::byte> bytes);
    [[nodiscard]] std::size_t bytesAvailableImpl() const;

    void flushImpl() {}

    void clearImpl() {}

private:
    void connectUntil(const char* address, int port, const Deadline& deadline);

    Deadline _sendDeadline;
};

} // namespace tarvik::io::net
