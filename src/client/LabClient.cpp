#include "client/LabClient.h"

#include <string_view>
#include <utility>

namespace tarvik::client {

using concurrent::MutexLock;
using logging::LogManagerSnapshot;

namespace kinds = com::kinds;

namespace {

/// How the camera's log begins a refusal.
constexpr std::string_view REFUSAL = "Could not override image source: ";

} // namespace

LabClient::LabClient(std::string host, std::uint16_t port, const Timeouts& timeouts)
    : _connection({std::move(host), port}, timeouts),
      _logs(_connection.addAnswer<LogManagerSnapshot>(kinds::CONFIG_LOGGING)),
      _overridden(_connection.addAnswer<bool>(kinds::GET_CAM_IMG_OVERRIDDEN))
{
    _connection.addIncoming<com::StreamContents>(
        kinds::STREAM, [this](const Result& result) { resultArrived(result); });
    _connection.addIncoming<com::LogUpdateContents>(
        kinds::LOG_UPDATE, [this](const LogUpdate& update) { logArrived(update); });
    _connection.addIgnored(kinds::TEST_CONNECTION);
    _connection.setLostHandler([this](const ClientException& e) { connectionLost(e); });
}

LabClient::~LabClient() = default;

void LabClient::connect()
{
    _connection.connect();
    setStreaming({.frame = true, .matchings = true});
    static_cast<void>(setLogStreaming(true));
}

void LabClient::setStreaming(const com::StreamingSettings& settings)
{
    _connection.send(Outgoing(kinds::CONFIG_STREAMING, settings));
}

LogManagerSnapshot LabClient::setLogStreaming(bool enabled)
{
    return _connection.ask(_logs, Outgoing(kinds::CONFIG_LOGGING, enabled));
}

LabClient::Result LabClient::analyze(const image::Image& image, std::chrono::milliseconds timeout)
{
    _connection.checkMayWait();
    const MutexLock analyzing(_analyzeMutex);
    {
        const MutexLock lock(_outcomeMutex);
        _result.reset();
        _failure.reset();
    }
    _connection.send(Outgoing(kinds::SET_CAMERA_SOURCE, image));
    {
        const MutexLock lock(_outcomeMutex);
        const bool inTime = _outcomeChanged.waitFor(
            _outcomeMutex, timeout,
            [this]() TARVIK_REQUIRES(_outcomeMutex) { return _result || _failure; });
        if (_failure) {
            throw ClientException(*_failure);
        }
        if (inTime) {
            return std::move(_result);
        }
    }
    // A late result would pass for that of the next image.
    throw _connection.giveUp("result of the image (a camera that waits for an external trigger "
                             "has none)",
                             timeout);
}

void LabClient::resultArrived(const Result& result)
{
    const MutexLock lock(_outcomeMutex);
    _result = result;
    _outcomeChanged.notifyAll();
}

void LabClient::logArrived(const LogUpdate& update)
{
    if (_logHandler) {
        _logHandler(update);
    }
    const std::string& message = update->entry.message;
    if (update->logName == "Camera" && message.starts_with(REFUSAL)) {
        const MutexLock lock(_outcomeMutex);
        _failure =
            ClientException(ClientException::Kind::ImageRefused,
                            "The camera refused the image: " + message.substr(REFUSAL.size()));
        _outcomeChanged.notifyAll();
    }
}

void LabClient::connectionLost(const ClientException& reason)
{
    {
        const MutexLock lock(_outcomeMutex);
        _failure = reason;
        _outcomeChanged.notifyAll();
    }
    if (_lostHandler) {
        _lostHandler(reason);
    }
}

void LabClient::useSensor()
{
    _connection.send(Plain(kinds::UNSET_CAMERA_SOURCE));
}

bool LabClient::sourceOverridden()
{
    return _connection.ask(_overridden);
}

void LabClient::testConnection()
{
    _connection.send(Plain(kinds::TEST_CONNECTION));
}

} // namespace tarvik::client
