#include "client/ControlClient.h"
#include "client/FakeServer.h"
#include "client/LabClient.h"
#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <optional>
#include <string>

namespace tarvik::client {
namespace {

using io::net::TCPSocket;
using test::FakeServer;
using testing::HasSubstr;
using Kind = ClientException::Kind;

constexpr Timeouts SHORT{.connect = std::chrono::milliseconds(2000),
                         .refused = std::chrono::milliseconds(50),
                         .greeting = std::chrono::milliseconds(200),
                         .response = std::chrono::milliseconds(200)};
const std::string LOOPBACK = "127.0.0.1";

template <class Action>
std::optional<ClientException> failure(Action action)
{
    try {
        action();
    } catch (const ClientException& e) {
        return e;
    }
    return std::nullopt;
}

TEST(ClientFailureTest, NobodyListens)
{
    std::uint16_t port = 0;
    {
        TCPSocket socket; // a port that is free again
        socket.open();
        socket.bind("127.0.0.1", 0);
        port = static_cast<std::uint16_t>(socket.localPort());
    }
    for (const std::string& host : {LOOPBACK, std::string("no host of this name")}) {
        ControlClient client(host, port, SHORT);
        const auto e = failure([&] { client.connect(); });
        ASSERT_TRUE(e);
        EXPECT_EQ(e->kind(), Kind::Refused);
        EXPECT_THAT(e->what(), HasSubstr("Is tarvik-server running there?"));
        EXPECT_FALSE(client.connected());
    }
}

struct GreetingCase
{
    const char* what;
    void (*script)(TCPSocket&);
    Kind kind;
    const char* text;
};

TEST(ClientFailureTest, GreetingThatIsNone)
{
    constexpr GreetingCase cases[] = {
        {"another protocol",
         [](TCPSocket& s) {
             FakeServer::sendHex(s, "48 54 54 50 2F 31 2E 31 20 34 30 30 20 42 61 64 20 52 65 71 "
                                    "75 65 73 74");
             FakeServer::stayConnected(s);
         },
         Kind::WrongGreeting, "is no Tarvik server"},
        {"hangs up", [](TCPSocket&) {}, Kind::Lost, "closed before the greeting"},
        {"hangs up halfway", [](TCPSocket& s) { FakeServer::sendHex(s, "01 00 00 00 07"); },
         Kind::Lost, "closed before the greeting"},
        {"silence", FakeServer::stayConnected, Kind::Timeout, "No greeting came"},
        {"half a greeting",
         [](TCPSocket& s) {
             FakeServer::sendHex(s, "01 00 00 00 07");
             FakeServer::stayConnected(s);
         },
         Kind::Timeout, "No greeting came"},
    };
    for (const GreetingCase& c : cases) {
        SCOPED_TRACE(c.what);
        FakeServer server(c.script);
        LabClient client(LOOPBACK, server.port(), SHORT);
        const auto e = failure([&] { client.connect(); });
        ASSERT_TRUE(e);
        EXPECT_EQ(e->kind(), c.kind);
        EXPECT_THAT(e->what(), HasSubstr(c.text));
    }
}

/// The answer to GetBreakupConfig: its id, then 5 bytes.
struct AnswerCase
{
    const char* what;
    const char* answer; ///< null: the server hangs up
    bool hangUp;
    Kind kind;
};

TEST(ClientFailureTest, AnswerThatDoesNotComeOrIsNone)
{
    constexpr AnswerCase cases[] = {
        {"silence", "", false, Kind::Timeout},
        {"half an answer", "9A 3C C0 E6 01 02", false, Kind::Timeout},
        {"lost", "", true, Kind::Lost},
        {"lost in the middle of the answer", "9A 3C C0 E6 01 02", true, Kind::Lost},
        {"another answer", "22 2E F4 EE 01 02 03 04 05", false, Kind::Lost},
        {"an answer that nobody awaits", "62 57 74 32", false, Kind::Timeout},
    };
    for (const AnswerCase& c : cases) {
        SCOPED_TRACE(c.what);
        FakeServer server([&c](TCPSocket& s) {
            FakeServer::greet(s);
            std::array<std::byte, 4> request{};
            s.read(request);
            FakeServer::sendHex(s, c.answer);
            if (!c.hangUp) {
                FakeServer::stayConnected(s);
            }
        });
        ControlClient client(LOOPBACK, server.port(), SHORT);
        client.connect();
        const auto e = failure([&] { static_cast<void>(client.breakupConfig()); });
        ASSERT_TRUE(e);
        EXPECT_EQ(e->kind(), c.kind) << e->what();
        EXPECT_FALSE(client.connected());
        EXPECT_TRUE(failure([&] { client.sync(); }));
    }
}

TEST(ClientFailureTest, LossIsToldOnce)
{
    std::atomic<int> told{0};
    FakeServer server(FakeServer::greet);
    ControlClient client(LOOPBACK, server.port(), SHORT);
    client.onLost([&told](const ClientException& e) {
        EXPECT_EQ(e.kind(), Kind::Lost);
        ++told;
    });
    client.connect();
    EXPECT_TRUE(client.waitUntilLost(test::DEADLINE));
    EXPECT_TRUE(test::eventually([&] { return told == 1; }));
    client.disconnect();
    EXPECT_EQ(told, 1);
    EXPECT_THAT(failure([&] { client.sync(); })->what(), HasSubstr("Not connected"));
}

TEST(ClientFailureTest, HandlerMustNotWait)
{
    // Stream with all flags off.
    FakeServer server([](TCPSocket& s) {
        FakeServer::greet(s);
        FakeServer::sendHex(s, "60 38 0D F3 00 00 00 00");
        FakeServer::stayConnected(s);
    });
    ControlClient client(LOOPBACK, server.port(), SHORT);
    std::atomic<int> misused{0};
    client.onResult([&](const ControlClient::Result&) {
        const auto e = failure([&] { static_cast<void>(client.analyzerConfig()); });
        misused = e && e->kind() == Kind::Misuse ? 1 : -1;
    });
    client.connect();
    EXPECT_TRUE(test::eventually([&] { return misused == 1; }));
}

TEST(ClientFailureTest, ImageWithoutResultEndsTheConnection)
{
    // Answers ConfigLogging with no logs, and then nothing.
    FakeServer server([](TCPSocket& s) {
        FakeServer::greet(s);
        std::array<std::byte, 13> streamingAndLogging{};
        s.read(streamingAndLogging);
        FakeServer::sendHex(s, "03 F2 44 7F 00 00 00 00 00");
        FakeServer::stayConnected(s);
    });
    LabClient client(LOOPBACK, server.port(), SHORT);
    client.connect();
    const image::Image image(16, 16); // whatever its size, nothing comes
    const auto e =
        failure([&] { static_cast<void>(client.analyze(image, std::chrono::milliseconds(100))); });
    ASSERT_TRUE(e);
    EXPECT_EQ(e->kind(), Kind::Timeout);
    EXPECT_THAT(e->what(), HasSubstr("external trigger"));
    EXPECT_FALSE(client.connected());
}

} // namespace
} // namespace tarvik::client
