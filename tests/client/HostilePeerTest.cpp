#include "ProtocolExamples.h"
#include "client/ControlClient.h"
#include "core/Exception.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"
#include "server/Program.h"
#include "support/Hex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarvik {
namespace {

using test::Peer;
using test::ProtocolExample;

using Bytes = std::vector<std::byte>;

/// What clients send that has a payload.
std::vector<ProtocolExample> clientMessages()
{
    std::vector<ProtocolExample> messages;
    for (ProtocolExample example : test::protocolExamples()) {
        if (!example.fromClient && example.name == "GetDatabase") {
            const auto id = test::fromHex("C3 A3 05 50");
            std::ranges::copy(id, example.bytes.begin());
            example.name = "SetDatabase";
            example.fromClient = true;
        }
        // The other comparator's settings would need that comparator.
        const bool otherComparator =
            example.name == "SetDatabaseComparator" && example.bytes.size() == 8;
        if (example.fromClient && example.bytes.size() > 4 && !otherComparator) {
            messages.push_back(std::move(example));
        }
    }
    return messages;
}

/// What the decoder says of the payload; nothing when it is content.
std::string complaint(const ProtocolExample& message)
{
    try {
        static_cast<void>(test::payloadCoder(message).recode(std::span(message.bytes).subspan(4)));
        return {};
    } catch (const Exception& e) {
        return e.what();
    }
}

/// Begins the limits in a complaint about this value.
std::string refusalOf(std::int64_t value, std::size_t width)
{
    const std::int64_t read = width == 1 ? value & 255 : value; // single bytes have no sign
    return ">: " + std::to_string(read) + ". Allowed: ";
}

void overwrite(Bytes& bytes, std::size_t offset, std::size_t width, std::int64_t value)
{
    std::memcpy(bytes.data() + offset, &value, width); // little-endian, as the protocol is
}

/// A count, length, size or choice inside a message: what the decoder checks.
struct CheckedField
{
    std::size_t offset;
    std::size_t width;
    std::int64_t limit;
};

/// Finds them by what the decoder says of the largest value.
std::vector<CheckedField> checkedFields(const ProtocolExample& message)
{
    std::vector<CheckedField> fields;
    const std::size_t end = std::min<std::size_t>(message.bytes.size(), 2000);
    for (std::size_t offset = 4; offset < end; ++offset) {
        for (const std::size_t width : {std::size_t{4}, std::size_t{1}}) {
            if (offset + width > end) {
                continue;
            }
            const std::int64_t largest = (std::int64_t{1} << (8 * width - 1)) - 1;
            ProtocolExample hostile = message;
            overwrite(hostile.bytes, offset, width, largest);
            const std::string reason = complaint(hostile);
            const std::size_t found = reason.find(refusalOf(largest, width));
            if (found != std::string::npos) {
                const std::string limit = reason.substr(reason.find(" to ", found) + 4);
                fields.push_back({offset, width, std::atoll(limit.c_str())});
                break; // its first byte alone would be found as well
            }
        }
    }
    return fields;
}

/// Everything that clients can set, as bytes.
Bytes settings(client::ControlClient& client)
{
    io::stream::MemoryOutputStream out;
    io::serialization::BinaryEncoder encoder(out);
    using io::serialization::field;
    const auto analyzer = client.analyzerConfig();
    const auto camera = client.cameraConfig();
    const auto breakup = client.breakupConfig();
    const auto database = client.database();
    encoder& field("", analyzer) & field("", camera) & field("", breakup) & field("", database);
    return {out.bytes().begin(), out.bytes().end()};
}

/// Sanitizers keep memory of their own; so do an emulator and the counting of lines.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(TARVIK_WATCHED)
constexpr bool OWN_MEMORY_ONLY = false;
#else
constexpr bool OWN_MEMORY_ONLY = true;
#endif

std::int64_t millisecondsSince(std::chrono::steady_clock::time_point start)
{
    using std::chrono::milliseconds;
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start)
        .count();
}

class HostilePeerTest : public testing::Test
{
protected:
    /// A server that has something to lose.
    HostilePeerTest()
    {
        EXPECT_TRUE(program.says("Telnet server waiting for connection..."));
        client::ControlClient client(program.address());
        connect(client);
        database::DatabaseState state = client.database();
        EXPECT_TRUE(state.addTemplate(std::make_shared<const database::Template>()));
        client.setDatabase(state);
        EXPECT_EQ(client.database().numTemplates(), 1);
    }

