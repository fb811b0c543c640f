#include "ServerFixture.h"
#include "image/Image.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace tarvik::com::server {
namespace {

using test::Peer;

class TarvikLabServerTest : public test::ServerFixture
{
protected:
    /// The id of the next message that is not a sign of life.
    static std::string nextId(Peer& peer)
    {
        std::string id = peer.receiveHex(4);
        while (id == "D0 48 0F 04") {
            id = peer.receiveHex(4);
        }
        return id;
    }

    static void event(Server& server, std::int8_t sourceId)
    {
        const image::Image picture;
        const auto frame = std::make_unique<analysis::Frame>(); // large
        const database::Matchings matchings;
        breakup::FrameProcessedEvent event{nullptr,     &picture,   &picture,
                                           frame.get(), &matchings, sourceId};
        server.lab().onEvent(event);
    }

    /// A message that is answered, so that everything before it has been dealt with.
    static bool overridden(Peer& peer)
    {
        peer.sendHex("22 2E F4 EE");
        EXPECT_EQ(nextId(peer), "22 2E F4 EE");
        return peer.receive(1).front() != std::byte{0};
    }
};

TEST_F(TarvikLabServerTest, SendsTheFirstResultOfTheLastImageOnly)
{
    keepCameraQuiet();
    Server& server = start();
    const auto peer = lab();

    struct ResultCase
    {
        const char* what;
        std::int8_t awaited;
        std::vector<std::int8_t> frames;
        int streams;
    };

    const ResultCase cases[] = {
        {"nothing awaited", -1, {-1, 0, 1}, 0},
        {"of the sensor, of an earlier image, its own, and once more", 1, {-1, 0, 1, 1}, 1},
        {"ids start over", 0, {63, 0}, 1},
    };
    for (const ResultCase& c : cases) {
        SCOPED_TRACE(c.what);
        server.lab().setId(c.awaited);
        for (const std::int8_t id : c.frames) {
            event(server, id);
        }
        for (int i = 0; i < c.streams; ++i) {
            EXPECT_EQ(nextId(*peer), "60 38 0D F3");
            EXPECT_EQ(peer->receiveHex(4), "00 00 00 00");
        }
        EXPECT_FALSE(overridden(*peer)) << "this answer comes next";
    }
}

TEST_F(TarvikLabServerTest, ForgetsTheAwaitedImageWithItsClient)
{
    keepCameraQuiet();
    Server& server = start();
    auto first = lab();
    first->sendHex("E0 EC 56 54 01 01 01 01");
    static_cast<void>(overridden(*first));
    server.lab().setId(5);
    first->close();
    ASSERT_TRUE(_log.saw("TarvikLab Server (INFO): Disconnected from TarvikLab."));
    EXPECT_TRUE(_log.saw("TarvikLab Server (WARNING): Lost connection to TarvikLab. Couldn't read "
                         "data. Details: Connection reset by peer"));
    const auto second = lab();
    event(server, 5);
    server.lab().setId(6);
    event(server, 6);
    EXPECT_EQ(nextId(*second), "60 38 0D F3");
    EXPECT_EQ(second->receiveHex(4), "00 00 00 00") << "nor does it inherit settings";
    EXPECT_FALSE(overridden(*second));
}

TEST_F(TarvikLabServerTest, SendsSignsOfLifeAndLogEntries)
{
    keepCameraQuiet();
    Server& server = start();
    const auto peer = lab();
    ConnectionTester::Tick tick;
    server.lab().onEvent(tick);
    EXPECT_EQ(peer->receiveHex(4), "D0 48 0F 04");
    server.lab().setStreamLog(true);
    server.setSysTime({});
    EXPECT_EQ(nextId(*peer), "93 3C 52 F0");
    EXPECT_EQ(peer->receiveHex(14), "06 00 00 00 53 65 72 76 65 72 00 00 00 00");
}

TEST_F(TarvikLabServerTest, RefusesAPictureThatIsTooLarge)
{
    start();
    const auto peer = lab();
    peer->sendHex("3E F3 CF 58 03 01 01 FF FF FF FF"); // 3 x 65535 x 65535
    EXPECT_TRUE(peer->hungUp());
    EXPECT_TRUE(_log.saw("TarvikLab Server (WARNING): Lost connection to TarvikLab. Invalid count "
                         "in <Image size in bytes>: 12884508675. Allowed: 0 to 12582912."));
    EXPECT_FALSE(overridden(*lab()));
}

} // namespace
} // namespace tarvik::com::server
