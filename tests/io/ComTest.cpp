#include "io/com/Com.h"

#include "core/concurrent/Mutex.h"
#include "io/com/ComException.h"
#include "io/net/SocketException.h"
#include "support/Eventually.h"
#include "support/Hex.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace tarvik;
using namespace tarvik::io;
using namespace tarvik::io::com;
using namespace tarvik::test;
using io::serialization::field;

namespace {

constexpr unsigned int PATIENT_MS = 20000;

/// Carries a number, and doubles it when a server acts on it.
class Number : public Message
{
public:
    explicit Number(std::int32_t number = 0, const char* name = "Number", Type type = Type::Request)
        : Message(name, type),
          value(number)
    {}

    void receive(Decoder& decoder) override
    {
        decoding = true;
        decoder& field("Value", value);
    }

    void act() override
    {
        value = value * 2;
        acted = value;
    }

    void send(Encoder& encoder) const override { encoder& field("Value", value); }

    std::int32_t value;
    std::atomic<bool> decoding{false};
    std::atomic<std::int32_t> acted{0};
};

/// 64 MB in many writes: more than any socket buffers.
class Huge : public Message
{
public:
    Huge() : Message("Huge", Type::Notification) {}

    void send(Encoder& encoder) const override
    {
        const std::vector<std::uint8_t> bytes(std::size_t{1} << 16U);
        for (int i = 0; i < 1024; ++i) {
            encoder.bytes("data", std::span(bytes));
        }
    }
};

/// Writes a part and fails.
class Failing : public Message
{
public:
    Failing() : Message("Failing", Type::Notification) {}

    void send(Encoder& encoder) const override
    {
        const std::int32_t half = 1;
        encoder& field("Half", half);
        throw Exception("halfway");
    }
};

/// Connects the client, a channel or a raw socket, and greets it.
template <class Client>
void join(Com& server, Client& client)
{
    server.open();
    server.bind("127.0.0.1", 0);
    server.listen();
    client.open();
    client.connect("127.0.0.1", server.localPort());
    server.accept();
    server.sendGreeting({1, 7, 0, 20111227, 752, 480});
}

/// A server channel and the raw socket of its client.
struct Peers
{
    Peers() { connect(); }

    void connect()
    {
        join(server, raw);
        EXPECT_EQ(read(24),
                  "01 00 00 00 07 00 00 00 00 00 00 00 7B DF 32 01 F0 02 00 00 E0 01 00 00");
    }

    void write(const std::string& hex) { raw.write(fromHex(hex)); }

    std::string read(std::size_t size)
    {
        std::vector<std::byte> bytes(size);
        raw.read(bytes);
        return toHex(bytes);
    }

    Com server{true};
    net::TCPSocket raw;
};

/// A server channel and a client channel.
struct Channels
{
    Channels()
    {
        join(server, client);
        EXPECT_EQ(client.receiveGreeting(), (Greeting{1, 7, 0, 20111227, 752, 480}));
    }

    Com server{true};
    Com client{false};
};

const std::string NUMBER_ID = [] {
    return toHex(buffer::toLittleEndian(Message::idOf("Number")));
}();

template <class Action>
std::string failure(Action action)
{
    return thrown<IOException>(action);
}

} // namespace

TEST(Message, HashesItsNameToAnId)
{
    EXPECT_EQ(Message::idOf("GetAnalyzerConfig"), 0x32745762U);
    EXPECT_EQ(Message::idOf(""), 1U) << "0 stands for no id";
    EXPECT_EQ(Message::idOf("\x80"), 0x80U * 31U) << "bytes count as unsigned";
}

TEST(Com, RefusesBadRegistrations)
{
    Com com(true);
    EXPECT_EQ(failure([&] { com.registerMessage(nullptr); }), "Message is NULL.");
    com.registerMessage(std::make_unique<Number>().release());
    auto second = std::make_unique<Number>();
    EXPECT_EQ(failure([&] { com.registerMessage(second.get()); }),
              "A message with the same id already has been registered.");
}

TEST(Com, ForgetsUnreadInputWithTheConnection)
{
    Peers peers;
    peers.server.registerMessage(std::make_unique<Number>().release());
    peers.write(NUMBER_ID + " 01 00 00 00 DE AD");
    peers.server.receive(nullptr);
    peers.server.close();
    peers.raw.close();
    peers.connect();
    peers.write(NUMBER_ID + " 02 00 00 00");
    peers.server.receive(nullptr);
    EXPECT_EQ(peers.read(8), NUMBER_ID + " 04 00 00 00");
}

TEST(Com, TakesTheActionLockOnlyAfterTheWholeMessage)
{
    Peers peers;
    auto owned = std::make_unique<Number>();
    const Number& number = *owned;
    peers.server.registerMessage(owned.release());
    concurrent::Mutex action;
    auto receiving = inBackground([&] { peers.server.receive(&action); });
    peers.write(NUMBER_ID + " 15 00"); // the peer stops halfway
    ASSERT_TRUE(eventually([&] { return number.decoding.load(); }));
    const bool isFree = action.tryLock();
    EXPECT_TRUE(isFree);
    if (isFree) {
        action.unlock();
    }
    peers.write("00 00");
    EXPECT_EQ(peers.read(8), NUMBER_ID + " 2A 00 00 00");
    ASSERT_TRUE(endsInTime(receiving));
}

