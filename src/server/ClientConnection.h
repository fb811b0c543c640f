#pragma once

#include "core/concurrent/Mutex.h"
#include "core/concurrent/WakeUp.h"
#include "io/com/Com.h"
#include "protocol/LogUpdateContents.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

namespace tarvik::logging {
struct LogEvent;
}

namespace tarvik::com::server {

/// The connection of a server with its one client: TarvikDesk's, or the test client's.
///
/// One thread, the serving thread, accepts the client, waits for its messages and drops it. Others
/// send over it, hand it log entries to pass on, or end it. A send that fails marks the connection
/// as lost and wakes the serving thread, which alone reports that and clears up, so no other thread
/// ever needs a server's lock for a client that has gone. Log entries and signs of life wait in a
/// queue for the serving thread, so whoever logs never waits for a peer, whatever locks it holds.
class ClientConnection
{
public:
    /// Tells one client from the next one; 0 is nobody.
    using Id = std::uint32_t;

    static constexpr unsigned int SEND_TIMEOUT_MS = 5000;

    /// Before the first client.
    void registerMessage(std::unique_ptr<io::com::Message> message);

    // The serving thread's part.

    /// Opens the port and waits, without a lock, until a client can be accepted. Fails with a
    /// SocketException, also when interrupted. The caller tests its running flag before and after.
    /// Port 0 is any free one, and the same one again for the next client.
    void awaitClient(const char* address, std::uint16_t port, const std::atomic<bool>& running);
    /// Accepts and greets the client; returns at once. False when it has gone already.
    [[nodiscard]] bool acceptClient(int imageWidth, int imageHeight);
    /// Whether accepting has failed because the client left before it was greeted. Unlike other
    /// failures this one says nothing about the next attempt, which need not wait.
    [[nodiscard]] static bool isClientGone(const std::exception& failure);

    /// Waits for a message to begin (true), or for something to be sent (false).
    [[nodiscard]] bool waitForMessage() { return _channel.waitForMessage(_attention); }

    /// Receives one message, acts on it and answers it.
    void receive(concurrent::Mutex& actionLock) { _channel.receive(&actionLock); }

    [[nodiscard]] std::vector<LogUpdateContents> takeLogUpdates();

    [[nodiscard]] bool takeSignOfLife() { return _signOfLife.exchange(false); }

    /// Marks the connection as lost; false when it was already.
    bool lose();
    /// Why a send has failed on this connection; empty when none has.
    [[nodiscard]] std::string sendFailure() const;
    /// Drops the client.
    void close();

    /// A client has been accepted and not been dropped, though it may be lost. Serving thread only.
    [[nodiscard]] bool hasClient() const { return _hasClient; }

    // Everybody's part.

    [[nodiscard]] bool connected() const { return _current != NOBODY; }

    [[nodiscard]] Id current() const { return _current; }

    /// Sends to this client; does nothing when it is no longer there.
    void send(Id client, const io::com::Message& message);

    void setStreamLog(bool enabled) { _streamLog = enabled; }

    /// Queues the entry if a client wants to see the log.
    void passOn(const logging::LogEvent& event);
    /// Has the serving thread send a sign of life.
    void queueSignOfLife();

    /// Ends every wait on the connection, for the owner to stop.
    void interrupt() { _channel.interrupt(); }

    [[nodiscard]] std::uint16_t localPort() const { return _localPort; }

private:
    static constexpr Id NOBODY = 0;
    /// Entries beyond this are not passed on: the client does not read, and can fetch them later.
    static constexpr std::size_t MAX_LOG_UPDATES = 1024;

    io::com::Com _channel{true};
    std::atomic<Id> _current{NOBODY};
    std::atomic<bool> _streamLog{false};
    std::atomic<bool> _signOfLife{false};
    std::atomic<std::uint16_t> _localPort{0};
    bool _hasClient = false;
    Id _lastId = NOBODY;
    /// Wakes the serving thread to send what is queued.
    concurrent::WakeUp _attention;

    /// Held while a message is sent, at most for the send time-out, and while the client changes,
    /// so that no message meant for one client reaches the next. Lock order: any lock but the queue
    /// mutex, then this, then the channel's send lock.
    mutable concurrent::Mutex _sendMutex;
    std::string _sendFailure TARVIK_GUARDED_BY(_sendMutex);

    /// Guards the queue. A leaf.
    concurrent::Mutex _queueMutex;
    std::vector<LogUpdateContents> _logUpdates TARVIK_GUARDED_BY(_queueMutex);
};

} // namespace tarvik::com::server
