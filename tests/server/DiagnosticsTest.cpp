#include "Program.h"
#include "core/sys/PortHolder.h"
#include "support/Eventually.h"
#include "support/OwnName.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tarvik {
namespace {

using test::Program;

struct ObstacleCase
{
    const char* what;
    std::vector<std::string> arguments;
    std::vector<std::string> launcher;
    const char* report;
};

/// What the process reports, and runs on with.
TEST(Diagnostics, SaysWhatIsMissingAndRunsOn)
{
    const test::TemporaryFolder crooked;
    std::filesystem::create_directory(crooked / "config.xml");
    const ObstacleCase cases[] = {
        {"no scene",
         {},
         {"env", "OCAMERA_SCENE=/nowhere/scene"},
         "OCAMERA_SCENE='/nowhere/scene' does not exist. Name a picture or a folder"},
        {"settings cannot be saved: nobody makes files there",
         {"--directory", "/proc"},
         {},
         "tarvik-server: Settings cannot be saved in '/proc'"},
        {"settings cannot be read",
         {"--directory", crooked.path().string()},
         {},
         "/config.xml' cannot be read: Is a directory"},
        {"somebody else's address",
         {"--bind", "192.0.2.1"},
         {},
         "Error while connecting to TarvikDesk: Binding socket failed. Details: Cannot assign "
         "requested address\nServer (WARNING): 192.0.2.1 is no address of this machine.\n"},
    };
    for (const ObstacleCase& c : cases) {
        SCOPED_TRACE(c.what);
        Program program(c.arguments, c.launcher);
        EXPECT_TRUE(program.says(c.report)) << program.output();
        EXPECT_TRUE(program.says("TarvikLab server started.")) << program.output();
        program.signal(SIGTERM);
        EXPECT_EQ(program.exitStatus(), 0);
    }
}

struct PortCase
{
    const char* prefix;
    std::uint16_t port;
};

constexpr PortCase PORT_CASES[] = {
    {"Server (WARNING): Error while connecting to TarvikDesk: ", test::CONTROL_PORT},
    {"TarvikLab Server (WARNING): Error while connecting to TarvikLab: ", test::LAB_PORT},
    {"Telnet (WARNING): ", test::TELNET_PORT},
};

/// Without a connection, which would take the port's place.
bool listens(const Program& program, std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_port = htons(port);
    ::inet_pton(AF_INET, program.address().c_str(), &address.sin_addr);
    return test::eventually([&] { return !sys::portHolder(IPPROTO_TCP, address).empty(); });
}

TEST(Diagnostics, NamesThePortInUseAndWhoHoldsIt)
{
    Program first;
    for (const PortCase& c : PORT_CASES) {
        ASSERT_TRUE(listens(first, c.port));
    }
    const std::string holder = test::ownName(std::to_string(first.pid()));
    Program second({"--bind", first.address()});
    const auto report = [](const PortCase& c) {
        return std::string(c.prefix) + "Binding socket failed. Details: Address already in use\n";
    };
    for (const PortCase& c : PORT_CASES) {
        EXPECT_TRUE(second.says(report(c))) << report(c) << "is missing in\n" << second.output();
        const std::string reason =
            "(WARNING): TCP port " + std::to_string(c.port) + " is held by " + holder + ".\n";
        EXPECT_TRUE(second.says(reason)) << reason << "is missing in\n" << second.output();
    }
    first.signal(SIGTERM);
    EXPECT_EQ(first.exitStatus(), 0);
    for (const PortCase& c : PORT_CASES) { // it kept trying, and said so once
        EXPECT_EQ(second.client(c.port)->receive(24).size(), 24U);
        EXPECT_EQ(second.output().find(report(c)), second.output().rfind(report(c)));
    }
    second.signal(SIGTERM);
    EXPECT_EQ(second.exitStatus(), 0);
}

/// Exit status 1 with the reason: only when nothing of it can run.
TEST(Diagnostics, ExitsWhenItCannotStartAtAll)
{
    const ObstacleCase cases[] = {
#ifndef __SANITIZE_ADDRESS__ // which needs descriptors of its own
        {"no descriptors",
         {},
         {"sh", "-c", "ulimit -n 12; exec \"$0\" \"$@\""},
         "Too many open files"},
#endif
        {"no folder", {"--directory", "/nowhere"}, {}, "Directory does not exist: /nowhere"},
    };
    for (const ObstacleCase& c : cases) {
        SCOPED_TRACE(c.what);
        Program program(c.arguments, c.launcher);
        EXPECT_GT(program.exitStatus(), 0);
        EXPECT_NE(program.output().find(c.report), std::string::npos) << program.output();
    }
}

} // namespace
} // namespace tarvik