TEST(Com, SendsNothingBeforeTheGreetingAndNothingBehindHalfAMessage)
{
    constexpr const char* BROKEN = "Couldn't send data. Details: Broken pipe";
    Peers peers;
    EXPECT_EQ(thrown<Exception>([&] { peers.server.send(Failing(), PATIENT_MS); }), "halfway");
    EXPECT_EQ(failure([&] { peers.server.send(Number(1), PATIENT_MS); }), BROKEN);
    peers.server.close();
    EXPECT_THROW(peers.read(1), net::SocketException) << "not even the half";
    peers.raw.close();
    peers.server.open();
    EXPECT_EQ(failure([&] { peers.server.send(Number(1), PATIENT_MS); }), BROKEN);
    peers.server.close();
    peers.connect();
    peers.server.send(Number(1), PATIENT_MS);
    EXPECT_EQ(peers.read(8), NUMBER_ID + " 01 00 00 00");
}

TEST(Com, AWriterStuckAtAPeerThatDoesNotReadKeepsNobodyElse)
{
    Peers peers;
    peers.server.registerMessage(
        std::make_unique<Number>(0, "Number", Message::Type::Command).release());
    std::atomic<bool> sending{false};
    auto writer = inBackground([&] {
        const Huge message;
        sending = true;
        return failure([&] { peers.server.send(message, PATIENT_MS); });
    });
    ASSERT_TRUE(eventually([&] { return sending.load(); }));
    peers.write(NUMBER_ID + " 15 00 00 00");
    peers.server.receive(nullptr); // reads beside the writer
    peers.server.close();          // and does not wait for it
    ASSERT_TRUE(endsInTime(writer));
    EXPECT_EQ(writer.get().substr(0, 19), "Couldn't send data.");
    peers.raw.close();
    peers.connect();
}

TEST(Com, AWriterGivesUpAtAPeerThatReadsForEver)
{
    Peers peers;
    auto reader = inBackground([&] {
        return failure([&] {
            while (true) { // never a stall, but seconds for the whole message
                peers.read(16384);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    });
    EXPECT_EQ(failure([&] { peers.server.send(Huge(), 200); }),
              "Couldn't send data. Details: Connection timed out");
    peers.server.close();
    ASSERT_TRUE(endsInTime(reader));
}

TEST(Com, AClientWaitsForTheResponseToItsRequest)
{
    Channels channels;
    channels.server.registerMessage(std::make_unique<Number>().release());
    auto owned = std::make_unique<Number>();
    const Number& answer = *owned;
    channels.client.registerMessage(owned.release());
    auto server = inBackground([&] { channels.server.receive(nullptr); });
    auto client = inBackground([&] { channels.client.receive(nullptr); });
    channels.client.send(std::make_unique<Number>(21).release(), PATIENT_MS);
    EXPECT_EQ(answer.acted, 84) << "both ends have acted when send() returns";
    channels.client.send(nullptr, PATIENT_MS);
    ASSERT_TRUE(endsInTime(server));
    ASSERT_TRUE(endsInTime(client));
}

TEST(Com, AClientGivesUpWaiting)
{
    Channels channels;
    channels.server.registerMessage(
        std::make_unique<Number>(0, "Number", Message::Type::Command).release());
    channels.client.registerMessage(std::make_unique<Number>().release());
    EXPECT_EQ(failure([&] { channels.client.send(Number(1), 60); }),
              "Timeout while waiting for response.");

    auto waiting =
        inBackground([&] { return failure([&] { channels.client.send(Number(1), PATIENT_MS); }); });
    auto receiving =
        inBackground([&] { return failure([&] { channels.client.receive(nullptr); }); });
    channels.server.receive(nullptr); // the first request
    channels.server.receive(nullptr); // the second one has been sent
    channels.server.close();
    ASSERT_TRUE(endsInTime(waiting)) << "the end of the connection ends it at once";
    EXPECT_EQ(waiting.get(), "Couldn't read data. Details: Operation canceled");
    ASSERT_TRUE(endsInTime(receiving));
}

TEST(Com, AClientRefusesAResponseThatItDoesNotWaitFor)
{
    Channels channels;
    channels.client.registerMessage(std::make_unique<Number>().release());
    channels.server.send(Number(1), PATIENT_MS);
    EXPECT_EQ(failure([&] { channels.client.receive(nullptr); }), "Unexpected response received.");
}

TEST(Com, KeepsMessagesOfManyWritersWhole)
{
    Channels channels;
    auto owned = std::make_unique<Number>(0, "Number", Message::Type::Notification);
    const Number& number = *owned;
    channels.client.registerMessage(owned.release());
    std::vector<std::future<void>> writers;
    for (std::int32_t i = 1; i <= 4; ++i) {
        writers.push_back(inBackground([&channels, i] {
            for (int n = 0; n < 50; ++n) {
                channels.server.send(Number(i, "Number", Message::Type::Notification), PATIENT_MS);
            }
        }));
    }
    std::int32_t sum = 0;
    for (int i = 0; i < 200; ++i) {
        channels.client.receive(nullptr);
        sum += number.acted / 2;
    }
    EXPECT_EQ(sum, 50 * (1 + 2 + 3 + 4));
}
