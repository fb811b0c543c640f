#include "Program.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace tarvik {
namespace {

using test::Peer;
using test::Program;

using Peers = std::vector<std::unique_ptr<Peer>>;

/// Connects and reads the greeting.
Peer& join(const Program& program, Peers& peers, std::uint16_t port, int receiveBuffer = 0)
{
    peers.push_back(program.client(port, receiveBuffer));
    static_cast<void>(peers.back()->receive(24));
    return *peers.back();
}

void terminate(const Program& program, Peers& /*peers*/)
{
    program.signal(SIGTERM);
}

struct StopCase
{
    const char* what;
    void (*disturb)(const Program&, Peers&);
    void (*stop)(const Program&, Peers&) = terminate;
};

constexpr StopCase STOP_CASES[] = {
    {"alone", [](const Program&, Peers&) {},
     [](const Program& program, Peers&) { program.signal(SIGINT); }},
    {"with everybody connected and silent",
     [](const Program& program, Peers& peers) {
         join(program, peers, test::CONTROL_PORT);
         join(program, peers, test::LAB_PORT);
         peers.push_back(program.client(test::TELNET_PORT));
         EXPECT_EQ(peers.back()->receiveLine(), "20 no authentication required.");
     }},
    {"with half a message sent and a command without end",
     [](const Program& program, Peers& peers) {
         join(program, peers, test::CONTROL_PORT).sendHex("C3 A3 05 50 18");
         join(program, peers, test::LAB_PORT).sendHex("3E F3 CF 58 01 00 00 80 02 E0 01 00");
         peers.push_back(program.client(test::TELNET_PORT));
         peers.back()->send("RV ");
     }},
    {"while a client does not read its images",
     [](const Program& program, Peers& peers) {
         Peer& deaf = join(program, peers, test::CONTROL_PORT, 1);
         deaf.sendHex("E0 EC 56 54 01 01 01 01");
         EXPECT_TRUE(test::eventually([&] { return deaf.hasInput(); }));
     }},
    {"on a streaming client's request",
     [](const Program& program, Peers& peers) {
         Peer& desk = join(program, peers, test::CONTROL_PORT);
         desk.sendHex("E0 EC 56 54 00 00 01 01");
         static_cast<void>(desk.receive(100));
     },
     [](const Program&, Peers& peers) { peers.back()->sendHex("47 E8 58 C6"); }},
    {"while a test client feeds it",
     [](const Program& program, Peers& peers) {
         Peer& lab = join(program, peers, test::LAB_PORT);
         lab.sendHex("E0 EC 56 54 00 00 01 01");
         for (int i = 0; i < 3; ++i) {
             lab.sendHex("3E F3 CF 58 01 00 00 80 02 E0 01");
             lab.send(std::vector<std::byte>(std::size_t{640} * 480));
         }
     }},
    {"while telnet waits for a result",
     [](const Program& program, Peers& peers) {
         // The external trigger leaves the camera without a pulse.
         Peer& desk = join(program, peers, test::CONTROL_PORT);
         desk.sendHex("F7 3C 04 0A 17 00 00 00 52 31 43 20 47 72 61 79 73 63 61 6C 65 20 28 36 34 "
                      "30 78 34 38 30 29 01 00 00 00 20 4E 00 00 03 80 FF 40 C4 40 C4 40 C4 00");
         EXPECT_TRUE(program.says("Switched to External Trigger mode"));
         peers.push_back(program.client(test::TELNET_PORT));
         peers.back()->send("RV O1\r\n");
         EXPECT_TRUE(program.says("Request: 'RV O1'"));
     }},
};

/// Ends the program as the case has it, and looks at how it went.
void checkStop(Program& program, const StopCase& c)
{
    SCOPED_TRACE(c.what);
    Peers peers;
    c.disturb(program, peers);
    const auto before = std::chrono::steady_clock::now();
    c.stop(program, peers);
    EXPECT_EQ(program.exitStatus(), 0);
    const auto duration = std::chrono::steady_clock::now() - before;
    std::printf("stopped %s in %lld ms\n", c.what,
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::milliseconds>(duration).count()));
    const std::string output = program.output();
    EXPECT_TRUE(output.ends_with("Camera (INFO): Camera closed.\n"
                                 "Server (FINE): Tarvik Server stopped.\n"))
        << output;
    for (const auto& peer : peers) {
        EXPECT_TRUE(peer->hungUp());
    }
}

TEST(ProgramTest, EndsInOrderWhateverItsClientsAreDoing)
{
    for (const StopCase& c : STOP_CASES) {
        Program program;
        ASSERT_TRUE(program.says("Telnet server waiting for connection..."));
        checkStop(program, c);
    }
}

TEST(ProgramTest, EndsInOrderWhileItStarts)
{
    Program program;
    ASSERT_TRUE(program.says("Starting Tarvik Server..."));
    checkStop(program, {"while it starts", [](const Program&, Peers&) {}});
}

TEST(ProgramTest, ExplainsItselfAndRefusesWhatItCannotUse)
{
    Program help({"--help"});
    EXPECT_EQ(help.exitStatus(), 0);
    EXPECT_NE(help.output().find("--directory"), std::string::npos);
    Program version({"--version"});
    EXPECT_EQ(version.exitStatus(), 0);
    EXPECT_EQ(version.output(), "tarvik-server 1.7.0 Build 20111227\n");
    Program wrong({"--bnid", "127.0.0.1"});
    EXPECT_GT(wrong.exitStatus(), 0);
}

} // namespace
} // namespace tarvik
