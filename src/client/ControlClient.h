#pragma once

#include "analysis/AnalyzerConfiguration.h"
#include "breakup/BreakupConfiguration.h"
#include "camera/CameraConfiguration.h"
#include "client/Connection.h"
#include "core/logging/LogManager.h"
#include "core/sys/DateTime.h"
#include "database/DatabaseState.h"
#include "protocol/LogUpdateContents.h"
#include "protocol/StreamContents.h"
#include "protocol/StreamingSettings.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarvik::client {

/// Sets a camera up and watches it, over the control connection: what a user's own program links.
///
///     ControlClient camera("192.168.0.20");
///     camera.onResult([](const auto& result) { std::cout << result->matchings.count() << '\n'; });
///     camera.connect();
///     camera.setStreaming({.matchings = true});
///     auto settings = camera.analyzerConfig();
///     settings.minPolygonSize = fp<32, 15>::fromDouble(0.1);
///     camera.setAnalyzerConfig(settings);
///
/// A server serves one control client at a time, and keeps its configuration on disk when that one
/// leaves. Nothing answers to a set...(): the server refuses a broken one by ending the connection,
/// so a get...() behind it that succeeds tells that it has been taken.
///
/// Threads: any; calls that wait for an answer take turns. Handlers are set before connect() and
/// run on a thread of the client's, where they must not throw, nor call anything that waits for the
/// server (get, connect, close). Every failure is a ClientException, and every wait has a limit.
class ControlClient
{
public:
    static constexpr std::uint16_t PORT = 7453;

    using Result = std::shared_ptr<const com::StreamContents>;
    using LogUpdate = std::shared_ptr<const com::LogUpdateContents>;
    using ResultHandler = std::function<void(const Result&)>;
    using LogHandler = std::function<void(const LogUpdate&)>;

    explicit ControlClient(std::string host = "127.0.0.1", std::uint16_t port = PORT,
                           const Timeouts& timeouts = {});
    /// Disconnects.
    ~ControlClient();

    /// Called for every image that the camera has processed; parts that are not streamed are empty.
    void onResult(ResultHandler handler) { _resultHandler = std::move(handler); }

    /// Called for every new log entry while logs are streamed.
    void onLog(LogHandler handler) { _logHandler = std::move(handler); }

    /// Called when the server ends the connection, or it breaks.
    void onLost(Connection::LostHandler handler) { _connection.setLostHandler(std::move(handler)); }

    void connect() { _connection.connect(); }

    void disconnect() { _connection.close(); }

    [[nodiscard]] bool connected() const { return _connection.connected(); }

    /// Version of the server, and size of the camera's images.
    [[nodiscard]] const io::com::Greeting& greeting() const { return _connection.greeting(); }

    [[nodiscard]] analysis::AnalyzerConfiguration analyzerConfig();
    void setAnalyzerConfig(const analysis::AnalyzerConfiguration& config);

    /// What the camera works with. The server ends the connection while its camera is not open.
    [[nodiscard]] camera::CameraConfiguration cameraConfig();
    /// Acts before one of the next images; what the sensor refuses is told by the log only.
    void setCameraConfig(const camera::CameraConfiguration& config);

    [[nodiscard]] breakup::BreakupConfiguration breakupConfig();
    void setBreakupConfig(const breakup::BreakupConfiguration& config);

    /// Configuration, comparator and templates.
    [[nodiscard]] database::DatabaseState database();
    /// Replaces all of them.
    void setDatabase(const database::DatabaseState& state);
    /// Another comparator implementation brings a comparator with default settings.
    void setDatabaseConfig(const database::DatabaseConfiguration& config);
    /// Passes on the settings that the camera's comparator shares with this one; asks for its class
    /// first.
    void setComparator(const database::Comparator& settings);

    /// What results carry from the next image but one on.
    void setStreaming(const com::StreamingSettings& settings);
    /// Switches the streaming of log entries, and returns all that the server has kept.
    [[nodiscard]] logging::LogManagerSnapshot setLogStreaming(bool enabled);

    /// Sets the camera's clock, if its configuration allows it.
    void setSystemTime(const sys::DateTime& time);
    /// Has the configuration written to disk at once.
    void sync();
    /// Shows the server that the client lives.
    void testConnection();

    /// Stops the server's process.
    void shutdown();

    /// Waits for the server to end the connection; false when it has not after this time.
    [[nodiscard]] bool waitUntilLost(std::chrono::milliseconds time)
    {
        return _connection.waitUntilLost(time);
    }

private:
    ResultHandler _resultHandler;
    LogHandler _logHandler;
    Connection _connection;
    Answer<analysis::AnalyzerConfiguration>& _analyzerConfig;
    Answer<camera::CameraConfiguration>& _cameraConfig;
    Answer<breakup::BreakupConfiguration>& _breakupConfig;
    Answer<database::DatabaseState>& _database;
    Answer<logging::LogManagerSnapshot>& _logs;
};

} // namespace tarvik::client
