#include "server/UDPSender.h"

#include "Results.h"
#include "chain/Events.h"
#include "database/Database.h"
#include "support/Hex.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <vector>

namespace tarvik::com::server {
namespace {

class UDPSenderTest : public testing::Test
{
protected:
    UDPSenderTest()
    {
        _receiver.open();
        _receiver.bind("127.0.0.1", 0);
        _sender.setConfig({.autoDistribute = true,
                           .destinationPort = static_cast<std::uint16_t>(_receiver.localPort()),
                           .destinationAddress = "127.0.0.1"});
        _sender.init(0);
    }

    void autoSend(const database::Matchings& matchings)
    {
        breakup::FrameProcessedEvent event;
        event.matchings = &matchings;
        _sender.autoSend(event);
    }

    [[nodiscard]] std::vector<std::byte> datagram()
    {
        std::vector<std::byte> bytes(2000);
        bytes.resize(_receiver.readSome(bytes));
        return bytes;
    }

    database::Database _database;
    UDPSender _sender{_database};
    io::net::UDPSocket _receiver;
};

TEST_F(UDPSenderTest, SendsAHeaderAndAChecksumForAnEmptyImage)
{
    autoSend({});
    // "Tarvik", 1.7.0, build 20111227 = 0x0132DF7B, 1, no objects, and what makes the sum 0xFF
    EXPECT_EQ(test::toHex(datagram()), "54 61 72 76 69 6B 01 07 00 7B DF 32 01 01 00 00 F8");
}

TEST_F(UDPSenderTest, SendsForEveryObjectWhatWasMatchedAndTaught)
{
    database::Template taught;
    taught.id = 258;
    taught.height = fp<32, 15>(32768);
    taught.gripRotation = fp<32, 15>(-16384);
    taught.gripHeight = fp<32, 15>(98304);
    ASSERT_TRUE(_database.addTemplate(taught));
    autoSend(test::matchings(
        {test::matching(258, 1 << 21, -(1 << 20), 32768), test::matching(-1, 1 << 21, 0, 32768)}));
    const auto bytes = datagram();
    ASSERT_EQ(bytes.size(), 97U);
    EXPECT_EQ(test::toHex(std::span(bytes).subspan(13, 3)), "01 02 00");
    EXPECT_EQ(test::toHex(std::span(bytes).subspan(16, 40)),
              "02 01 00 00 80 3F 00 00 00 BF 00 00 80 3F 00 00 80 3F 00 00 00 BF 00 00 40 40 "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(test::toHex(std::span(bytes).subspan(56, 40)),
              "FF FF 00 00 80 3F 00 00 00 00 00 00 80 3F 00 00 00 00 00 00 00 00 00 00 00 00 "
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    const auto add = [](unsigned sum, std::byte b) { return sum + std::to_integer<unsigned>(b); };
    EXPECT_EQ(std::accumulate(bytes.begin(), bytes.end(), 0U, add) & 0xFFU, 0xFFU);
}

TEST_F(UDPSenderTest, FitsAFullImageIntoOneDatagram)
{
    database::Matchings full;
    full.setCount(25);
    autoSend(full);
    EXPECT_EQ(datagram().size(), 1017U);
}

TEST_F(UDPSenderTest, KeepsSilentUnlessAsked)
{
    _sender.setConfig({});
    autoSend({});
    _sender.setConfig({.autoDistribute = true});
    _sender.close();
    autoSend({}); // closed: nothing either
    EXPECT_EQ(_receiver.bytesAvailable(), 0U);
}

} // namespace
} // namespace tarvik::com::server
