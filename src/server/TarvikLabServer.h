#pragma once

#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "core/concurrent/WakeUp.h"
#include "core/logging/LogManager.h"
#include "core/logging/Logging.h"
#include "core/util/Listener.h"
#include "core/util/Observable.h"
#include "protocol/StreamingSettings.h"
#include "server/ClientConnection.h"
#include "server/ConnectionTester.h"
#include "server/OriginalImageWish.h"
#include "server/ServerOptions.h"
#include "server/StreamingState.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace tarvik::camera {
class Camera;
}

namespace tarvik::image {
class Image;
}

namespace tarvik::com::server {

/// Lets the test client, TarvikLab, put images of its own in the sensor's place, and sends it the
/// results of exactly those: each test image is answered by one Stream message, once.
///
/// Threads: its own one serves the client; results arrive on the camera thread, ticks on the
/// connection tester's, log entries on whichever thread logs; start() and stop() belong to the
/// owner.
class TarvikLabServer : public util::Listener<logging::LogEvent>,
                        public concurrent::Thread,
                        public util::Listener<ConnectionTester::Tick>,
                        public util::Listener<breakup::FrameProcessedEvent>,
                        private logging::Logging
{
public:
    using Results = util::Observable<breakup::FrameProcessedEvent>;

    /// What it needs of the system; everything here outlives the server.
    struct Surroundings
    {
        Results& results;
        camera::Camera& camera;
        OriginalImageWish& originalImageWish;
        ConnectionTester& tester;
        const ServerOptions& options;
    };

    /// Asks the camera, which must be closed, to tell it of source changes.
    explicit TarvikLabServer(const Surroundings& surroundings);
    ~TarvikLabServer() override;

    void start() override;
    /// Drops the client and ends the thread; does nothing when not started.
    void stop();
    void run() override;

    /// Takes effect together with the next test image while a client is connected, else at once.
    void setStreamingSettings(const StreamingSettings& settings);
    void applyStreamingSettings();

    [[nodiscard]] StreamingSettings streamingSettings() const { return _streaming.current(); }

    /// Puts the image in the sensor's place; its result is the one that the client gets next.
    void setTestImage(const image::Image& image);

    /// The source id whose result the client waits for; -1 for none.
    void setId(std::int8_t sourceId);

    void setStreamLog(bool enabled) { _client.setStreamLog(enabled); }

    [[nodiscard]] bool connected() const { return _client.connected(); }

    /// 0 while it has not opened its port.
    [[nodiscard]] std::uint16_t localPort() const { return _client.localPort(); }

    void onEvent(logging::LogEvent& event) override;
    void onEvent(ConnectionTester::Tick& event) override;
    void onEvent(breakup::FrameProcessedEvent& event) override;

private:
    void registerMessages();
    void connect();
    void serve();
    void lost(const std::string& failure);
    /// Disconnects, come what may.
    void drop();
    void disconnect();
    [[nodiscard]] bool takeAwaited(std::int8_t sourceId);

    const Surroundings _surroundings;
    std::atomic<bool> _running{false};
    /// Ends the pauses of the own thread; set by stop().
    concurrent::WakeUp _stop;
    StreamingState _streaming;
    ClientConnection _client;
    std::string _lastFailure; ///< a port in use is reported once

    /// The channel's action lock: no two messages act at once. Then any lock but the server mutex.
    concurrent::Mutex _settingsMutex;

    /// Guards the awaited id. A leaf: the camera's mutex may be held before it.
    concurrent::Mutex _idMutex;
    std::int8_t _awaitedId TARVIK_GUARDED_BY(_idMutex) = -1;
};

} // namespace tarvik::com::server
