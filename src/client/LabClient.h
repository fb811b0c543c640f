#pragma once

#include "client/Connection.h"
#include "core/concurrent/Mutex.h"
#include "core/logging/LogManager.h"
#include "image/Image.h"
#include "protocol/LogUpdateContents.h"
#include "protocol/StreamContents.h"
#include "protocol/StreamingSettings.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvik::client {

/// Shows a camera test images in place of what its sensor sees, and gets the result of each, over
/// the test client's connection.
///
///     LabClient camera("192.168.0.20");
///     camera.connect();
///     const auto result = camera.analyze(picture);
///     std::cout << result->frame.objectCount() << " objects\n";
///
/// A server serves one test client at a time, beside a control client. A test image stays in place
/// until the next one, useSensor(), or for good.
///
/// Threads and failures as for ControlClient.
class LabClient
{
public:
    static constexpr std::uint16_t PORT = 7454;

    using Result = std::shared_ptr<const com::StreamContents>;
    using LogUpdate = std::shared_ptr<const com::LogUpdateContents>;
    using LogHandler = std::function<void(const LogUpdate&)>;

    explicit LabClient(std::string host = "127.0.0.1", std::uint16_t port = PORT,
                       const Timeouts& timeouts = {});
    /// Disconnects.
    ~LabClient();

    /// Called for every new log entry while logs are streamed, as they are from connect() on.
    void onLog(LogHandler handler) { _logHandler = std::move(handler); }

    void onLost(Connection::LostHandler handler) { _lostHandler = std::move(handler); }

    /// Connects, and asks for frames and matchings with the results, and for new log entries, which
    /// analyze() needs.
    void connect();

    void disconnect() { _connection.close(); }

    [[nodiscard]] bool connected() const { return _connection.connected(); }

    /// Version of the server, and the size that test images must have.
    [[nodiscard]] const io::com::Greeting& greeting() const { return _connection.greeting(); }

    /// What the results of the next test images carry.
    void setStreaming(const com::StreamingSettings& settings);
    /// Switches the streaming of log entries, and returns all that the server has kept. Without it
    /// a refused image shows as a time-out.
    [[nodiscard]] logging::LogManagerSnapshot setLogStreaming(bool enabled);

    /// Shows the camera one image and waits for its result. Kind ImageRefused when the camera says
    /// that it cannot take it (size, or grey in place of colour); Timeout when nothing comes: the
    /// camera may wait for an external trigger.
    [[nodiscard]] Result analyze(const image::Image& image,
                                 std::chrono::milliseconds timeout = std::chrono::seconds(10));

    /// Back to what the sensor sees.
    void useSensor();
    /// Whether a test image is in place. Right after analyze() it is.
    [[nodiscard]] bool sourceOverridden();
    void testConnection();

private:
    void resultArrived(const Result& result);
    void logArrived(const LogUpdate& update);
    void connectionLost(const ClientException& reason);

    LogHandler _logHandler;
    Connection::LostHandler _lostHandler;

    /// One analyze() at a time. Lock order: this, then _outcomeMutex or the connection's locks.
    concurrent::Mutex _analyzeMutex;
    /// Guards what analyze() waits for. A leaf.
    concurrent::Mutex _outcomeMutex;
    concurrent::Condition _outcomeChanged;
    Result _result TARVIK_GUARDED_BY(_outcomeMutex);
    std::optional<ClientException> _failure TARVIK_GUARDED_BY(_outcomeMutex);

    Connection _connection; ///< last: its thread uses all of the above
    Answer<logging::LogManagerSnapshot>& _logs;
    Answer<bool>& _overridden;
};

} // namespace tarvik::client
