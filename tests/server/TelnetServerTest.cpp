#include "server/TelnetServer.h"

#include "LogRecorder.h"
#include "Peer.h"
#include "Results.h"
#include "database/Database.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>

namespace tarvik::com::server {
namespace {

using test::matching;
using test::Peer;

constexpr const char* UNKNOWN = "0 ERROR: parse error, or command unknown.";

class TelnetServerTest : public testing::Test
{
protected:
    TelnetServerTest()
    {
        configure({.port = 0, .timeout = 0});
        _telnet.start();
    }

    void configure(const TelnetConfig& config) { _telnet.setConfig(config); }

    [[nodiscard]] std::uint16_t port()
    {
        EXPECT_TRUE(test::eventually([this] { return _telnet.localPort() != 0; }));
        return _telnet.localPort();
    }

    /// A client that has been greeted.
    [[nodiscard]] std::unique_ptr<Peer> client(int receiveBuffer = 0)
    {
        auto result = std::make_unique<Peer>(port(), "127.0.0.1", receiveBuffer);
        EXPECT_EQ(result->receiveLine(), "20 no authentication required.");
        return result;
    }

    [[nodiscard]] std::string answerTo(Peer& peer, std::string_view line)
    {
        peer.send(std::string(line) + "\r\n");
        return peer.receiveLine();
    }

    void publish(std::initializer_list<database::Matching> list)
    {
        _results.publish(test::matchings(list));
    }

    void TearDown() override
    {
        auto stopped = test::inBackground([this] { _telnet.stop(); });
        ASSERT_TRUE(test::endsInTime(stopped));
    }

