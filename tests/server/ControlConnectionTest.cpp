#include "ServerFixture.h"
#include "database/Database.h"
#include "io/com/Message.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryInputStream.h"
#include "io/stream/MemoryOutputStream.h"
#include "protocol/MessageKinds.h"

#include <gtest/gtest.h>

#include <memory>

namespace tarvik::com::server {
namespace {

using test::Peer;

/// A message as it travels.
template <class... Values>
std::vector<std::byte> message(const kinds::MessageKind& kind, const Values&... values)
{
    io::stream::MemoryOutputStream out;
    io::serialization::BinaryEncoder encoder(out);
    encoder.serialize(io::com::Message::idOf(kind.name));
    (static_cast<void>(encoder & io::serialization::field("", values)), ...);
    return {out.bytes().begin(), out.bytes().end()};
}

std::string messageHex(const kinds::MessageKind& kind)
{
    return test::toHex(message(kind));
}

class ControlConnectionTest : public test::ServerFixture
{
protected:
    /// No images come: nothing but answers is sent.
    void keepCameraQuiet()
    {
        test::writeFile(configPath(), configWith("<Camera>", "<TriggerMode>0<", "<TriggerMode>1<"));
    }

    /// The server has acted on everything that was sent before.
    static void sync(Peer& peer)
    {
        peer.send(message(kinds::GET_BREAKUP_CONFIG));
        EXPECT_EQ(peer.receiveHex(9).substr(0, 14), "9A 3C C0 E6 00");
    }