    /// Whatever came, no more memory was ever taken than one picture needs.
    void expectModestMemory() const
    {
        if (OWN_MEMORY_ONLY) {
            EXPECT_LT(program.use().peakKB - _peakKB, 16U << 10U);
        }
    }

    /// As the next good client sees them.
    Bytes settingsInForce()
    {
        client::ControlClient client(program.address());
        connect(client);
        return settings(client);
    }

    static void connect(client::ControlClient& client)
    {
        EXPECT_TRUE(test::eventually([&] {
            try {
                client.connect();
                return true;
            } catch (const client::ClientException&) {
                return false; // the one before is just being dropped
            }
        }));
    }

    static std::uint16_t portOf(const ProtocolExample& message)
    {
        return message.name == "SetCameraSource" ? test::LAB_PORT : test::CONTROL_PORT;
    }

    /// A client that has been let in. One that was queued when another was taken is turned away,
    /// and one for whom the queue had no room hears nothing at all: the system has forgotten it
    /// with the queue. It has to try again, as every client does.
    std::unique_ptr<Peer> greeted(std::uint16_t port)
    {
        std::unique_ptr<Peer> peer;
        EXPECT_TRUE(test::eventually([&] {
            constexpr int PATIENCE_MS = 2000;
            try {
                peer = program.client(port);
                return peer->hasInput(PATIENCE_MS) && !peer->receive(24).empty();
            } catch (const std::runtime_error&) {
                return false;
            }
        }));
        return peer;
    }

    void expectDropped(std::uint16_t port, const Bytes& message)
    {
        const auto peer = greeted(port);
        try {
            peer->send(message);
        } catch (const std::runtime_error&) {
            return; // dropped before it had all been sent
        }
        EXPECT_TRUE(peer->hungUp());
    }

    test::Program program;

private:
    std::size_t _peakKB = program.use().peakKB;
};

/// How often a long form of the test repeats; 1 by default.
int repetitions()
{
    const char* const text = std::getenv("TARVIK_REPETITIONS");
    return text == nullptr ? 1 : std::max(1, std::atoi(text));
}

TEST_F(HostilePeerTest, RefusesEveryImpossibleValueAndKeepsWhatItHad)
{
    const Bytes before = settingsInForce();
    int fields = 0;
    for (const ProtocolExample& message : clientMessages()) {
        for (const CheckedField& checked : checkedFields(message)) {
            ++fields;
            const std::int64_t largest = (std::int64_t{1} << (8 * checked.width - 1)) - 1;
            for (const std::int64_t value :
                 {std::int64_t{-1}, checked.limit, checked.limit + 1, largest}) {
                ProtocolExample hostile = message;
                overwrite(hostile.bytes, checked.offset, checked.width, value);
                SCOPED_TRACE(message.name + " with " + std::to_string(value) + " at " +
                             std::to_string(checked.offset));
                const std::string reason = complaint(hostile);
                const bool refused =
                    reason.find(refusalOf(value, checked.width)) != std::string::npos;
                EXPECT_EQ(refused, value != checked.limit) << reason;
                if (refused) {
                    expectDropped(portOf(message), hostile.bytes);
                }
            }
        }
    }
    expectModestMemory();
    EXPECT_GE(fields, 12) << "counts, lengths, sizes and choices";
    EXPECT_EQ(settingsInForce(), before);
}

TEST_F(HostilePeerTest, ForgetsMessagesThatBreakOffAnywhere)
{
    const Bytes before = settingsInForce();
    for (const ProtocolExample& message : clientMessages()) {
        const std::size_t end = std::min<std::size_t>(message.bytes.size(), 1000);
        for (std::size_t length = 1; length < end; ++length) {
            greeted(portOf(message))->send(std::span(message.bytes).first(length));
        }
    }
    expectModestMemory();
    EXPECT_EQ(settingsInForce(), before);
    const std::string saved = test::readFile(program.configPath());
    EXPECT_NE(saved.find("<TemplateCount>1<"), std::string::npos);
    EXPECT_NE(saved.find("</Tarvik>"), std::string::npos) << "whole";
}

