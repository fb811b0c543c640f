#include "server/Server.h"

#include "core/Version.h"
#include "server/messages/Notifications.h"

#include <sys/time.h>

#include <cerrno>
#include <exception>

// The server's life: construction, start and stop, and what happens between two images. The
// configuration file and the clock are in ServerConfig.cpp, the control connection in
// ServerControl.cpp.
namespace tarvik::com::server {

using concurrent::MutexLock;
using logging::LogLevel;
using logging::LogManager;

int ServerOptions::setSystemClock(const timeval& time)
{
    return ::settimeofday(&time, nullptr) == 0 ? 0 : errno;
}

Server::Server(ServerOptions options, ConnectionTester& tester)
    : Logging("Server"),
      _options(std::move(options)),
      _tester(tester),
      _telnet({_divider, _database, tester, _options.bindAddress, [this] { return running(); }}),
      _lab({_divider, _camera, _originalImageWish, tester, _options})
{
    registerMessages();
}

Server::~Server()
{
    stop();
    _tester.dismiss(this);
}

void Server::start()
{
    const MutexLock lock(_serverMutex);
    if (_running.exchange(true)) {
        return;
    }
    log(LogLevel::Info, "Starting Tarvik Server...");
    _autoSaveTimer.start();
    _tester.addListener(this);
    loadConfig();
    startUDP(); // before an image can arrive: a datagram sent earlier would bind another port
    wire();
    reportUDP();
    Thread::start();
    log(LogLevel::Fine, "Tarvik Server " + Version::current().versionStr() + " started.");
    _telnet.start();
    _lab.start();
}

void Server::stop()
{
    if (!_running.exchange(false)) {
        return;
    }
    log(LogLevel::Info, "Stopping Tarvik Server...");
    _stop.set();
    unwire();
    _client.interrupt();
    if (isCurrentThread()) {
        disconnect();
    } else {
        join(); // the thread drops the client, which saves the configuration
    }
    _udpSender.close();
    log(LogLevel::Fine, "UDP Socket closed.");
    _lab.stop();
    _telnet.stop();
    _camera.close();
    log(LogLevel::Fine, "Tarvik Server stopped.");
    _stopped = true;
}

void Server::startUDP()
{
    try {
        _udpSender.init(_options.udpPort);
    } catch (const std::exception& e) {
        logFailure(LogLevel::Warning, "", e);
    }
}

void Server::reportUDP()
{
    const UDPConfig& config = _udpSender.config();
    if (_udpSender.isOpen()) {
        log(LogLevel::Fine, "Created UDP Socket (target host " + config.destinationAddress +
                                ", port " + std::to_string(config.destinationPort) + ").");
    }
    log(LogLevel::Info, std::string("Auto delivering results via UDP is ") +
                            (config.autoDistribute ? "active" : "disabled") + ".");
}

void Server::wire()
{
    LogManager::globalInstance().addListener(this);
    _camera.addListener(&_analyzer);
    _divider.addListener(static_cast<util::Listener<breakup::ReAnalyzeEvent>*>(&_analyzer));
    _database.addListener(
        static_cast<util::Listener<database::ComparatorNotificationEvent>*>(&_analyzer));
    _analyzer.addListener(&_database);
    _database.addListener(static_cast<util::Listener<database::BreakupEvent>*>(&_divider));
    _divider.addListener(static_cast<util::Listener<breakup::FrameProcessedEvent>*>(this));
}

void Server::unwire()
{
    _divider.removeListener(static_cast<util::Listener<breakup::FrameProcessedEvent>*>(this));
    _database.removeListener(static_cast<util::Listener<database::BreakupEvent>*>(&_divider));
    _analyzer.removeListener(&_database);
    _database.removeListener(
        static_cast<util::Listener<database::ComparatorNotificationEvent>*>(&_analyzer));
    _divider.removeListener(static_cast<util::Listener<breakup::ReAnalyzeEvent>*>(&_analyzer));
    _camera.removeListener(&_analyzer);
    LogManager::globalInstance().removeListener(this);
    _tester.removeListener(this);
}

void Server::onEvent(breakup::FrameProcessedEvent& event)
{
    const ClientConnection::Id client = _client.current();
    if (_client.connected()) {
        _client.send(client, messages::Stream(event, _streaming.current()));
        applyStreamingSettings();
    }
    distribute(event);
}

void Server::distribute(const breakup::FrameProcessedEvent& event)
{
    try {
        _udpSender.autoSend(event);
        _lastUDPFailure.clear();
    } catch (const std::exception& e) {
        if (_lastUDPFailure != e.what()) { // once, not with every image
            _lastUDPFailure = e.what();
            logFailure(LogLevel::Warning, "Error distributing results via UDP. ", e);
        }
    }
}

void Server::onEvent(logging::LogEvent& event)
{
    _client.passOn(event);
}

void Server::setStreamingSettings(const StreamingSettings& settings)
{
    _streaming.request(settings);
    if (!connected()) {
        applyStreamingSettings();
    }
}

void Server::applyStreamingSettings()
{
    if (_streaming.applyPending()) {
        _originalImageWish.set(OriginalImageWish::Client::Desk, _streaming.current().originalImage);
    }
}

} // namespace tarvik::com::server
