#include "server/ClientConnection.h"

#include "core/Version.h"
#include "core/logging/LogManager.h"
#include "io/net/SocketException.h"

#include <cerrno>
#include <utility>

namespace tarvik::com::server {

using concurrent::MutexLock;

void ClientConnection::registerMessage(std::unique_ptr<io::com::Message> message)
{
    _channel.registerMessage(message.get());
    static_cast<void>(message.release()); // taken over
}

void ClientConnection::awaitClient(const char* address, std::uint16_t port,
                                   const std::atomic<bool>& running)
{
    _channel.open();
    if (!running) {
        _channel.interrupt(); // the owner's own came before there was a socket
    }
    _channel.bind(address, port != 0 ? port : _localPort.load());
    _channel.listen();
    _localPort = static_cast<std::uint16_t>(_channel.localPort());
    _channel.waitForConnection();
}

bool ClientConnection::acceptClient(int imageWidth, int imageHeight)
{
    if (!_channel.acceptPending()) {
        return false;
    }
    const Version& version = Version::current();
    _channel.sendGreeting({version.majorNum(), version.minorNum(), version.patchNum(),
                           version.buildNum(), imageWidth, imageHeight});
    const MutexLock lock(_sendMutex);
    _sendFailure.clear();
    _hasClient = true;
    _lastId = _lastId + 1 != NOBODY ? _lastId + 1 : 1;
    _current = _lastId;
    return true;
}

bool ClientConnection::isClientGone(const std::exception& failure)
{
    const auto* const socket = dynamic_cast<const io::net::SocketException*>(&failure);
    return socket != nullptr &&
           (socket->getErrorCode() == ECONNRESET || socket->getErrorCode() == EPIPE);
}

std::vector<LogUpdateContents> ClientConnection::takeLogUpdates()
{
    _attention.clear(); // first: what comes from now on sets it again
    const MutexLock lock(_queueMutex);
    return std::exchange(_logUpdates, {});
}

bool ClientConnection::lose()
{
    return _current.exchange(NOBODY) != NOBODY;
}

std::string ClientConnection::sendFailure() const
{
    const MutexLock lock(_sendMutex);
    return _sendFailure;
}

void ClientConnection::close()
{
    lose();
    _streamLog = false;
    _channel.close(); // ends a send in progress, so that the mutex is free soon
    const MutexLock sending(_sendMutex);
    _hasClient = false;
    _signOfLife = false;
    const MutexLock queueing(_queueMutex);
    _logUpdates.clear();
}

void ClientConnection::send(Id client, const io::com::Message& message)
{
    const MutexLock lock(_sendMutex);
    if (client == NOBODY || client != _current) {
        return;
    }
    try {
        _channel.send(message, SEND_TIMEOUT_MS);
    } catch (const std::exception& e) {
        if (_current.compare_exchange_strong(client, NOBODY)) {
            _sendFailure = e.what();
        }
        _channel.interrupt();
    }
}

void ClientConnection::passOn(const logging::LogEvent& event)
{
    if (!_streamLog || !connected()) {
        return;
    }
    {
        const MutexLock lock(_queueMutex);
        if (_logUpdates.size() >= MAX_LOG_UPDATES) {
            return;
        }
        _logUpdates.push_back({*event.logName, event.logIndex, *event.entry});
    }
    _attention.set();
}

void ClientConnection::queueSignOfLife()
{
    if (connected()) {
        _signOfLife = true;
        _attention.set();
    }
}

} // namespace tarvik::com::server
