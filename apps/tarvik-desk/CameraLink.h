#pragma once

#include "StreamChoice.h"
#include "client/ControlClient.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tarvik::desk {

enum class LinkPhase
{
    Connecting,
    Connected,
    Waiting, ///< before the next attempt
};

struct LinkState
{
    LinkPhase phase = LinkPhase::Connecting;
    std::string text; ///< why it waits
    io::com::Greeting greeting;
};

/// The one control connection: made, watched and made again after every loss.
///
/// Threads: a thread of its own connects; results and log entries arrive on the client's receiving
/// thread; camera() is for any thread. Handlers are set before begin().
class CameraLink : private concurrent::Thread
{
public:
    using Client = client::ControlClient;

    struct Handlers
    {
        /// On the receiving thread, which must not wait: every image to show ...
        std::function<void(const Client::Result&)> result;
        /// ... and those of which matchings alone have come.
        std::function<void(const Client::Result&)> matchings;
        std::function<void(const com::LogUpdateContents&)> log;
        /// On the link's own thread, before any result: may ask the camera.
        std::function<void(Client&)> connected;
        /// Nobody listens there: the process has ended.
        std::function<void()> refused;
        std::function<void()> stateChanged;
    };

    CameraLink(client::ServerAddress address, Handlers handlers);
    ~CameraLink() override;
    CameraLink(const CameraLink&) = delete;
    CameraLink& operator=(const CameraLink&) = delete;

    void begin() { start(); }

    /// Disconnects and ends the thread; at most the time that an attempt to connect takes.
    void end();

    [[nodiscard]] const client::ServerAddress& address() const { return _address; }

    [[nodiscard]] LinkState state() const;

    /// Throws ApiError while there is no connection.
    [[nodiscard]] std::shared_ptr<Client> camera() const;

    /// Leaves the camera and comes back, as after a change of its model.
    void reconnect();

    /// Which pictures results should carry; the next result passes it on.
    void wish(PictureWish wish);

    [[nodiscard]] double imagesPerSecond() const { return _imagesPerSecond; }

    [[nodiscard]] std::uint64_t images() const { return _images; }

    /// Whether images have come lately: false with an external trigger that gives no pulse.
    [[nodiscard]] bool imagesArrive() const;

private:
    using Clock = std::chrono::steady_clock;

    void run() override;
    void attempt();
    void stayConnected(Client& camera);
    void resultArrived(Client& camera, const Client::Result& result);
    void changeState(LinkPhase phase, const std::string& text);
    void pause();

    const client::ServerAddress _address;
    const Handlers _handlers;
    std::atomic<bool> _ending{false};
    std::atomic<double> _imagesPerSecond{0};
    std::atomic<std::uint64_t> _images{0};
    std::atomic<std::int64_t> _lastImageMs{0};

    StreamChoice _choice; ///< the link's thread before a connection streams, then the receiving one

    /// Guards what follows. A leaf.
    mutable concurrent::Mutex _mutex;
    concurrent::Condition _changed;
    LinkState _state TARVIK_GUARDED_BY(_mutex);
    std::shared_ptr<Client> _camera TARVIK_GUARDED_BY(_mutex); ///< null while not connected
    PictureWish _wish TARVIK_GUARDED_BY(_mutex);
    bool _lost TARVIK_GUARDED_BY(_mutex) = false;
};

} // namespace tarvik::desk
