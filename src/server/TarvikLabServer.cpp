#include "server/TarvikLabServer.h"

#include "camera/Camera.h"
#include "core/util/succeeds.h"
#include "server/messages/LabMessages.h"
#include "server/messages/Notifications.h"
#include "server/messages/ServerMessages.h"

#include <exception>
#include <memory>
#include <utility>

namespace tarvik::com::server {

using concurrent::MutexLock;
using logging::LogLevel;

namespace {

constexpr int FAILURE_PAUSE_MS = 500;

} // namespace

TarvikLabServer::TarvikLabServer(const Surroundings& surroundings)
    : Logging("TarvikLab Server"),
      _surroundings(surroundings)
{
    registerMessages();
    _surroundings.camera.setBeforeSourceChange([this] { applyStreamingSettings(); });
}

TarvikLabServer::~TarvikLabServer()
{
    stop();
}

void TarvikLabServer::registerMessages()
{
    using namespace messages;
    camera::Camera& camera = _surroundings.camera;
    _client.registerMessage(std::make_unique<TestConnection>());
    _client.registerMessage(std::make_unique<ConfigStreamingTarvikLab>(*this));
    _client.registerMessage(
        std::make_unique<ConfigLogging>(_client, logging::LogManager::globalInstance()));
    _client.registerMessage(std::make_unique<SetCameraSource>(*this));
    _client.registerMessage(std::make_unique<UnsetCameraSource>(camera));
    _client.registerMessage(std::make_unique<GetCamImgOverridden>(camera));
}

void TarvikLabServer::start()
{
    if (_running.exchange(true)) {
        return;
    }
    _stop.clear();
    logging::LogManager::globalInstance().addListener(this);
    _surroundings.results.addListener(this);
    log(LogLevel::Info, "TarvikLab server started.");
    Thread::start();
}

void TarvikLabServer::stop()
{
    if (!_running.exchange(false)) {
        return;
    }
    log(LogLevel::Info, "Stopping TarvikLab server...");
    _stop.set();
    logging::LogManager::globalInstance().removeListener(this);
    _surroundings.results.removeListener(this);
    _client.interrupt();
    if (!isCurrentThread()) {
        join(); // the thread drops the client
    }
    _surroundings.tester.dismiss(this);
    log(LogLevel::Info, "TarvikLab server stopped.");
}

void TarvikLabServer::run()
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

void TarvikLabServer::setStreamingSettings(const StreamingSettings& settings)
{
    _streaming.request(settings);
    if (!connected()) {
        applyStreamingSettings();
    }
}

void TarvikLabServer::applyStreamingSettings()
{
    if (_streaming.applyPending()) {
        _surroundings.originalImageWish.set(OriginalImageWish::Client::Lab,
                                            _streaming.current().originalImage);
    }
}

void TarvikLabServer::setTestImage(const image::Image& image)
{
    _surroundings.camera.setSource(&image, [this](std::int8_t sourceId) { setId(sourceId); });
}

void TarvikLabServer::setId(std::int8_t sourceId)
{
    const MutexLock lock(_idMutex);
    _awaitedId = sourceId;
}

void TarvikLabServer::onEvent(logging::LogEvent& event)
{
    _client.passOn(event);
}

void TarvikLabServer::onEvent(ConnectionTester::Tick& /*event*/)
{
    _client.queueSignOfLife();
}

void TarvikLabServer::onEvent(breakup::FrameProcessedEvent& event)
{
    const ClientConnection::Id client = _client.current();
    if (!_client.connected()) {
        setId(-1);
        return;
    }
    if (takeAwaited(event.sourceId)) {
        _client.send(client, messages::Stream(event, _streaming.current()));
    }
}

bool TarvikLabServer::takeAwaited(std::int8_t sourceId)
{
    const MutexLock lock(_idMutex);
    if (_awaitedId == -1 || _awaitedId != sourceId) {
        return false;
    }
    _awaitedId = -1;
    return true;
}

void TarvikLabServer::connect()
{
    const ServerOptions& options = _surroundings.options;
    try {
        _client.awaitClient(options.address(), options.labPort, _running);
        _lastFailure.clear();
        const camera::Camera& camera = _surroundings.camera;
        if (!_client.acceptClient(camera.imageWidth(), camera.imageHeight())) {
            _client.close();
            return;
        }
    } catch (const std::exception& e) {
        _client.close();
        if (_running && e.what() != _lastFailure) {
            _lastFailure = e.what();
            logFailure(LogLevel::Warning, "Error while connecting to TarvikLab: ", e);
        }
        if (!ClientConnection::isClientGone(e)) {
            static_cast<void>(_stop.wait(FAILURE_PAUSE_MS));
        }
        return;
    }
    log(LogLevel::Info, "Connected to TarvikLab.");
    _surroundings.tester.addListener(this);
}

void TarvikLabServer::serve()
{
    const ClientConnection::Id client = _client.current();
    for (LogUpdateContents& update : _client.takeLogUpdates()) {
        _client.send(client, messages::LogUpdate(std::move(update)));
    }
    if (_client.takeSignOfLife()) {
        _client.send(client, messages::TestConnection());
    }
    if (_client.waitForMessage()) {
        _client.receive(_settingsMutex);
    }
}

void TarvikLabServer::lost(const std::string& failure)
{
    _client.lose();
    const std::string sendFailure = _client.sendFailure();
    const bool hadClient = _client.hasClient();
    disconnect();
    if (_running && hadClient) {
        log(LogLevel::Warning, sendFailure.empty() ? "Lost connection to TarvikLab. " + failure
                                                   : "Error sending response. " + sendFailure);
    }
}

void TarvikLabServer::drop()
{
    if (!util::succeeds([this] { disconnect(); })) {
        _client.close();
    }
}

void TarvikLabServer::disconnect()
{
    if (!_client.hasClient()) {
        return;
    }
    _surroundings.tester.removeListener(this);
    _client.close();
    setStreamingSettings({}); // nothing of this client is left for the next one
    setId(-1);
    log(LogLevel::Info, "Disconnected from TarvikLab.");
}

} // namespace tarvik::com::server
