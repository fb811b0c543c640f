#pragma once

#include "Peer.h"
#include "ProcessUse.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace tarvik::test {

inline constexpr std::uint16_t CONTROL_PORT = 7453;
inline constexpr std::uint16_t LAB_PORT = 7454;
inline constexpr std::uint16_t TELNET_PORT = 9999;

/// The server's program in a folder of its own, killed with the object.
class ServerProcess
{
public:
    explicit ServerProcess(std::string address) : _address(std::move(address)) {}

    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    ~ServerProcess()
    {
        if (runs()) {
            ::kill(_pid, SIGKILL);
            ::waitpid(_pid, nullptr, 0);
        }
    }

    /// Arguments of its own take the place of the usual ones. The launcher is a command that runs
    /// the command behind it, as env does. Throws std::runtime_error.
    void start(const std::string& program, std::vector<std::string> arguments = {},
               const std::vector<std::string>& launcher = {})
    {
        addUnlessThere(arguments, "--bind", _address);
        addUnlessThere(arguments, "--directory", folder.path().string());
        arguments.insert(arguments.begin(), program);
        arguments.insert(arguments.begin(), launcher.begin(), launcher.end());
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        const std::string output = folder / "output";
        posix_spawn_file_actions_t actions{};
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                           O_WRONLY | O_CREAT | O_APPEND, 0600);
        ::posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        const int error = ::posix_spawnp(&_pid, argv[0], &actions, nullptr, argv.data(), environ);
        ::posix_spawn_file_actions_destroy(&actions);
        if (error != 0) {
            throw std::runtime_error(arguments[0] + " cannot be started");
        }
    }

    void signal(int number) const { ::kill(_pid, number); }

    [[nodiscard]] std::unique_ptr<Peer> client(std::uint16_t port, int receiveBuffer = 0) const
    {
        return std::make_unique<Peer>(port, _address.c_str(), receiveBuffer);
    }

    [[nodiscard]] const std::string& address() const { return _address; }

    [[nodiscard]] pid_t pid() const { return _pid; }

    [[nodiscard]] std::string configPath() const { return folder / "config.xml"; }

    [[nodiscard]] ProcessUse use() const { return ProcessUse::of(std::to_string(_pid)); }

    /// Standard output and standard error.
    [[nodiscard]] std::string output() const { return readFile(folder / "output"); }

    [[nodiscard]] bool says(const std::string& line) const
    {
        return eventually([&] { return output().find(line) != std::string::npos; });
    }

    [[nodiscard]] bool runs()
    {
        int status = 0;
        if (_pid > 0 && !_status && ::waitpid(_pid, &status, WNOHANG) == _pid) {
            _status = status;
        }
        return _pid > 0 && !_status;
    }

    /// Exit status; -1 when it was killed or does not end.
    [[nodiscard]] int exitStatus()
    {
        const bool ended = eventually([&] { return !runs(); });
        return ended && WIFEXITED(*_status) ? WEXITSTATUS(*_status) : -1;
    }

    const TemporaryFolder folder;

private:
    static void addUnlessThere(std::vector<std::string>& arguments, const std::string& option,
                               const std::string& value)
    {
        if (std::ranges::find(arguments, option) == arguments.end()) {
            arguments.insert(arguments.end(), {option, value});
        }
    }

    std::string _address;
    pid_t _pid = -1;
    std::optional<int> _status;
};

} // namespace tarvik::test
