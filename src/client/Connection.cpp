#include "client/Connection.h"

#include "io/IOException.h"
#include "io/com/ComException.h"
#include "io/net/SocketException.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <exception>
#include <utility>

namespace tarvik::client {

using concurrent::MutexLock;
using io::com::Greeting;
using io::net::SocketException;
using Kind = ClientException::Kind;

namespace {

constexpr int MAX_VERSION = 99999;
constexpr int MAX_IMAGE_SIDE = 65535;

/// The first IPv4 address of the name.
std::string resolve(const ServerAddress& server)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(server.host.c_str(), nullptr, &hints, &found);
    if (error != 0) {
        throw refused(server, std::string(::gai_strerror(error)) + ".");
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owned(found, &::freeaddrinfo);
    char text[INET_ADDRSTRLEN] = {};
    const auto* const address = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    ::inet_ntop(AF_INET, &address->sin_addr, text, sizeof text);
    return text;
}

bool makesSense(const Greeting& greeting)
{
    const auto version = [](int number) { return number >= 0 && number <= MAX_VERSION; };
    const auto side = [](int pixels) { return pixels >= 0 && pixels <= MAX_IMAGE_SIDE; };
    return version(greeting.major) && version(greeting.minor) && version(greeting.patch) &&
           greeting.build >= 0 && side(greeting.width) && side(greeting.height);
}

int milliseconds(std::chrono::milliseconds time)
{
    return static_cast<int>(time.count());
}

} // namespace

Connection::Connection(ServerAddress server, const Timeouts& timeouts)
    : _server(std::move(server)),
      _timeouts(timeouts)
{}

Connection::~Connection()
{
    close();
}

void Connection::connect()
{
    close();
    const std::string address = resolve(_server);
    {
        const MutexLock lock(_stateMutex);
        _greeted = false;
        _failure.reset();
    }
    _closing = false;
    openPatiently(address);
    Thread::start();
    awaitGreeting();
}

void Connection::openPatiently(const std::string& address)
{
    constexpr unsigned int STEP_MS = 25;
    const auto end = std::chrono::steady_clock::now() + _timeouts.refused;
    while (true) {
        try {
            open(address);
            return;
        } catch (const ClientException& e) {
            if (e.kind() != Kind::Refused || std::chrono::steady_clock::now() >= end) {
                throw;
            }
        }
        Thread::sleep(STEP_MS);
    }
}

void Connection::open(const std::string& address)
{
    try {
        _channel.open();
        _channel.connect(address.c_str(), _server.port, milliseconds(_timeouts.connect));
    } catch (const SocketException& e) {
        _channel.close();
        if (e.getErrorCode() == ETIMEDOUT) {
            throw timedOut(_server, "sign of life", _timeouts.connect);
        }
        throw refused(_server, e.formattedError() + ".");
    }
}

void Connection::awaitGreeting()
{
    std::optional<ClientException> failure;
    {
        const MutexLock lock(_stateMutex);
        const bool ended = _stateChanged.waitFor(
            _stateMutex, _timeouts.greeting,
            [this]() TARVIK_REQUIRES(_stateMutex) { return _greeted || _failure.has_value(); });
        if (!_greeted) { // what is lost after the greeting, the next call tells
            failure = _failure;
        }
        if (!ended) {
            failure = timedOut(_server, "greeting", _timeouts.greeting);
        }
    }
    if (failure) {
        close();
        throw ClientException(*failure);
    }
}

void Connection::close()
{
    checkMayWait();
    _closing = true;
    _channel.close();
    join();
    _connected = false;
    const MutexLock lock(_stateMutex);
    _failure.reset();
}

void Connection::run()
{
    try {
        receiveGreeting();
        while (!_closing) {
            _channel.receive(nullptr);
        }
    } catch (const ClientException& e) {
        end(e);
    } catch (const std::exception& e) {
        end(lost(_server, e.what()));
    }
}

void Connection::receiveGreeting()
{
    try {
        _greeting = _channel.receiveGreeting();
    } catch (const SocketException&) {
        throw lost(_server, "it was closed before the greeting. Is the server's camera open?");
    }
    if (!makesSense(_greeting)) {
        throw wrongGreeting(_server);
    }
    _connected = true;
    const MutexLock lock(_stateMutex);
    _greeted = true;
    _stateChanged.notifyAll();
}

void Connection::end(const ClientException& reason)
{
    const bool wasConnected = _connected.exchange(false);
    {
        const MutexLock lock(_stateMutex);
        if (!_failure) { // giving up has come first
            _failure = reason;
        }
        _stateChanged.notifyAll();
    }
    if (!_closing && wasConnected && _lostHandler) {
        _lostHandler(failure());
    }
    _channel.interrupt(); // ends requests that wait
}

void Connection::send(const io::com::Message& message)
{
    if (!_connected) {
        throw failure();
    }
    try {
        _channel.send(message, static_cast<unsigned int>(_timeouts.response.count()));
    } catch (const io::IOException& e) {
        _channel.interrupt(); // the receiving thread ends the connection
        throw lost(_server, e.what());
    }
}

void Connection::sendRequest(const io::com::Message& request)
{
    checkMayWait();
    if (!_connected) {
        throw failure();
    }
    try {
        _channel.send(request, static_cast<unsigned int>(_timeouts.response.count()));
    } catch (const io::com::ComException&) {
        throw giveUp("answer to " + request.name(), _timeouts.response);
    } catch (const io::IOException&) {
        static_cast<void>(waitUntilLost(_timeouts.response)); // the receiver knows better why
        throw failure();
    }
}

bool Connection::waitUntilLost(std::chrono::milliseconds time)
{
    checkMayWait();
    const MutexLock lock(_stateMutex);
    return _stateChanged.waitFor(
        _stateMutex, time, [this]() TARVIK_REQUIRES(_stateMutex) { return _failure.has_value(); });
}

ClientException Connection::giveUp(const std::string& what, std::chrono::milliseconds time)
{
    ClientException reason = timedOut(_server, what, time);
    {
        const MutexLock lock(_stateMutex);
        _failure = reason;
    }
    _connected = false;
    _channel.interrupt();
    return reason;
}

ClientException Connection::failure() const
{
    const MutexLock lock(_stateMutex);
    return _failure ? *_failure : ClientException(Kind::Lost, "Not connected. Call connect().");
}

void Connection::checkMayWait() const
{
    if (isCurrentThread()) {
        throw ClientException(Kind::Misuse, "A handler must not wait for the server: it runs on "
                                            "the thread that receives. Hand the work to another "
                                            "thread.");
    }
}

} // namespace tarvik::client
