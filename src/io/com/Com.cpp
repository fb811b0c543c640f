#include "io/com/Com.h"

#include "io/com/ComException.h"
#include "io/net/SocketException.h"
#include "io/stream/MemoryOutputStream.h"

#include <cerrno>
#include <optional>

namespace tarvik::io::com {

namespace {

/// A MutexLock when there is a mutex.
class OptionalLock
{
public:
    explicit OptionalLock(concurrent::Mutex* mutex)
    {
        if (mutex != nullptr) {
            _lock.emplace(*mutex);
        }
    }

private:
    std::optional<concurrent::MutexLock> _lock;
};

} // namespace

Com::Com(bool serverMode)
    : _serverMode(serverMode),
      _input(*this),
      _decoder(_input),
      _output(*this),
      _encoder(_output)
{}

Com::~Com()
{
    close();
}

void Com::registerMessage(Message* message)
{
    if (message == nullptr) {
        throw ComException("Message is NULL.");
    }
    if (_messages.contains(message->id())) {
        throw ComException("A message with the same id already has been registered.");
    }
    _messages.emplace(message->id(), message);
}

void Com::open()
{
    const concurrent::MutexLock receiving(_receiveLock);
    const concurrent::MutexLock sending(_sendLock);
    TCPSocket::open();
    _input.clear();
    _output.clear();
    setSendBudget(std::chrono::milliseconds(0)); // a send that failed has left its own
    _sendable = false;
    const concurrent::MutexLock responding(_responseLock);
    _awaitedId = 0;
    _awaitingEnded = false;
}

void Com::sendGreeting(const Greeting& greeting)
{
    stream::MemoryOutputStream bytes;
    serialization::BinaryEncoder encoder(bytes);
    Greeting::serialize(encoder, greeting);
    const concurrent::MutexLock sending(_sendLock);
    write(bytes.bytes());
    _sendable = true;
}

Greeting Com::receiveGreeting()
{
    const concurrent::MutexLock receiving(_receiveLock);
    Greeting greeting;
    Greeting::serialize(_decoder, greeting);
    const concurrent::MutexLock sending(_sendLock);
    _sendable = true;
    return greeting;
}

void Com::send(Message* message, unsigned int timeoutMs)
{
    const std::unique_ptr<Message> owned(message);
    if (owned != nullptr) {
        send(*owned, timeoutMs);
    }
}

void Com::send(const Message& message, unsigned int timeoutMs)
{
    if (_serverMode || message.type() != Message::Type::Request) {
        transmit(message, timeoutMs);
        return;
    }
    const concurrent::MutexLock requesting(_requestLock);
    expectResponse(message.id());
    try {
        transmit(message, timeoutMs);
    } catch (...) {
        responseArrived(); // none will
        throw;
    }
    awaitResponse(timeoutMs);
}

bool Com::waitForMessage(const concurrent::WakeUp& other)
{
    const concurrent::MutexLock receiving(_receiveLock);
    return _input.buffered() > 0 || waitReadable(other);
}

void Com::receive(concurrent::Mutex* actionLock)
{
    const concurrent::MutexLock receiving(_receiveLock);
    try {
        std::uint32_t id = 0;
        _decoder.serialize(id);
        Message& message = registered(id);
        message.receive(_decoder);
        const bool isRequest = message.type() == Message::Type::Request;
        if (isRequest && !_serverMode) {
            checkResponse(id);
        }
        {
            const OptionalLock acting(actionLock);
            message.act();
        }
        if (isRequest && _serverMode) {
            transmit(message, RESPONSE_TIMEOUT_MS);
        } else if (isRequest) {
            responseArrived();
        }
    } catch (...) {
        endAwaiting();
        throw;
    }
}

void Com::interrupt()
{
    TCPSocket::interrupt();
    endAwaiting();
}

void Com::close()
{
    // The buffers are emptied by the next open(): whoever still reads or writes holds their locks,
    // and this thread must not wait for them.
    TCPSocket::close();
    endAwaiting();
}

Message& Com::registered(std::uint32_t id) const
{
    const auto found = _messages.find(id);
    if (found == _messages.end()) {
        throw ComException("Received message not registered.");
    }
    return *found->second;
}

void Com::transmit(const Message& message, unsigned int timeoutMs)
{
    const concurrent::MutexLock sending(_sendLock);
    if (!_sendable) {
        throw net::SocketException("Couldn't send data.", EPIPE);
    }
    writeWhole(timeoutMs, [&]() TARVIK_REQUIRES(_sendLock) {
        _encoder.serialize(message.id());
        message.send(_encoder);
        _encoder.flush();
    });
}

template <class Action>
void Com::writeWhole(unsigned int timeoutMs, Action action)
{
    _sendable = false;
    setSendBudget(std::chrono::milliseconds(timeoutMs));
    action();
    setSendBudget(std::chrono::milliseconds(0));
    _sendable = true;
}

void Com::expectResponse(std::uint32_t id)
{
    const concurrent::MutexLock responding(_responseLock);
    _awaitedId = id;
}

void Com::awaitResponse(unsigned int timeoutMs)
{
    constexpr unsigned int stepMs = 50;
    const auto limit = std::chrono::milliseconds(stepMs) * (timeoutMs / stepMs + 1);
    const concurrent::MutexLock responding(_responseLock);
    const bool inTime =
        _responseChanged.waitFor(_responseLock, limit, [this]() TARVIK_REQUIRES(_responseLock) {
            return _awaitedId == 0 || _awaitingEnded;
        });
    const bool arrived = _awaitedId == 0;
    _awaitedId = 0;
    if (!inTime) {
        throw ComException("Timeout while waiting for response.");
    }
    if (!arrived) {
        throw net::SocketException("Couldn't read data.", ECANCELED);
    }
}

void Com::checkResponse(std::uint32_t id)
{
    const concurrent::MutexLock responding(_responseLock);
    if (_awaitedId != id) {
        throw ComException("Unexpected response received.");
    }
}

void Com::responseArrived()
{
    const concurrent::MutexLock responding(_responseLock);
    _awaitedId = 0;
    _responseChanged.notifyAll();
}

void Com::endAwaiting()
{
    const concurrent::MutexLock responding(_responseLock);
    _awaitingEnded = true;
    _responseChanged.notifyAll();
}

} // namespace tarvik::io::com
