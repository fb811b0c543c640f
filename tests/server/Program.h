#pragma once

#include "Peer.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace tarvik::test {

inline constexpr std::uint16_t CONTROL_PORT = 7453;
inline constexpr std::uint16_t LAB_PORT = 7454;
inline constexpr std::uint16_t TELNET_PORT = 9999;

/// The program itself, on a loopback address of its own, so that its fixed ports are free.
class Program
{
public:
    /// Arguments of its own take the place of the usual ones. The launcher is a command that runs
    /// the command behind it, as env does.
    explicit Program(std::vector<std::string> arguments = {},
                     const std::vector<std::string>& launcher = {})
        : _address("127." + std::to_string(1 + ::getpid() / 62500 % 200) + "." +
                   std::to_string(1 + ::getpid() / 250 % 250) + "." +
                   std::to_string(1 + ::getpid() % 250))
    {
        addUnlessThere(arguments, "--bind", _address);
        addUnlessThere(arguments, "--directory", _folder.path().string());
        arguments.insert(arguments.begin(), TARVIK_SERVER);
        arguments.insert(arguments.begin(), launcher.begin(), launcher.end());
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        const std::string output = _folder / "output";
        posix_spawn_file_actions_t actions{};
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                           O_WRONLY | O_CREAT | O_APPEND, 0600);
        ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        EXPECT_EQ(::posix_spawnp(&_pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
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

    [[nodiscard]] std::unique_ptr<Peer> client(std::uint16_t port, int receiveBuffer = 0) const
    {
        return std::make_unique<Peer>(port, _address.c_str(), receiveBuffer);
    }

    [[nodiscard]] const std::string& address() const { return _address; }

    [[nodiscard]] pid_t pid() const { return _pid; }

    [[nodiscard]] std::string configPath() const { return _folder / "config.xml"; }

    /// Bytes of memory that are its own and resident.
    [[nodiscard]] std::int64_t memory() const
    {
        std::istringstream line(readFile("/proc/" + std::to_string(_pid) + "/statm"));
        std::int64_t total = 0;
        std::int64_t resident = 0;
        std::int64_t shared = 0;
        line >> total >> resident >> shared;
        return (resident - shared) * ::sysconf(_SC_PAGESIZE);
    }

    /// The most that was ever resident, in bytes.
    [[nodiscard]] std::int64_t peakMemory() const
    {
        std::istringstream lines(readFile("/proc/" + std::to_string(_pid) + "/status"));
        std::int64_t kilobytes = 0;
        for (std::string word; lines >> word;) {
            if (word == "VmHWM:") {
                lines >> kilobytes;
            }
        }
        return kilobytes * 1024;
    }

    [[nodiscard]] std::int64_t openFiles() const
    {
        const auto files =
            std::filesystem::directory_iterator("/proc/" + std::to_string(_pid) + "/fd");
        return std::distance(files, {});
    }

    /// Standard output and standard error.
    [[nodiscard]] std::string output() const { return readFile(_folder / "output"); }

    [[nodiscard]] bool says(const std::string& line) const
    {
        return eventually([&] { return output().find(line) != std::string::npos; });
    }

    /// Exit status; -1 when it was killed or does not end.
    [[nodiscard]] int exitStatus()
    {
        int status = 0;
        if (!eventually([&] { return ::waitpid(_pid, &status, WNOHANG) == _pid; })) {
            return -1;
        }
        _status = status;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    static void addUnlessThere(std::vector<std::string>& arguments, const std::string& option,
                               const std::string& value)
    {
        if (std::find(arguments.begin(), arguments.end(), option) == arguments.end()) {
            arguments.insert(arguments.end(), {option, value});
        }
    }

    TemporaryFolder _folder;
    std::string _address;
    pid_t _pid = -1;
    std::optional<int> _status;
};

} // namespace tarvik::test
