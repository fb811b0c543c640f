#include "camera/CameraException.h"
#include "core/sys/DateTime.h"
#include "io/serialization/XMLDecoder.h"
#include "io/serialization/XMLEncoder.h"
#include "server/Server.h"

#include <sys/time.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>

// The configuration file and the clock.
namespace tarvik::com::server {

using concurrent::MutexLock;
using io::serialization::field;
using logging::LogLevel;
using logging::LogManager;

namespace {

constexpr std::int32_t US_PER_MS = 1000;

/// The first of "<path>.bad", "<path>.bad2", ... that is free.
std::string freeNameBeside(const std::string& path)
{
    std::string name = path + ".bad";
    for (int i = 2; std::filesystem::exists(name); ++i) {
        name = path + ".bad" + std::to_string(i);
    }
    return name;
}

/// The clock value as the system takes it; nothing when it names no moment.
std::optional<timeval> toTimeval(const sys::DateTime& time)
{
    const std::optional<std::time_t> seconds = time.toEpochSeconds();
    if (!seconds || time.milliseconds < 0 || time.milliseconds >= 1000) {
        return std::nullopt;
    }
    return timeval{*seconds, time.milliseconds * US_PER_MS};
}

} // namespace

template <class S>
void Server::serializeConfig(S& s)
{
    GeneralConfig general = _general;
    logging::LogConfig logConfig = LogManager::globalInstance().config();
    s& field("Server", general);
    if constexpr (S::isEncoder()) {
        s& field("UDPSender", _udpSender) & field("Telnet", _telnet) & field("Camera", _camera);
    } else {
        _general = general;
        s& field("UDPSender", _udpSender) & field("Telnet", _telnet);
        decodeCamera(s);
    }
    s& field("Analyzer", _analyzer) & field("Database", _database) &
        field("PolygonDivider", _divider) & field("Logging", logConfig);
    if constexpr (!S::isEncoder()) {
        LogManager::globalInstance().setConfig(logConfig);
    }
}

/// A sensor that does not answer must not cost the templates that stand further down in the file.
template <class S>
void Server::decodeCamera(S& s)
{
    camera::CameraConfiguration config;
    s.beginElement("Camera");
    s& field("Configuration", config);
    s.endElement();
    try {
        _camera.setConfig(config);
    } catch (const camera::CameraException& e) {
        _cameraFailure = e.what();
    }
}

void Server::loadConfig()
{
    const MutexLock lock(_serverMutex);
    try {
        decodeConfig();
        log(LogLevel::Fine, "Config loaded.");
    } catch (const std::exception& e) {
        logFailure(LogLevel::Fatal, "Couldn't load configuration. ", e);
        log(LogLevel::Warning, "Using default configuration.");
        _keepUnloaded = true;
        openDefaultCamera();
    }
}

void Server::decodeConfig()
{
    _cameraFailure.clear();
    io::serialization::XMLDecoder decoder;
    decoder.loadFromFile(_options.configPath());
    decoder.beginElement("Tarvik");
    serializeConfig(decoder);
    decoder.endElement();
    if (!_cameraFailure.empty()) {
        throw camera::CameraException(_cameraFailure);
    }
}

void Server::openDefaultCamera()
{
    if (_camera.isOpen()) {
        return;
    }
    try {
        _camera.open(nullptr);
    } catch (const std::exception& e) {
        logFailure(LogLevel::Warning, "Couldn't open the camera. ", e);
    }
}

void Server::saveConfig()
{
    const MutexLock lock(_serverMutex);
    try {
        io::serialization::XMLEncoder encoder;
        encoder.beginElement("Tarvik");
        serializeConfig(encoder);
        encoder.endElement();
        keepUnloadedConfig();
        encoder.saveToFile(_options.configPath());
        log(LogLevel::Info, "Config saved.");
    } catch (const std::exception& e) {
        logFailure(LogLevel::Warning, "Couldn't save configuration. ", e);
    }
}

void Server::keepUnloadedConfig()
{
    const std::string path = _options.configPath();
    if (_keepUnloaded && std::filesystem::exists(path)) {
        const std::string copy = freeNameBeside(path);
        std::filesystem::copy_file(path, copy);
        log(LogLevel::Warning,
            "The configuration that could not be loaded is kept as " + copy + ".");
    }
    _keepUnloaded = false;
}

void Server::onEvent(ConnectionTester::Tick& /*event*/)
{
    if (!_configTouched) {
        return;
    }
    const MutexLock lock(_serverMutex);
    if (!_general.autoSaveDue(_autoSaveTimer.timeElapsed())) {
        return;
    }
    _configTouched = false;
    saveConfig();
    _autoSaveTimer.start();
}

void Server::setSysTime(const sys::DateTime& time)
{
    const MutexLock lock(_serverMutex);
    log(LogLevel::Fine, "Received system time from TarvikDesk.");
    if (!_general.requestSysTime) {
        log(LogLevel::Fine, "Ignoring system time from TarvikDesk.");
        return;
    }
    log(LogLevel::Fine, "Trying to set new system time...");
    const std::optional<timeval> value = toTimeval(time);
    const int error = value ? _options.setClock(*value) : EINVAL;
    if (error == 0) {
        log(LogLevel::Fine, "System time set successfully.");
    } else if (error == EPERM) {
        log(LogLevel::Warning, "System time could no be set: permission denied.");
    } else {
        log(LogLevel::Warning, "System time could not be set: invalid time.");
    }
}

} // namespace tarvik::com::server
