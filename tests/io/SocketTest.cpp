#include "io/net/SocketException.h"
#include "io/net/TCPSocket.h"
#include "io/net/UDPSocket.h"
#include "support/Eventually.h"
#include "support/Hex.h"
#include "support/OwnName.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <string>
#include <vector>

using namespace tarvik::io::net;
using namespace tarvik::test;

namespace {

constexpr const char* LOOPBACK = "127.0.0.1";

std::string failure(const std::function<void()>& action)
{
    return thrown<SocketException>(action);
}

std::string failureWithReason(const std::function<void()>& action)
{
    try {
        action();
        return "(nothing thrown)";
    } catch (const SocketException& e) {
        return std::string(e.what()) + "; " + e.reason();
    }
}

int listenAnywhere(TCPSocket& socket)
{
    socket.open();
    socket.bind(LOOPBACK, 0);
    socket.listen();
    return socket.localPort();
}

/// Two ends of a connection.
struct Connection
{
    Connection()
    {
        const int port = listenAnywhere(server);
        client.open();
        client.connect(LOOPBACK, port, 20000);
        server.accept();
    }

    TCPSocket server;
    TCPSocket client;
};

std::span<const std::byte> bytesOf(const std::string& text)
{
    return std::as_bytes(std::span(text));
}

std::string readText(TCPSocket& socket, std::size_t size)
{
    std::string text(size, '\0');
    socket.read(std::as_writable_bytes(std::span(text)));
    return text;
}

} // namespace

TEST(SocketException, FormatsItsText)
{
    EXPECT_STREQ(SocketException("Receiver not yet specified.").what(),
                 "Receiver not yet specified.");
    EXPECT_EQ(SocketException("x").getErrorCode(), 0);
    EXPECT_STREQ(SocketException(EADDRINUSE).what(), "Address already in use");
    const SocketException both("Binding socket failed.", EADDRINUSE);
    EXPECT_STREQ(both.what(), "Binding socket failed. Details: Address already in use");
    EXPECT_EQ(both.getErrorCode(), EADDRINUSE);
    EXPECT_EQ(both.formattedError(), "Address already in use");
    const std::string endless(5000, 'x');
    EXPECT_EQ(std::string(SocketException(endless.c_str()).what()), std::string(1023, 'x'));
    EXPECT_EQ(std::string(SocketException(endless.c_str(), EADDRINUSE).what()),
              std::string(500, 'x') + " Details: Address already in use");
}

TEST(TCPSocket, NamesWhatFailed)
{
    TCPSocket taken;
    const int port = listenAnywhere(taken);
    TCPSocket socket;
    std::array<std::byte, 1> one{};

    EXPECT_EQ(failure([&] { socket.bind(nullptr, 0); }),
              "Binding socket failed. Details: Bad file descriptor");
    EXPECT_EQ(failure([&] { socket.read(one); }),
              "Couldn't read data. Details: Bad file descriptor");
    EXPECT_EQ(failure([&] { socket.write(one); }),
              "Couldn't send data. Details: Bad file descriptor");
    socket.open();
    EXPECT_EQ(failure([&] { socket.open(); }), "Socket already open.");
    EXPECT_EQ(failureWithReason([&] { socket.bind(LOOPBACK, port); }),
              "Binding socket failed. Details: Address already in use; TCP port " +
                  std::to_string(port) + " is held by " + ownName() + ".");
    EXPECT_EQ(failureWithReason([&] { socket.bind("192.0.2.1", port); }),
              "Binding socket failed. Details: Cannot assign requested address; "
              "192.0.2.1 is no address of this machine.");
    EXPECT_EQ(failure([&] { socket.bind("localhost", port); }),
              "Invalid address. Details: Invalid argument");
    EXPECT_EQ(failure([&] { socket.connect("1.2.3.4.5", port); }),
              "Invalid address. Details: Invalid argument");
    EXPECT_EQ(failure([&] { socket.bind(nullptr, 65536); }),
              "Invalid address. Details: Invalid argument");
    EXPECT_EQ(failure([&] { (void)socket.acceptPending(); }),
              "Error accepting connection. Details: Invalid argument");
    taken.close();
    EXPECT_EQ(failure([&] { socket.connect(LOOPBACK, port); }),
              "Connecting to host failed. Details: Connection refused");
    socket.close();
    socket.close();
    EXPECT_FALSE(socket.isOpen());
    socket.open();
}

