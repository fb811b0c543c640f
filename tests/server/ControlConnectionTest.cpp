#include "ServerFixture.h"

#include <gtest/gtest.h>

#include <memory>

namespace tarvik::com::server {
namespace {

using test::Peer;

class ControlConnectionTest : public test::ServerFixture
{
protected:
    /// The server has acted on everything that was sent before.
    static void sync(Peer& peer)
    {
        peer.sendHex("9A 3C C0 E6"); // GetBreakupConfig
        EXPECT_EQ(peer.receiveHex(9).substr(0, 14), "9A 3C C0 E6 00");
    }
};

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

TEST_F(ControlConnectionTest, StreamSettingsWaitForTheImageInProgressAndGoWithTheirClient)
{
    keepCameraQuiet();
    Server& server = start();
    auto peer = desk();
    const image::Image image(4, 2);
    const auto frame = std::make_unique<analysis::Frame>(); // large
    const database::Matchings matchings;
    breakup::FrameProcessedEvent event{nullptr, &image, &image, frame.get(), &matchings, -1};

    peer->sendHex("E0 EC 56 54 01 00 00 00");
    sync(*peer);
    server.onEvent(event);
    EXPECT_EQ(peer->receiveHex(8), "60 38 0D F3 00 00 00 00") << "the old flags once more";
    server.onEvent(event);
    EXPECT_EQ(peer->receiveHex(8), "60 38 0D F3 01 00 00 00");
    EXPECT_EQ(peer->receiveHex(15), "01 00 00 04 00 02 00 00 00 00 00 00 00 00 00");
    peer->close();
    EXPECT_TRUE(test::eventually([&] { return !server.connected(); }));
    peer = desk();
    server.onEvent(event);
    server.onEvent(event);
    EXPECT_EQ(peer->receiveHex(16), "60 38 0D F3 00 00 00 00 60 38 0D F3 00 00 00 00");
}

} // namespace
} // namespace tarvik::com::server