    test::LogRecorder _log;
    test::Results _results;
    database::Database _database;
    ConnectionTester _tester{5};
    std::string _address = "127.0.0.1";
    std::atomic<bool> _serverRunning{true};
    TelnetServer _telnet{
        {_results, _database, _tester, _address, [this] { return _serverRunning.load(); }}};
};

TEST_F(TelnetServerTest, AnswersCommandsToTheLetter)
{
    database::Template taught;
    taught.id = 7;
    taught.height = fp<32, 15>(65536);
    taught.gripRotation = fp<32, 15>(51472);
    ASSERT_TRUE(_database.addTemplate(taught));

    struct CommandCase
    {
        const char* line;
        const char* answer;
    };

    const CommandCase cases[] = {
        {"VERSION", "Tarvik 1.7.0 Build 20111227 - Festo compatibility string: \"Version: 3.5\""},
        {"VERSION ", UNKNOWN},
        {"version", UNKNOWN},
        {"", UNKNOWN},
        {"IMAGE", "1 OK: operation successful."},
        {"RDO RPD", UNKNOWN},
        {"RV Hello", "HELLO"},
        {"RVxHello", "HELLO"},
        {"RVHello", UNKNOWN},
        {"RV", UNKNOWN},
        {"RV Objects", "3"},
        {"RV O1", "7, 90.00, 2.00, (1.00, -0.50, 0, 180.00, 0, 0)"},
        {"RV O2", "-1, 0.00, 0.00, (0.00, 0.00, 0, 0.00, 0, 0)"},
        {"RV O3", "8, 0.00, 0.00, (0.00, 0.00, 0, 0.00, 0, 0)"}, // template 8 is not there
        {"RV O4", "-1, 0.0, 0.0, (0, 0, 0, 0, 0, 0)"},
        {"RV O0", "-1, 0.0, 0.0, (0, 0, 0, 0, 0, 0)"},
        {"RV %s%n", UNKNOWN},
    };
    const auto peer = client();
    for (const CommandCase& c : cases) {
        SCOPED_TRACE(c.line);
        publish({matching(7, 1 << 21, -(1 << 20), 102944), matching(-1), matching(8)});
        EXPECT_EQ(answerTo(*peer, c.line), c.answer);
    }
    _serverRunning = false;
    EXPECT_EQ(answerTo(*peer, "IMAGE"), "-10 ERROR: camera not ready.");
}

TEST_F(TelnetServerTest, LogsWhatItWasAskedAndAnswered)
{
    const auto peer = client();
    publish({});
    static_cast<void>(answerTo(*peer, "RV O4"));
    publish({});
    static_cast<void>(answerTo(*peer, "RV Nonsense"));
    static_cast<void>(answerTo(*peer, "nonsense"));
    peer->close();
    ASSERT_TRUE(_log.saw("Telnet (INFO): Telnet server disconnected."));
    const std::vector<std::string> expected = {
        "Telnet (FINE): Telnet server waiting for connection...",
        "Telnet (INFO): Telnet server connected.",
        "Telnet (FINE): Request: 'RV O4'",
        "Telnet (WARNING): Invalid object index: '3'",
        "Telnet (FINE): Response: '-1, 0.0, 0.0, (0, 0, 0, 0, 0, 0)'",
        "Telnet (FINE): Request: 'RV Nonsense'",
        "Telnet (WARNING): Invalid value: 'Nonsense'",
        "Telnet (FINE): Request: 'nonsense'",
        "Telnet (FATAL): Unknown request.",
        "Telnet (INFO): Telnet server disconnected.",
    };
    std::vector<std::string> lines = _log.lines("Telnet");
    lines.resize(expected.size()); // it may wait for the next client by now
    EXPECT_EQ(lines, expected);
}

TEST_F(TelnetServerTest, TakesCommandsHoweverTheyArrive)
{
    const auto peer = client();
    const std::string endless(1 << 20, 'x');
    for (const std::string& packet : {std::string("IMAGE\r\nfoo\nIM"), std::string("AGE\r"),
                                      "\n" + endless + "\r\nIMAGE\r\n"}) {
        peer->send(packet);
    }
    const char* const fine = "1 OK: operation successful.";
    for (const char* const expected : {fine, UNKNOWN, fine, UNKNOWN, fine}) {
        EXPECT_EQ(peer->receiveLine(), expected);
    }
}

TEST_F(TelnetServerTest, AnswersEachResultRequestWithANewerFrame)
{
    const auto peer = client();
    publish({matching(1)});
    publish({matching(1), matching(2)});
    EXPECT_EQ(answerTo(*peer, "RV Objects"), "2") << "the latest, not the first";

    peer->send("RV Objects\r\n");
    ASSERT_TRUE(_log.saw("Telnet (FINE): Request: 'RV Objects'", 2));
    EXPECT_FALSE(peer->hasInput());
    publish({});
    EXPECT_EQ(peer->receiveLine(), "0");
}

TEST_F(TelnetServerTest, SendsTheBinaryRecord)
{
    const auto peer = client();
    publish({matching(3, 1 << 21)});
    peer->send("RDO \"RPD\"\r\n");
    const auto answer = peer->receive(72);
    EXPECT_EQ(test::toHex(std::span(answer).first(16)),
              "52 44 4F 52 50 44 01 00 3A 00 00 00 01 00 00 00");
    EXPECT_EQ(test::toHex(std::span(answer).subspan(30, 8)), "00 00 00 00 00 00 F0 3F");
    EXPECT_EQ(test::toHex(std::span(answer).last(2)), "0D 0A");
}

TEST_F(TelnetServerTest, TakesTheNextClientHoweverTheLastOneLeft)
{
    struct LeavingCase
    {
        const char* what;
        void (*leave)(Peer&);
    };

    constexpr LeavingCase cases[] = {
        {"EXIT", [](Peer& p) { p.send("EXIT\r\n"); }},
        {"quit", [](Peer& p) { p.send("quit\r\n"); }},
        {"closed", [](Peer& p) { p.close(); }},
        {"reset", [](Peer& p) { p.reset(); }},
        {"closed in the middle of a line",
         [](Peer& p) {
             p.send("VERS");
             p.close();
         }},
        {"closed while waiting for a result",
         [](Peer& p) {
             p.send("RV O1\r\n");
             p.close();
         }},
        {"reset while waiting for a result",
         [](Peer& p) {
             p.send("RDO \"RPD\"\r\nIMAGE\r\n");
             p.reset();
         }},
    };
    for (const LeavingCase& c : cases) {
        SCOPED_TRACE(c.what);
        const auto leaving = client();
        c.leave(*leaving);
        const auto next = client();
        EXPECT_EQ(answerTo(*next, "IMAGE"), "1 OK: operation successful.")
            << "nothing of the last client is left";
    }
    for (const std::string& line : _log.lines("Telnet")) {
        EXPECT_EQ(line.find("WARNING"), std::string::npos) << line;
    }
}

TEST_F(TelnetServerTest, SendsASilentClientAway)
{
    configure({.port = 0, .timeout = 1});
    static_cast<void>(client()->hungUp()); // may have been accepted before the time-out was set
    const auto waiting = client();
    waiting->send("RV O1\r\n"); // waits for a result, which counts as silence
    EXPECT_TRUE(waiting->hungUp());
    EXPECT_TRUE(_log.saw("Telnet (INFO): Connection timed out."));
    const auto next = client();
    EXPECT_EQ(answerTo(*next, "IMAGE"), "1 OK: operation successful.");
}

TEST_F(TelnetServerTest, StopsWhateverItsClientDoes)
{
    // Each TearDown() stops with the client in one state; here, the worst of them: a client that
    // asks and asks and never reads, so that the server waits for room to send.
    const auto deaf = client(1);
    std::string questions;
    for (int i = 0; i < 20000; ++i) {
        questions += "VERSION\r\n";
    }
    auto asking = test::inBackground([&] {
        try {
            deaf->send(questions);
        } catch (const std::runtime_error&) {
            // hung up on
        }
    });
    ASSERT_TRUE(_log.saw("Telnet (FINE): Request: 'VERSION'", 20));
    _telnet.stop();
    EXPECT_TRUE(test::endsInTime(asking));
}

} // namespace
} // namespace tarvik::com::server
