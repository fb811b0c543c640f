#pragma once

#include "core/concurrent/Mutex.h"
#include "io/buffer/ByteBuffer.h"
#include "io/net/UDPSocket.h"
#include "server/UDPConfig.h"

#include <cstdint>

namespace tarvik::breakup {
struct FrameProcessedEvent;
}

namespace tarvik::database {
class Database;
struct Matching;
} // namespace tarvik::database

namespace tarvik::com::server {

/// Pushes the result of every processed image to one receiver, one UDP datagram per image.
///
/// A datagram holds a 16-byte header, 40 bytes per object (0 to 25 objects) and a checksum byte:
/// 17 to 1017 bytes, little-endian, laid out in docs/protocol.md. Coordinates leave as IEEE 754
/// single precision in the database's output units, angles in radians.
///
/// Threads: the configuration belongs to the thread that starts the server and is constant once
/// images arrive; sending, on the camera thread, and close() may meet.
class UDPSender : public io::net::UDPSocket
{
public:
    static constexpr std::uint16_t LOCAL_PORT = 7756;

    /// Looks up taught values in the database, which outlives it.
    explicit UDPSender(const database::Database& database);

    /// Opens the socket, aims at the configured receiver and binds the local port (0 for any).
    /// Throws SocketException when the address does not parse or the port is taken; the socket is
    /// closed then.
    void init(std::uint16_t localPort = LOCAL_PORT);

    /// Waits for a datagram that is being sent.
    void close();

    /// Sends the event's matchings if automatic distribution is on and init() has succeeded;
    /// otherwise does nothing.
    void autoSend(const breakup::FrameProcessedEvent& event);

    /// Throws SocketException. A failed datagram leaves nothing behind for the next one.
    void send(const breakup::FrameProcessedEvent& event);

    [[nodiscard]] const UDPConfig& config() const { return _config; }

    void setConfig(const UDPConfig& config) { _config = config; }

    /// Decoding takes over the configuration once it is complete.
    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        UDPConfig config = self._config;
        s& io::serialization::field("Configuration", config);
        if constexpr (!S::isEncoder()) {
            self._config = config;
        }
    }

private:
    void appendHeader(int objectCount);
    void appendRecord(const database::Matching& matching);

    const database::Database& _database;
    UDPConfig _config;
    /// Guards the socket against being closed under a datagram. Then the database lock.
    concurrent::Mutex _sendMutex;
    /// Fixed size: the processing chain allocates nothing per image.
    io::buffer::ByteBuffer<1024> _datagram;
};

} // namespace tarvik::com::server