TEST(TCPSocket, BecomesTheConnectionThatItAccepts)
{
    TCPSocket server;
    const int port = listenAnywhere(server);
    EXPECT_FALSE(server.acceptPending());
    TCPSocket client;
    client.open();
    client.connect(LOOPBACK, port);
    server.accept();
    server.write(bytesOf("hello"));
    EXPECT_EQ(readText(client, 5), "hello");
    client.write(bytesOf("you"));
    server.waitReadable();
    EXPECT_TRUE(eventually([&] { return server.bytesAvailable() == 3; }));
    EXPECT_EQ(readText(server, 3), "you");
    server.read({});

    TCPSocket second;
    second.open();
    EXPECT_EQ(failure([&] { second.connect(LOOPBACK, port); }),
              "Connecting to host failed. Details: Connection refused")
        << "nobody listens while a client is served";
    server.close();
    server.open();
    server.bind(LOOPBACK, port);
    server.listen();
    second.close();
    second.open();
    second.connect(LOOPBACK, port);
    server.accept();
}

TEST(TCPSocket, ReportsTheEndOfTheStreamAtOnce)
{
    Connection c;
    c.client.write(bytesOf("ab"));
    c.client.close();
    std::array<std::byte, 4> four{};
    EXPECT_EQ(failure([&] { c.server.read(four); }),
              "Couldn't read data. Details: Connection reset by peer");
    // The first write may still be taken; the peer's answer to it ends the second or third.
    EXPECT_TRUE(eventually([&] {
        return failure([&] { c.server.write(four); }) == "Couldn't send data. Details: Broken pipe";
    })) << "and raises no signal";
}

TEST(TCPSocket, EndsEveryWaitFromAnotherThread)
{
    struct Case
    {
        const char* what;
        std::function<void(TCPSocket&)> wait;
        const char* error;
    };

    const Case cases[] = {
        {"read", [](TCPSocket& s) { (void)readText(s, 1); },
         "Couldn't read data. Details: Operation canceled"},
        {"waitReadable", [](TCPSocket& s) { s.waitReadable(); },
         "Couldn't read data. Details: Operation canceled"},
        {"write", [](TCPSocket& s) { s.write(std::vector<std::byte>(std::size_t{64} << 20U)); },
         "Couldn't send data. Details: Operation canceled"},
    };
    using End = void (Socket::*)();
    for (const Case& c : cases) {
        for (const End end : {&Socket::interrupt, &Socket::close}) {
            SCOPED_TRACE(c.what);
            Connection connection;
            std::atomic<bool> entered{false};
            auto waiting = inBackground([&] {
                return failure([&] {
                    entered = true;
                    c.wait(connection.server);
                });
            });
            ASSERT_TRUE(eventually([&] { return entered.load(); }));
            (connection.server.*end)();
            ASSERT_TRUE(endsInTime(waiting));
            const std::string error = waiting.get();
            // A wait that had not quite begun finds the socket closed already.
            EXPECT_TRUE(
                error == c.error ||
                (end == &Socket::close && error.find("Bad file descriptor") != std::string::npos))
                << error;
        }
    }
}

TEST(TCPSocket, EndsTheWaitForAClientAndStaysInterruptedUntilOpened)
{
    TCPSocket server;
    listenAnywhere(server);
    auto waiting = inBackground([&] { return failure([&] { server.accept(); }); });
    server.interrupt();
    ASSERT_TRUE(endsInTime(waiting));
    EXPECT_EQ(waiting.get(), "Error accepting connection. Details: Operation canceled");
    EXPECT_EQ(failure([&] { server.waitForConnection(); }),
              "Error accepting connection. Details: Operation canceled");
    server.close();
    const int port = listenAnywhere(server);
    TCPSocket client;
    client.open();
    client.connect(LOOPBACK, port);
    server.accept();

    server.interrupt();
    EXPECT_EQ(failure([&] { (void)readText(server, 1); }),
              "Couldn't read data. Details: Operation canceled")
        << "the connection inherits it";
}

