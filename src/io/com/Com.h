#pragma once

#include "core/concurrent/Mutex.h"
#include "io/com/Greeting.h"
#include "io/com/Message.h"
#include "io/net/TCPSocket.h"
#include "io/stream/BufferedInputStream.h"
#include "io/stream/BufferedOutputStream.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>

namespace tarvik::io::com {

/// One end of a message connection over TCP: a 4-byte message id and the payload that the id
/// stands for, in both directions (docs/protocol.md).
///
/// Failures are SocketException, SerializationException and ComException. After one of receive()
/// or of the greeting, the owner closes the channel, since nobody knows where the next message
/// begins. After one of send() it may close it; nothing more is sent behind half a message.
///
/// Threads: messages are registered before the first thread uses the channel. open(), accepting,
/// connecting, greeting and receive() belong to the receiving thread; send(), interrupt() and
/// close() to anybody. Nobody but a writer waits for a peer that does not read, and a writer no
/// longer than its time-out; nobody but the receiving thread waits for one that does not write.
///
/// Lock order: receive lock, then the action lock (released again); request lock, then send lock;
/// the response lock is a leaf.
class Com : public net::TCPSocket
{
public:
    /// A server answers the requests that arrive; a client waits for the answers to its own.
    explicit Com(bool serverMode);
    Com(const Com&) = delete;
    Com& operator=(const Com&) = delete;
    ~Com();

    /// Takes ownership. Throws ComException "Message is NULL." or "A message with the same id
    /// already has been registered."; the caller then keeps the message.
    void registerMessage(Message* message);

    /// A new socket with empty buffers; waits until a send on the old one has failed.
    void open();

    /// What the server says first, and lets send() begin.
    void sendGreeting(const Greeting& greeting);
    /// What the client reads first, and lets send() begin.
    [[nodiscard]] Greeting receiveGreeting();

    /// Transmits the message within timeoutMs milliseconds, or throws. A client's request then
    /// waits for its response, and throws ComException "Timeout while waiting for response." after
    /// timeoutMs / 50 + 1 steps of 50 ms. Takes ownership in any case; null is ignored.
    void send(Message* message, unsigned int timeoutMs);

    /// Transmits a message that the caller keeps; the rest as above.
    void send(const Message& message, unsigned int timeoutMs);

    /// Waits until a message begins to arrive, for receive() to take (true), or the wake-up is set.
    [[nodiscard]] bool waitForMessage(const concurrent::WakeUp& other);

    /// Waits for one message, acts on it under the lock, which may be null, and answers a request.
    /// Throws ComException "Received message not registered." or "Unexpected response received.".
    void receive(concurrent::Mutex* actionLock);

    void interrupt();
    void close();

private:
    static constexpr unsigned int RESPONSE_TIMEOUT_MS = 5000;

    [[nodiscard]] Message& registered(std::uint32_t id) const;
    void transmit(const Message& message, unsigned int timeoutMs);
    /// Marks the channel broken until the action has succeeded; the bytes go out in time or fail.
    template <class Action>
    void writeWhole(unsigned int timeoutMs, Action action) TARVIK_REQUIRES(_sendLock);

    void expectResponse(std::uint32_t id);
    void awaitResponse(unsigned int timeoutMs);
    void checkResponse(std::uint32_t id);
    void responseArrived();
    void endAwaiting();

    const bool _serverMode;
    std::map<std::uint32_t, std::unique_ptr<Message>> _messages; ///< constant once in use

    /// One reader at a time, over a whole message and the response to it.
    concurrent::Mutex _receiveLock;
    stream::BufferedInputStream<net::TCPSocket> _input TARVIK_GUARDED_BY(_receiveLock);
    Decoder _decoder TARVIK_GUARDED_BY(_receiveLock);

    /// One message at a time on the wire. While it is held, nothing is locked.
    concurrent::Mutex _sendLock;
    stream::BufferedOutputStream<net::TCPSocket> _output TARVIK_GUARDED_BY(_sendLock);
    Encoder _encoder TARVIK_GUARDED_BY(_sendLock);
    /// Greeted, and no message has failed halfway.
    bool _sendable TARVIK_GUARDED_BY(_sendLock) = false;

    /// Client: one request at a time. Held while waiting for the response; then the send lock.
    concurrent::Mutex _requestLock;
    /// Client: guards the two below. A leaf.
    concurrent::Mutex _responseLock;
    concurrent::Condition _responseChanged;
    /// Id of the response that is waited for, 0 for none.
    std::uint32_t _awaitedId TARVIK_GUARDED_BY(_responseLock) = 0;
    /// The connection has ended, so no response will come.
    bool _awaitingEnded TARVIK_GUARDED_BY(_responseLock) = false;
};

} // namespace tarvik::io::com