TEST_F(HostilePeerTest, TakesBytesOneAtATime)
{
    std::vector<ProtocolExample> messages = clientMessages();
    std::ranges::reverse(messages); // the comparator's settings before another comparator
    for (const ProtocolExample& message : messages) {
        if (message.bytes.size() > 1000 || message.name == "SetSystemTime") {
            continue;
        }
        SCOPED_TRACE(message.name);
        const auto peer = greeted(portOf(message));
        for (const std::byte& byte : message.bytes) {
            peer->send(std::span(&byte, 1));
        }
        peer->sendHex("9A 3C C0 E6"); // GetBreakupConfig: answered when all of that was understood
        std::string bytes;
        while (!bytes.ends_with("9A 3C C0 E6 01 28 5C 8F 02") &&
               !bytes.ends_with("9A 3C C0 E6 00 00 00 00 01") &&
               !bytes.ends_with("9A 3C C0 E6 00 33 33 33 03")) {
            bytes += (bytes.empty() ? "" : " ") + peer->receiveHex(1); // throws after the deadline
        }
    }
}

TEST_F(HostilePeerTest, ServesOtherPortsWhileAPeerDoesNotRead)
{
    auto deaf = program.client(test::CONTROL_PORT, 1);
    static_cast<void>(deaf->receive(24));
    deaf->sendHex("E0 EC 56 54 01 01 01 01");
    ASSERT_TRUE(test::eventually([&] { return deaf->hasInput(); }));
    const auto start = std::chrono::steady_clock::now();
    const auto telnet = program.client(test::TELNET_PORT);
    EXPECT_EQ(telnet->receiveLine(), "20 no authentication required.");
    telnet->send("VERSION\r\n");
    EXPECT_FALSE(telnet->receiveLine().empty());
    const auto lab = greeted(test::LAB_PORT);
    lab->sendHex("22 2E F4 EE");
    EXPECT_FALSE(lab->receive(5).empty());
    const auto answered = millisecondsSince(start);
    // It is dropped in the end, and the next one served.
    EXPECT_TRUE(program.says("Couldn't send data. Details: Connection timed out"));
    EXPECT_TRUE(program.says("Disconnected from TarvikDesk."));
    std::printf("deaf client dropped after %lld ms, two other ports answered within %lld ms\n",
                static_cast<long long>(millisecondsSince(start)), static_cast<long long>(answered));
    EXPECT_FALSE(settingsInForce().empty());
}

TEST_F(HostilePeerTest, StaysTheSameUnderManyConnects)
{
    const int connects = 100 * repetitions();
    constexpr int WARM_UP = 50;
    constexpr std::array PORTS{test::CONTROL_PORT, test::LAB_PORT, test::TELNET_PORT};
    // While every port serves a client: between two a port has none, for moments.
    const auto use = [&] {
        std::vector<std::unique_ptr<Peer>> clients;
        for (const std::uint16_t port : PORTS) {
            clients.push_back(greeted(port));
        }
        return program.use();
    };
    for (const std::uint16_t port : PORTS) {
        SCOPED_TRACE(port);
        test::ProcessUse before;
        for (int i = 0; i < connects + WARM_UP; ++i) {
            if (i == WARM_UP) {
                before = use(); // everything before has been dealt with
            }
            const auto peer = i % 4 < 2 ? program.client(port) : greeted(port);
            if (i % 2 == 0) {
                peer->reset();
            }
        }
        const auto start = std::chrono::steady_clock::now();
        static_cast<void>(greeted(port));
        const std::int64_t wait = millisecondsSince(start);
        const test::ProcessUse after = use();
        const auto growth = static_cast<std::ptrdiff_t>(after.residentKB - before.residentKB);
        const auto more = static_cast<std::ptrdiff_t>(after.descriptors - before.descriptors);
        std::printf("port %d: %d connects, memory %+td kB, descriptors %+td, next client "
                    "greeted in %lld ms\n",
                    port, connects, growth, more, static_cast<long long>(wait));
        EXPECT_EQ(more, 0);
        if (OWN_MEMORY_ONLY) {
            EXPECT_LT(growth, 1 << 10);
        }
    }
}

} // namespace
} // namespace tarvik
