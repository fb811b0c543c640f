#include "core/util/succeeds.h"
#include "server/Server.h"
#include "server/messages/ComponentMessages.h"
#include "server/messages/Notifications.h"
#include "server/messages/ServerMessages.h"

#include <exception>
#include <memory>
#include <utility>

// The control connection: the server's own thread.
namespace tarvik::com::server {

using concurrent::MutexLock;
using logging::LogLevel;

namespace {

constexpr int FAILURE_PAUSE_MS = 500;

} // namespace

void Server::registerMessages()
{
    using namespace messages;
    _client.registerMessage(std::make_unique<GetAnalyzerConfig>(_analyzer));
    _client.registerMessage(std::make_unique<SetAnalyzerConfig>(_analyzer));
    _client.registerMessage(std::make_unique<GetCameraConfig>(_camera));
    _client.registerMessage(std::make_unique<SetCameraConfig>(_camera));
    _client.registerMessage(std::make_unique<GetBreakupConfig>(_divider));
    _client.registerMessage(std::make_unique<SetBreakupConfig>(_divider));
    _client.registerMessage(std::make_unique<GetDatabase>(_database));
    _client.registerMessage(std::make_unique<SetDatabase>(_database));
    _client.registerMessage(std::make_unique<SetDatabaseConfig>(_database));
    _client.registerMessage(std::make_unique<SetDatabaseComparator>(_database));
    _client.registerMessage(std::make_unique<TestConnection>());
    _client.registerMessage(std::make_unique<ConfigStreaming>(*this));
    _client.registerMessage(
        std::make_unique<ConfigLogging>(_client, logging::LogManager::globalInstance()));
    _client.registerMessage(std::make_unique<SetSysTime>(*this));
    _client.registerMessage(std::make_unique<ServerShutdown>(*this));
    _client.registerMessage(std::make_unique<SyncConfig>(*this));
}

void Server::run()
{
    while (_running) {
        try {
            if (_client.hasClient()) {
                serve();
            } else {
                connect();
            }
        } catch (const std::exception& e) {
            if (!util::succeeds([&] { lost(e.what()); })) {
                drop();
            }
        }
    }
    drop();
}

void Server::connect()
{
    try {
        _client.awaitClient(_options.address(), _options.controlPort, _running);
        _lastConnectFailure.clear();
        if (!_camera.isOpen()) {
            _camera.setConfig(_camera.latestConfig()); // perhaps its sensor is back
        }
        const MutexLock lock(_serverMutex);
        if (!_client.acceptClient(_camera.imageWidth(), _camera.imageHeight())) {
            _client.close();
            return;
        }
    } catch (const std::exception& e) {
        _client.close();
        if (_running && _lastConnectFailure != e.what()) {
            _lastConnectFailure = e.what();
            logFailure(LogLevel::Warning, "Error while connecting to TarvikDesk: ", e);
        }
        if (!ClientConnection::isClientGone(e)) {
            static_cast<void>(_stop.wait(FAILURE_PAUSE_MS));
        }
        return;
    }
    log(LogLevel::Info, "Connected to TarvikDesk.");
}

void Server::serve()
{
    const ClientConnection::Id client = _client.current();
    for (LogUpdateContents& update : _client.takeLogUpdates()) {
        _client.send(client, messages::LogUpdate(std::move(update)));
    }
    if (_client.waitForMessage()) {
        _client.receive(_serverMutex);
        _configTouched = true;
    }
}

void Server::lost(const std::string& failure)
{
    _client.lose(); // before anything is logged: a log entry must not try to go out
    const std::string sendFailure = _client.sendFailure();
    if (_running && _client.hasClient()) {
        log(LogLevel::Warning, sendFailure.empty() ? "Lost connection to TarvikDesk. " + failure
                                                   : "Error sending data. " + sendFailure);
    }
    disconnect();
}

void Server::drop()
{
    if (!util::succeeds([this] { disconnect(); })) {
        _client.close();
    }
}

void Server::disconnect()
{
    if (!_client.hasClient()) {
        return;
    }
    _client.lose();
    setStreamingSettings({});
    setStreamLog(false);
    saveConfig();
    _client.close();
    log(LogLevel::Fine, "Disconnected from TarvikDesk.");
}

} // namespace tarvik::com::server
