#pragma once

#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "core/concurrent/Timer.h"
#include "core/concurrent/WakeUp.h"
#include "core/logging/Logging.h"
#include "core/util/Listener.h"
#include "core/util/Observable.h"
#include "database/Matchings.h"
#include "io/buffer/CharReader.h"
#include "io/net/TCPSocket.h"
#include "server/ConnectionTester.h"
#include "server/TelnetAnswers.h"
#include "server/TelnetConfig.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tarvik::database {
class Database;
}

namespace tarvik::com::server {

/// Answers a programmable controller, or a person at a terminal, line by line; one client at a time
/// (commands and answers: docs/protocol.md).
///
/// Threads: its own one serves the client; results arrive on the camera thread, ticks on the
/// connection tester's; start(), stop() and the rest belong to the owner. Every wait of the own
/// thread, for a client, a line, a result or room to send, ends with stop() and with the client.
class TelnetServer : public concurrent::Thread,
                     public util::Listener<breakup::FrameProcessedEvent>,
                     public util::Listener<ConnectionTester::Tick>,
                     private logging::Logging
{
public:
    using Results = util::Observable<breakup::FrameProcessedEvent>;

    /// What it needs of the system; everything here outlives the server.
    struct Surroundings
    {
        Results& results;
        const database::Database& database;
        ConnectionTester& tester;
        /// Local address to listen on; empty for all.
        const std::string& bindAddress;
        /// Answers the command "IMAGE".
        std::function<bool()> serverRunning;
    };

    explicit TelnetServer(Surroundings surroundings);
    ~TelnetServer() override;

    void start() override;
    /// Ends the client's connection and the thread; does nothing when not started.
    void stop();
    void run() override;

    void onEvent(breakup::FrameProcessedEvent& event) override;
    /// Sends a client away that has been silent for too long.
    void onEvent(ConnectionTester::Tick& event) override;

    [[nodiscard]] TelnetConfig config() const;
    /// A new port takes effect at the next connection.
    void setConfig(const TelnetConfig& config);

    /// The port it listens on; 0 while it has not opened it.
    [[nodiscard]] std::uint16_t localPort() const { return _localPort; }

    /// Decoding applies the configuration once it is complete.
    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        TelnetConfig config; // absent values are the defaults, not the ones in force
        if constexpr (S::isEncoder()) {
            config = self.config();
        }
        TelnetConfig::serialize(s, config);
        if constexpr (!S::isEncoder()) {
            self.setConfig(config);
        }
    }

private:
    void serveOneClient();
    void acceptClient();
    void talk();
    /// False when the client wants to leave.
    [[nodiscard]] bool handleCommand();
    void answer(std::string_view line);
    void answerValue(std::string_view argument);
    [[nodiscard]] std::optional<std::string> valueOf(std::string_view argument,
                                                     const database::Matchings& matchings) const;
    [[nodiscard]] std::string objectLine(std::string_view argument,
                                         const database::Matchings& matchings) const;
    [[nodiscard]] database::Matchings nextResult();
    void restartInactivity();
    void endConversation();
    void hangUp();
    void reportOnce(const std::exception& failure);

    const Surroundings _surroundings;
    std::atomic<bool> _running{false};
    std::atomic<std::uint16_t> _localPort{0};
    /// Ends the pauses of the own thread; set by stop().
    concurrent::WakeUp _stop;

    /// Guards the configuration. A leaf.
    mutable concurrent::Mutex _configMutex;
    TelnetConfig _config TARVIK_GUARDED_BY(_configMutex);

    /// Guards the copy of the latest result and its flag. A leaf.
    concurrent::Mutex _resultMutex;
    database::Matchings _matchings TARVIK_GUARDED_BY(_resultMutex);
    bool _frameProcessed TARVIK_GUARDED_BY(_resultMutex) = false;
    /// Set as long as _frameProcessed is, for the wait beside the socket.
    concurrent::WakeUp _frameProcessedWakeUp;

    /// Guards the inactivity check against meeting the next client. A leaf.
    concurrent::Mutex _inactivityMutex;
    concurrent::Timer _inactivity TARVIK_GUARDED_BY(_inactivityMutex); ///< null: not checked
    unsigned _conversation TARVIK_GUARDED_BY(_inactivityMutex) = 0;    ///< number of the client

    io::net::TCPSocket _socket; ///< opened by the own thread, closed by anybody
    io::buffer::CharReader<io::net::TCPSocket> _reader{_socket};
    telnet::AnswerBuffer _answer;
    bool _talking = false;
    std::string _lastFailure; ///< a port in use is reported once, not every two seconds
};

} // namespace tarvik::com::server