TEST(TCPSocket, GivesUpOnAPeerThatReadsTooSlowly)
{
    Connection c;
    std::atomic<bool> done{false};
    auto reader = inBackground([&] {
        std::array<std::byte, 64> some{};
        while (!done) {
            (void)failure([&] { (void)c.client.readSome(some); });
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    c.server.setSendBudget(std::chrono::milliseconds(300));
    EXPECT_EQ(failure([&] { c.server.write(std::vector<std::byte>(std::size_t{64} << 20U)); }),
              "Couldn't send data. Details: Connection timed out")
        << "steady progress does not extend the budget";
    done = true;
    c.server.close();
}

TEST(TCPSocket, SurvivesClosingWhileOthersUseIt)
{
    for (int round = 0; round < 20; ++round) {
        Connection c;
        auto reader =
            inBackground([&] { (void)failure([&] { (void)readText(c.server, 100000); }); });
        auto writer = inBackground(
            [&] { (void)failure([&] { c.server.write(std::vector<std::byte>(1000000)); }); });
        auto closer = inBackground([&] { c.server.close(); });
        c.server.close();
        ASSERT_TRUE(endsInTime(reader));
        ASSERT_TRUE(endsInTime(writer));
        ASSERT_TRUE(endsInTime(closer));
    }
}

TEST(UDPSocket, SendsDatagramsToItsReceiver)
{
    UDPSocket receiver;
    receiver.open();
    receiver.bind(LOOPBACK, 0);
    UDPSocket sender;
    sender.open();
    EXPECT_EQ(failure([&] { sender.write(bytesOf("x")); }), "Receiver not yet specified.");
    sender.setDestination(LOOPBACK, static_cast<std::uint16_t>(receiver.localPort()));
    sender.write(bytesOf("one"));
    sender.write(bytesOf("second"));
    std::array<std::byte, 16> buffer{};
    EXPECT_EQ(receiver.readSome(buffer), 3U);
    EXPECT_EQ(receiver.readSome(buffer), 6U);
    sender.write(bytesOf("abc"));
    EXPECT_EQ(failure([&] { receiver.read(std::span(buffer).first(4)); }),
              "Couldn't read data. Details: Message too long");
    EXPECT_EQ(failure([&] { sender.write(std::vector<std::byte>(100000)); }),
              "Couldn't send data. Details: Message too long");
}

TEST(UDPSocket, NamesWhatFailed)
{
    UDPSocket socket;
    socket.open();
    EXPECT_EQ(failure([&] { socket.bind("nowhere", 0); }),
              "Invalid IP address. Details: Invalid argument");
    for (const char* const address : {"nowhere", "1.2.3.4.5", "255.255.255.255", ""}) {
        SCOPED_TRACE(address);
        EXPECT_EQ(failure([&] { socket.setDestination(address, 5000); }),
                  "Invalid IP address. Details: Invalid argument");
    }
    socket.setDestination(nullptr, 0);
    EXPECT_EQ(failure([&] { socket.write(bytesOf("x")); }), "Receiver not yet specified.");
    UDPSocket other;
    other.open();
    socket.bind(LOOPBACK, 0);
    socket.setDestination(nullptr, static_cast<std::uint16_t>(socket.localPort()));
    EXPECT_NO_THROW(socket.write(bytesOf("x"))) << "0.0.0.0 is this machine";
    auto waiting = inBackground([&] {
        return failure([&] {
            std::array<std::byte, 1> one{};
            (void)other.readSome(one);
        });
    });
    other.interrupt();
    ASSERT_TRUE(endsInTime(waiting));
    EXPECT_EQ(waiting.get(), "Couldn't read data. Details: Operation canceled");
}
