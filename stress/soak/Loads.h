#pragma once

#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "client/ControlClient.h"
#include "client/LabClient.h"
#include "io/net/UDPSocket.h"
#include "soak/Score.h"
#include "soak/ServerProcess.h"
#include "support/NumberedPicture.h"

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <random>
#include <string>

/// Those who use the server all at once. Each has a run() for a thread of its own that returns when
/// the score says that it is time, having disconnected.
namespace tarvik::soak {

using test::numberedPicture;
using test::numberOf;
using test::PictureNumber;

/// What the loads know of each other.
struct Stage
{
    Score& score;
    ServerProcess& server;
    bool ownClock; ///< clients may set the server's wall clock
    std::atomic<const camera::CameraFactory::Implementation*> model; ///< to draw pictures for
    std::atomic<std::uint32_t> lastPicture{0}; ///< number of the one shown last
};

[[nodiscard]] inline client::Timeouts timeouts(const Score& score)
{
    const auto time = score.limit(std::chrono::seconds(5));
    // A connection that overflows the queue of a listener about to close is forgotten there: nobody
    // will ever greet it. The next attempt comes soon.
    const auto greeting = score.limit(std::chrono::seconds(1));
    return {.connect = time, .refused = time, .greeting = greeting, .response = time};
}

/// Somebody else may be served, or be about to be: tries to connect until that works.
template <class Connect>
auto patiently(Score& score, Connect connect)
{
    const Clock::time_point end = Clock::now() + score.limit(std::chrono::seconds(5));
    while (true) {
        try {
            return connect();
        } catch (const std::exception&) {
            if (Clock::now() > end || !score.pause(std::chrono::milliseconds(5))) {
                throw;
            }
        }
    }
}

/// The test client: shows numbered pictures one after the other and expects of each its own result.
class LabLoad
{
public:
    explicit LabLoad(Stage& stage) : _stage(stage) {}

    void run();

private:
    void connect();
    void show(PictureNumber number);
    void check(PictureNumber number, const com::StreamContents& result);

    Stage& _stage;
    std::unique_ptr<client::LabClient> _lab;
};

/// The control client: changes every configuration and what is streamed, sets the clock, saves;
/// now and then leaves, and now and then disturbs the camera: another model, a trigger that does
/// not come, a fault.
class ControlLoad
{
public:
    explicit ControlLoad(Stage& stage) : _stage(stage) {}

    void run();

private:
    void connect();
    void leave();
    void routine();
    void changeAnalyzer();
    void changeDatabase();
    void jumpInTime();

    void disturb();
    void changeModel();
    void loseTrigger();
    [[nodiscard]] std::string sufferFault();
    [[nodiscard]] std::string randomFault(bool& fails);
    [[nodiscard]] bool cameraAgrees();
    void awaitImages(const std::string& after);

    void resultArrived(const com::StreamContents& result);
    void logArrived(const com::LogUpdateContents& update);
    [[nodiscard]] int pick(int count);

    Stage& _stage;
    std::mt19937 _random{20111227};
    std::unique_ptr<client::ControlClient> _control;
    camera::CameraConfiguration _camera;        ///< that was asked for last
    Clock::time_point _nextRequest;             ///< of the same again
    std::optional<PictureNumber> _lastStreamed; ///< receiving thread, or no connection
    std::atomic<std::int32_t> _lastYear{0};     ///< of a log entry
    std::atomic<long> _cameraWarnings{0};
};

/// A programmable controller that asks over telnet.
void runTelnet(Stage& stage);

/// Connects to every port, says something or nothing, and ends by a reset.
void runResets(Stage& stage);

/// Receives the datagrams on this socket and checks each.
void runReceiver(Stage& stage, io::net::UDPSocket& socket);

} // namespace tarvik::soak
