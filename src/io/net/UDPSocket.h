#pragma once

#include "io/net/Socket.h"
#include "io/stream/InputStream.h"
#include "io/stream/OutputStream.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::io::net {

/// Datagrams over IPv4: each write sends one to the receiver, each read takes one.
///
/// Every failure is a SocketException. Threads: see Socket; setDestination() belongs to the writer.
class UDPSocket : public Socket,
                  public stream::InputStream<UDPSocket>,
                  public stream::OutputStream<UDPSocket>
{
public:
    void open();

    /// Null: every local address. Port 0: any free one.
    void bind(const char* address, int port) { bindTo(address, port, "Invalid IP address."); }

    /// The receiver of every following datagram; null means 0.0.0.0. Until the first call, and
    /// with address and port both 0, writing fails with "Receiver not yet specified.".
    void setDestination(const char* address, std::uint16_t port);

    /// Waits for one datagram, which must have at least the span's size.
    void readImpl(std::span<std::byte> bytes);
    /// Waits for one datagram and returns its size, cut to the span.
    [[nodiscard]] std::size_t readSomeImpl(std::span<std::byte> bytes);
    void writeImpl(std::span<const std::byte> bytes);
    /// Size of the next datagram.
    [[nodiscard]] std::size_t bytesAvailableImpl() const;

    void flushImpl() {}

private:
    sockaddr_in _receiver{}; ///< address and port 0 until set
};

} // namespace tarvik::io::net
