#pragma once

#include "analysis/Analyzer.h"
#include "breakup/PolygonDivider.h"
#include "camera/Camera.h"
#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "core/concurrent/Timer.h"
#include "core/concurrent/WakeUp.h"
#include "core/logging/LogManager.h"
#include "core/logging/Logging.h"
#include "core/util/Listener.h"
#include "core/util/Singleton.h"
#include "database/Database.h"
#include "protocol/StreamingSettings.h"
#include "server/ClientConnection.h"
#include "server/ConnectionTester.h"
#include "server/GeneralConfig.h"
#include "server/OriginalImageWish.h"
#include "server/ServerOptions.h"
#include "server/StreamingState.h"
#include "server/TarvikLabServer.h"
#include "server/TelnetServer.h"
#include "server/UDPSender.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace tarvik::sys {
struct DateTime;
}

namespace tarvik::com::server {

/// Owns every component of the process for its whole life, wires them into the processing chain,
/// starts and stops them in order, keeps their configuration in config.xml, and serves the one
/// client, TarvikDesk, over the control connection.
///
/// Threads: start() and stop() belong to the main thread, though stop() works from any but the
/// camera's; run() is the control connection's thread, on which every message acts; results arrive
/// on the camera thread, ticks on the connection tester's, log entries on whichever thread logs.
class Server : public util::Singleton<Server>,
               public util::Listener<breakup::FrameProcessedEvent>,
               public util::Listener<logging::LogEvent>,
               public util::Listener<ConnectionTester::Tick>,
               public concurrent::Thread,
               private logging::Logging
{
public:
    explicit Server(ServerOptions options = {},
                    ConnectionTester& tester = ConnectionTester::instance());
    ~Server() override;

    /// Before start().
    void setOptions(ServerOptions options) { _options = std::move(options); }

    /// Brings the system up; what cannot be started is reported in the log and the rest runs. Does
    /// nothing when running. A stopped server is not started again.
    void start() override;
    /// Takes the system down, within moments whatever clients and camera are waiting for. Does
    /// nothing when not running.
    void stop();

    /// Asks the main thread, which waits for stopRequest(), to call stop().
    void requestStop() { _stopRequest.set(); }

    [[nodiscard]] const concurrent::WakeUp& stopRequest() const { return _stopRequest; }

    [[nodiscard]] bool running() const { return _running; }

    [[nodiscard]] bool stopped() const { return _stopped; }

    [[nodiscard]] bool connected() const { return _client.connected(); }

    [[nodiscard]] camera::Camera& camera() { return _camera; }

    [[nodiscard]] analysis::Analyzer& analyzer() { return _analyzer; }

    [[nodiscard]] database::Database& database() { return _database; }

    [[nodiscard]] breakup::PolygonDivider& divider() { return _divider; }

    [[nodiscard]] UDPSender& udpSender() { return _udpSender; }

    [[nodiscard]] TelnetServer& telnet() { return _telnet; }

    [[nodiscard]] TarvikLabServer& lab() { return _lab; }

    /// Port of the control connection, for tests that let the system choose; 0 before it is open.
    [[nodiscard]] std::uint16_t controlPort() const { return _client.localPort(); }

    /// Reads config.xml. After a failure the components that the file had reached keep what it
    /// gave them, the others what they had; the camera is opened in any case, if it can be.
    void loadConfig();
    /// Writes config.xml, as a whole or not at all.
    void saveConfig();

    /// Applies a clock value from the client, unless the configuration forbids it.
    void setSysTime(const sys::DateTime& time);

    /// Takes effect after the next result while a client is connected, else at once.
    void setStreamingSettings(const StreamingSettings& settings);
    void applyStreamingSettings();

    [[nodiscard]] StreamingSettings streamingSettings() const { return _streaming.current(); }

    void setStreamLog(bool enabled) { _client.setStreamLog(enabled); }

    /// The control connection's thread.
    void run() override;
    void onEvent(breakup::FrameProcessedEvent& event) override;
    void onEvent(logging::LogEvent& event) override;
    /// Saves the configuration when it is due.
    void onEvent(ConnectionTester::Tick& event) override;

private:
    void registerMessages();
    void startUDP();
    void reportUDP();
    void wire();
    void unwire();

    void connect();
    void serve();
    void lost(const std::string& failure);
    /// Disconnects, come what may.
    void drop();
    void disconnect();
    void distribute(const breakup::FrameProcessedEvent& event);

    void decodeConfig() TARVIK_REQUIRES(_serverMutex);
    template <class S>
    void serializeConfig(S& s) TARVIK_REQUIRES(_serverMutex);
    template <class S>
    void decodeCamera(S& s) TARVIK_REQUIRES(_serverMutex);
    void openDefaultCamera();
    void keepUnloadedConfig() TARVIK_REQUIRES(_serverMutex);

    ServerOptions _options;
    ConnectionTester& _tester;

    std::atomic<bool> _running{false};
    std::atomic<bool> _stopped{false};
    /// A message has come since the configuration was last saved.
    std::atomic<bool> _configTouched{false};
    concurrent::WakeUp _stopRequest;
    /// Ends the pauses of the control connection's thread; set by stop().
    concurrent::WakeUp _stop;

    /// Serialises messages' actions, loading, saving and the accepting of a client. Held over calls
    /// into any component; the camera thread never takes it. Lock order: this before every other
    /// but the channel's receive lock and the tester's round mutex.
    concurrent::Mutex _serverMutex;
    GeneralConfig _general TARVIK_GUARDED_BY(_serverMutex);
    concurrent::Timer _autoSaveTimer TARVIK_GUARDED_BY(_serverMutex);
    /// The file has not been loaded as a whole, so the next save keeps a copy of it.
    bool _keepUnloaded TARVIK_GUARDED_BY(_serverMutex) = false;
    /// Why the configured camera did not open while the file was decoded; empty if it did.
    std::string _cameraFailure TARVIK_GUARDED_BY(_serverMutex);

    StreamingState _streaming;
    std::string _lastConnectFailure; ///< a port in use is reported once; own thread only
    std::string _lastUDPFailure;     ///< so is a receiver out of reach; camera thread only

    // The components, in an order that gives the logs their indexes. What each holds a reference to
    // it uses after all of them are made.
    ClientConnection _client;
    UDPSender _udpSender{_database};
    camera::Camera _camera;
    analysis::Analyzer _analyzer;
    database::Database _database;
    breakup::PolygonDivider _divider;
    OriginalImageWish _originalImageWish{_camera};
    TelnetServer _telnet;
    TarvikLabServer _lab;
};

} // namespace tarvik::com::server