    /// The flags of the next Stream message, whose parts are skipped when there are none.
    static std::string nextStream(Peer& peer)
    {
        EXPECT_EQ(peer.receiveHex(4), messageHex(kinds::STREAM));
        return peer.receiveHex(4);
    }
};

TEST_F(ControlConnectionTest, HasTheIdsOfTheProtocol)
{
    struct IdCase
    {
        kinds::MessageKind kind;
        const char* bytes;
    };

    const IdCase cases[] = {
        {kinds::GET_ANALYZER_CONFIG, "62 57 74 32"},
        {kinds::SET_ANALYZER_CONFIG, "D6 F0 4A 69"},
        {kinds::GET_CAMERA_CONFIG, "83 D6 2D 77"},
        {kinds::SET_CAMERA_CONFIG, "F7 3C 04 0A"},
        {kinds::GET_BREAKUP_CONFIG, "9A 3C C0 E6"},
        {kinds::SET_BREAKUP_CONFIG, "A6 A4 B6 AE"},
        {kinds::GET_DATABASE, "4F E3 B1 F3"},
        {kinds::SET_DATABASE, "C3 A3 05 50"},
        {kinds::SET_DATABASE_CONFIG, "61 02 48 F7"},
        {kinds::SET_DATABASE_COMPARATOR, "CD 01 76 20"},
        {kinds::TEST_CONNECTION, "D0 48 0F 04"},
        {kinds::CONFIG_STREAMING, "E0 EC 56 54"},
        {kinds::CONFIG_LOGGING, "03 F2 44 7F"},
        {kinds::SET_SYSTEM_TIME, "42 30 62 D8"},
        {kinds::SERVER_SHUTDOWN, "47 E8 58 C6"},
        {kinds::SYNC_CONFIG, "C3 F5 41 3A"},
        {kinds::STREAM, "60 38 0D F3"},
        {kinds::LOG_UPDATE, "93 3C 52 F0"},
        {kinds::SET_CAMERA_SOURCE, "3E F3 CF 58"},
        {kinds::UNSET_CAMERA_SOURCE, "D7 27 79 78"},
        {kinds::GET_CAM_IMG_OVERRIDDEN, "22 2E F4 EE"},
    };
    for (const IdCase& c : cases) {
        EXPECT_EQ(messageHex(c.kind), c.bytes) << c.kind.name;
    }
}

TEST_F(ControlConnectionTest, AnswersRequestsAndObeysCommands)
{
    keepCameraQuiet();
    Server& server = start();
    const auto peer = desk();

    analysis::AnalyzerConfiguration analyzer;
    analyzer.allowNestedObjects = true;
    peer->send(message(kinds::SET_ANALYZER_CONFIG, analyzer));
    const auto answer = message(kinds::GET_ANALYZER_CONFIG, analyzer);
    peer->sendHex("62 57 74 32");
    EXPECT_EQ(peer->receiveHex(answer.size()), test::toHex(answer));

    peer->sendHex("A6 A4 B6 AE 01 00 00 00 01"); // SetBreakupConfig: on, 1/64
    peer->sendHex("9A 3C C0 E6");
    EXPECT_EQ(peer->receiveHex(9), "9A 3C C0 E6 01 00 00 00 01");

    peer->sendHex("42 30 62 D8 FA 00 00 00 1E 00 00 00 0F 00 00 00 0C 00 00 00 18 00 00 00 "
                  "0C 00 00 00 DB 07 00 00 00"); // SetSystemTime
    peer->sendHex("83 D6 2D 77");
    const auto camera = message(kinds::GET_CAMERA_CONFIG, server.camera().config());
    EXPECT_EQ(peer->receiveHex(camera.size()), test::toHex(camera));
    EXPECT_EQ(_clock.tv_usec, 250'000);

    _log.clear();
    peer->sendHex("C3 F5 41 3A"); // SyncConfig
    EXPECT_TRUE(_log.saw("Server (INFO): Config saved."));
    peer->sendHex("47 E8 58 C6"); // ServerShutdown
    EXPECT_TRUE(server.stopRequest().wait(20'000));
    EXPECT_TRUE(server.running()) << "stopping is the main thread's";
}

TEST_F(ControlConnectionTest, ReadsComparatorSettingsAsTheComparatorInUseHasThem)
{
    keepCameraQuiet();
    Server& server = start();
    const auto peer = desk();
    peer->sendHex("CD 01 76 20 00 00 00 20 00 01 01 01 01 00 00 00 02 00 00 00 03 00 00 00");
    database::DatabaseConfiguration config = server.database().config();
    config.setComparatorImpl(database::ComparatorFactory::instance().find("Outer contours"));
    peer->send(message(kinds::SET_DATABASE_CONFIG, config));
    peer->sendHex("CD 01 76 20 00 00 00 10"); // the common field alone
    peer->send(message(kinds::GET_DATABASE));
    EXPECT_EQ(peer->receiveHex(4), "4F E3 B1 F3");
    const auto text = peer->receiveNumber<std::int32_t>();
    EXPECT_EQ(text, 14);
    static_cast<void>(peer->receive(14 + 24 + 5 * 4 + 2 + 24));
    EXPECT_EQ(peer->receiveHex(8), "00 00 00 10 00 00 00 00") << "the maximum error, no templates";
}

TEST_F(ControlConnectionTest, KeepsTheDatabaseWhenANewOneBreaksOff)
{
    keepCameraQuiet();
    Server& server = start();
    database::Template taught;
    taught.id = 42;
    ASSERT_TRUE(server.database().addTemplate(taught));
    database::DatabaseState larger = server.database().state();
    larger.clear();
    ASSERT_TRUE(larger.addTemplate(std::make_shared<const database::Template>()));
    const std::vector<std::byte> whole = message(kinds::SET_DATABASE, larger);

    for (const std::size_t length :
         {std::size_t{5}, std::size_t{30}, whole.size() / 2, whole.size() - 1}) {
        SCOPED_TRACE(length);
        _log.clear();
        desk()->send(std::span(whole).first(length));
        ASSERT_TRUE(_log.saw("Server (FINE): Disconnected from TarvikDesk."));
        ASSERT_EQ(server.database().numTemplates(), 1);
        EXPECT_EQ(server.database().getTemplate(0)->id, 42);
    }
    const auto peer = desk();
    peer->send(whole);
    sync(*peer);
    EXPECT_EQ(server.database().getTemplate(0)->id, -1);
}

TEST_F(ControlConnectionTest, DropsAClientThatTalksNonsense)
{
    keepCameraQuiet();
    start();

    struct NonsenseCase
    {
        const char* what;
        const char* hex;
        const char* reason;
    };

    constexpr NonsenseCase cases[] = {
        {"unknown message", "01 02 03 04", "Received message not registered."},
        {"a message for clients", "60 38 0D F3", "Received message not registered."},
        {"a text without end", "D6 F0 4A 69 FF FF FF 7F",
         "Invalid text length in <PolygonExtractor>: 2147483647. Allowed: 0 to 255."},
        {"a negative length", "61 02 48 F7 FF FF FF FF",
         "Invalid text length in <ComparatorName>: -1. Allowed: 0 to 255."},
    };
    for (const NonsenseCase& c : cases) {
        SCOPED_TRACE(c.what);
        const auto peer = desk();
        peer->sendHex(c.hex);
        EXPECT_TRUE(peer->hungUp());
        EXPECT_TRUE(
            _log.saw(std::string("Server (WARNING): Lost connection to TarvikDesk. ") + c.reason));
    }
    sync(*desk());
}

TEST_F(ControlConnectionTest, NoticesAClientThatLeavesAndTakesTheNextOne)
{
    keepCameraQuiet();
    start();
    for (int i = 0; i < 3; ++i) {
        auto peer = desk();
        sync(*peer);
        if (i == 1) {
            peer->reset();
        }
    }
    sync(*desk());
    EXPECT_GE(_log.count("Server (INFO): Config saved."), 3U);
}

TEST_F(ControlConnectionTest, StreamsNewSettingsFromTheSecondNextImageOn)
{
    // External trigger would leave nothing to stream; each image is taken when it is wanted.
    Server& server = start();
    const auto peer = desk();
    EXPECT_EQ(nextStream(*peer), "00 00 00 00");
    peer->sendHex("E0 EC 56 54 00 00 00 01"); // matchings alone
    std::string flags = nextStream(*peer);
    while (flags == "00 00 00 00") {
        flags = nextStream(*peer);
    }
    EXPECT_EQ(flags, "00 00 00 01");
    EXPECT_TRUE(server.streamingSettings().matchings);
    static_cast<void>(peer->receive(8)); // elapsed time
    const auto count = peer->receiveNumber<std::int16_t>();
    ASSERT_TRUE(count >= 0 && count <= 25);
    static_cast<void>(peer->receive(static_cast<std::size_t>(count) * 20));
    EXPECT_EQ(nextStream(*peer), "00 00 00 01") << "and so on";
    peer->close();
    EXPECT_TRUE(test::eventually([&] { return !server.connected(); }));
    EXPECT_TRUE(test::eventually([&] { return !server.streamingSettings().matchings; }));
    EXPECT_EQ(nextStream(*desk()), "00 00 00 00") << "nothing is left for the next one";
}

TEST_F(ControlConnectionTest, StreamSettingsWaitForTheImageInProgress)
{
    keepCameraQuiet();
    Server& server = start();
    const auto peer = desk();
    const image::Image image(4, 2);
    const auto frame = std::make_unique<analysis::Frame>(); // large
    const database::Matchings matchings;
    breakup::FrameProcessedEvent event{nullptr, &image, &image, frame.get(), &matchings, -1};

    peer->sendHex("E0 EC 56 54 01 00 00 00");
    sync(*peer);
    server.onEvent(event);
    EXPECT_EQ(nextStream(*peer), "00 00 00 00") << "the old flags once more";
    server.onEvent(event);
    EXPECT_EQ(nextStream(*peer), "01 00 00 00");
    EXPECT_EQ(peer->receiveHex(15), "01 00 00 04 00 02 00 00 00 00 00 00 00 00 00");
}

TEST_F(ControlConnectionTest, StreamsLogEntriesOnRequest)
{
    keepCameraQuiet();
    Server& server = start();
    const auto peer = desk();
    peer->sendHex("03 F2 44 7F 01");
    EXPECT_EQ(peer->receiveHex(5), "03 F2 44 7F 00"); // the recorder keeps logs off the console
    const auto logs = peer->receiveNumber<std::int32_t>();
    EXPECT_EQ(logs, logging::LogManager::globalInstance().logCount());
    EXPECT_EQ(peer->receiveHex(14), "06 00 00 00 53 65 72 76 65 72 00 00 00 00");
    // The rest of the answer is of no interest: the entry that comes after it is.
    server.setSysTime({});
    std::string bytes;
    const std::string wanted = "93 3C 52 F0 06 00 00 00 53 65 72 76 65 72 00 00 00 00";
    while (!bytes.ends_with(wanted)) {
        bytes += (bytes.empty() ? "" : " ") + peer->receiveHex(1); // throws after the deadline
    }
}

TEST_F(ControlConnectionTest, IsNotHeldUpByAClientThatNeverReads)
{
    Server& server = start();
    const auto deaf = desk(1);
    deaf->sendHex("03 F2 44 7F 01"); // logs
    deaf->sendHex("E0 EC 56 54 01 01 01 01");
    ASSERT_TRUE(_log.saw("Server (FINE): Disconnected from TarvikDesk."));
    EXPECT_EQ(_log.count("Server (WARNING): Error sending data. Couldn't send data. Details: "
                         "Connection timed out") +
                  _log.count("Server (WARNING): Lost connection to TarvikDesk. Couldn't send "
                             "data. Details: Connection timed out"),
              1U);
    EXPECT_FALSE(server.streamingSettings().originalImage);
    EXPECT_EQ(nextStream(*desk()), "00 00 00 00");
}

} // namespace
} // namespace tarvik::com::server
