#include "Target.h"
#include "analysis/Analyzer.h"
#include "breakup/PolygonDivider.h"
#include "client/Messages.h"
#include "core/Exception.h"
#include "core/sys/DateTime.h"
#include "database/Database.h"
#include "io/com/Com.h"
#include "protocol/LogUpdateContents.h"
#include "server/ClientConnection.h"
#include "server/messages/ComponentMessages.h"
#include "server/messages/LabMessages.h"
#include "server/messages/ServerMessages.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <memory>

// The message channel at both its ends, fed with a byte stream in pieces. An input is a byte that
// says which end, a byte for the size of the pieces, and the stream.

namespace tarvik::fuzz {
namespace {

/// The peer, in the place of the system's sockets.
struct Peer
{
    Input* input = nullptr;
    unsigned most = 1; ///< bytes of a piece
    std::uint32_t state = 1;

    std::size_t nextPiece()
    {
        state = state * 1103515245 + 12345;
        return 1 + (state >> 16U) % most;
    }
};

Peer& peer()
{
    static Peer instance;
    return instance;
}

template <class M, class... Args>
void add(io::com::Com& channel, Args&&... args)
{
    channel.registerMessage(std::make_unique<M>(std::forward<Args>(args)...).release());
}

/// The camera's end. Messages that would move the sensor, the clock or the disk are decoded only.
class ServerEnd
{
public:
    ServerEnd()
    {
        using namespace com::server::messages;
        namespace kinds = com::kinds;
        add<GetAnalyzerConfig>(_channel, _analyzer);
        add<SetAnalyzerConfig>(_channel, _analyzer);
        add<Answered<camera::CameraConfiguration>>(_channel, kinds::GET_CAMERA_CONFIG, "");
        add<Incoming<camera::CameraConfiguration>>(_channel, kinds::SET_CAMERA_CONFIG, "");
        add<GetBreakupConfig>(_channel, _divider);
        add<SetBreakupConfig>(_channel, _divider);
        add<GetDatabase>(_channel, _database);
        add<SetDatabase>(_channel, _database);
        add<SetDatabaseConfig>(_channel, _database);
        add<SetDatabaseComparator>(_channel, _database);
        add<TestConnection>(_channel);
        add<Incoming<com::StreamingSettings>>(_channel, kinds::CONFIG_STREAMING, "");
        add<ConfigLogging>(_channel, _connection, _logs);
        add<Incoming<sys::DateTime>>(_channel, kinds::SET_SYSTEM_TIME, "");
        add<Incoming<image::Image>>(_channel, kinds::SET_CAMERA_SOURCE, "");
        add<Answered<bool>>(_channel, kinds::GET_CAM_IMG_OVERRIDDEN, "");
        _logs.getLog("Test")->log(std::make_unique<logging::LogEntry>().release());
    }

    io::com::Com& channel() { return _channel; }

private:
    analysis::Analyzer _analyzer;
    database::Database _database;
    breakup::PolygonDivider _divider;
    com::server::ClientConnection _connection;
    logging::LogManager _logs;
    io::com::Com _channel{true};
};

/// A client's end.
class ClientEnd
{
public:
    ClientEnd()
    {
        using client::Answer;
        using client::Incoming;
        namespace kinds = com::kinds;
        add<Incoming<com::StreamContents>>(_channel, kinds::STREAM, [](const auto&) {});
        add<Incoming<com::LogUpdateContents>>(_channel, kinds::LOG_UPDATE, [](const auto&) {});
        add<client::Plain>(_channel, kinds::TEST_CONNECTION);
        add<Answer<analysis::AnalyzerConfiguration>>(_channel, kinds::GET_ANALYZER_CONFIG);
        add<Answer<camera::CameraConfiguration>>(_channel, kinds::GET_CAMERA_CONFIG);
        add<Answer<breakup::BreakupConfiguration>>(_channel, kinds::GET_BREAKUP_CONFIG);
        add<Answer<database::DatabaseState>>(_channel, kinds::GET_DATABASE);
        add<Answer<logging::LogManagerSnapshot>>(_channel, kinds::CONFIG_LOGGING);
        add<Answer<bool>>(_channel, kinds::GET_CAM_IMG_OVERRIDDEN);
    }

    io::com::Com& channel() { return _channel; }

private:
    io::com::Com _channel{false};
};

/// Until the stream breaks off or breaks a rule.
void converse(io::com::Com& channel)
{
    channel.open();
    channel.sendGreeting({});
    concurrent::Mutex actions;
    try {
        for (;;) {
            channel.receive(&actions);
        }
    } catch (const Exception&) {
        channel.close();
    }
}

} // namespace
} // namespace tarvik::fuzz

// The linker puts these in the place of recv() and send().
extern "C" ssize_t __wrap_recv(int /*descriptor*/, void* buffer, std::size_t size, int /*flags*/)
{
    using namespace tarvik::fuzz;
    Peer& from = peer();
    const std::size_t count = std::min({from.nextPiece(), size, from.input->bytesAvailable()});
    from.input->read(std::span(static_cast<std::byte*>(buffer), count));
    return static_cast<ssize_t>(count);
}

extern "C" ssize_t __wrap_send(int /*descriptor*/, const void* buffer, std::size_t size,
                               int /*flags*/)
{
    // Every byte is looked at, so that one which nobody has written is noticed.
    const std::span bytes(static_cast<const unsigned char*>(buffer), size);
    const volatile bool empty = std::ranges::all_of(bytes, [](auto b) { return b == 0; });
    static_cast<void>(empty);
    return static_cast<ssize_t>(std::min(tarvik::fuzz::peer().nextPiece(), size));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tarvik::fuzz;
    silence();
    Input input(data, size);
    const bool atServer = input.byte() % 2 == 0;
    const unsigned most = 1U + input.byte() * 8U;
    peer() = {.input = &input, .most = most};
    if (atServer) {
        ServerEnd end;
        converse(end.channel());
    } else {
        ClientEnd end;
        converse(end.channel());
    }
    return 0;
}
