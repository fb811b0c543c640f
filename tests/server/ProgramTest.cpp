#include "Peer.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace tarvik {
namespace {

using test::Peer;

constexpr std::uint16_t CONTROL = 7453;
constexpr std::uint16_t LAB = 7454;
constexpr std::uint16_t TELNET = 9999;

/// The program itself, on a loopback address of its own, so that its fixed ports are free.
class Program
{
public:
    explicit Program(std::vector<std::string> arguments = {})
        : _address("127." + std::to_string(1 + ::getpid() / 62500 % 200) + "." +
                   std::to_string(1 + ::getpid() / 250 % 250) + "." +
                   std::to_string(1 + ::getpid() % 250))
    {
        arguments.insert(arguments.begin(), {TARVIK_SERVER, "--bind", _address, "--directory",
                                             _folder.path().string()});
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions{};
        ::posix_spawn_file_actions_init(&actions);
        const std::string output = _folder / "output";
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                           O_WRONLY | O_CREAT | O_APPEND, 0600);
        EXPECT_EQ(::posix_spawn(&_pid, TARVIK_SERVER, &actions, nullptr, argv.data(), environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    ~Program()
    {
        if (!_status) {
            ::kill(_pid, SIGKILL);
            ::waitpid(_pid, nullptr, 0);
        }
    }

    void signal(int number) const { ::kill(_pid, number); }

    [[nodiscard]] std::unique_ptr<Peer> client(std::uint16_t port) const
    {
        return std::make_unique<Peer>(port, _address.c_str());
    }

    [[nodiscard]] std::string output() const { return test::readFile(_folder / "output"); }

    [[nodiscard]] bool says(const std::string& line) const
    {
        return test::eventually([&] { return output().find(line) != std::string::npos; });
    }

    /// Exit status; -1 when it was killed or does not end.
    [[nodiscard]] int exitStatus()
    {
        int status = 0;
        if (!test::eventually([&] { return ::waitpid(_pid, &status, WNOHANG) == _pid; })) {
            return -1;
        }
        _status = status;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    test::TemporaryFolder _folder;
    std::string _address;
    pid_t _pid = -1;
    std::optional<int> _status;
};

TEST(ProgramTest, EndsInOrderOnASignalWhoeverIsConnected)
{
    struct SignalCase
    {
        const char* what;
        int signal;
        bool waitForStart;
        void (*disturb)(const Program&, std::vector<std::unique_ptr<Peer>>&);
    };

    using Peers = std::vector<std::unique_ptr<Peer>>;
    constexpr SignalCase cases[] = {
        {"while it starts", SIGTERM, false, [](const Program&, Peers&) {}},
        {"alone", SIGINT, true, [](const Program&, Peers&) {}},
        {"with everybody connected", SIGTERM, true,
         [](const Program& program, Peers& peers) {
             peers.push_back(program.client(CONTROL));
             peers.push_back(program.client(LAB));
             peers.push_back(program.client(TELNET));
             EXPECT_EQ(peers.back()->receiveLine(), "20 no authentication required.");
             static_cast<void>(peers[0]->receive(24));
             static_cast<void>(peers[1]->receive(24));
         }},
        {"with half a message sent and a command without end", SIGTERM, true,
         [](const Program& program, Peers& peers) {
             peers.push_back(program.client(CONTROL));
             peers.back()->sendHex("C3 A3 05 50 18");
             peers.push_back(program.client(TELNET));
             peers.back()->send("RV ");
         }},
    };
    for (const SignalCase& c : cases) {
        SCOPED_TRACE(c.what);
        Program program;
        Peers peers;
        if (c.waitForStart) {
            ASSERT_TRUE(program.says("Telnet server waiting for connection..."));
        } else {
            ASSERT_TRUE(program.says("Starting Tarvik Server..."));
        }
        c.disturb(program, peers);
        const auto before = std::chrono::steady_clock::now();
        program.signal(c.signal);
        EXPECT_EQ(program.exitStatus(), 0);
        std::printf("stopped %s in %lld ms\n", c.what,
                    static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                               std::chrono::steady_clock::now() - before)
                                               .count()));
        const std::string output = program.output();
        EXPECT_TRUE(output.ends_with("Camera (INFO): Camera closed.\n"
                                     "Server (FINE): Tarvik Server stopped.\n"))
            << output;
    }
}

TEST(ProgramTest, EndsOnTheClientsRequest)
{
    Program program;
    const auto desk = program.client(CONTROL);
    static_cast<void>(desk->receive(24));
    desk->sendHex("47 E8 58 C6");
    EXPECT_EQ(program.exitStatus(), 0);
    EXPECT_TRUE(desk->hungUp());
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
