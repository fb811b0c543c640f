#pragma once

#include "stress/ProcessUse.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace tarvik::soak {

/// The shipped program as a process of its own, in a scratch folder, with the simulated camera.
///
/// It can set no clock: the right to is taken from it. A library between it and the system
/// (WallClock.cpp) can keep a wall clock of its own, which its clients may set as they like.
class ServerProcess
{
public:
    struct Start
    {
        std::filesystem::path program;
        std::filesystem::path wallClock; ///< that library; empty for none
        std::string address;             ///< of the loopback
        std::uint16_t datagramPort;      ///< where results are to be sent to
    };

    /// Throws std::runtime_error.
    explicit ServerProcess(const Start& start);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess();

    [[nodiscard]] const std::string& address() const { return _address; }

    [[nodiscard]] bool runs();
    [[nodiscard]] test::ProcessUse use() const;

    /// What each of its descriptors is, one a line.
    [[nodiscard]] std::string descriptors() const;

    /// Writes a line to the pipe of the camera's faults.
    void injectFault(const std::string& line) const;

    /// Asks it to end and returns its exit status; -1 when it was killed or does not end in time.
    [[nodiscard]] int stop(int seconds);

    /// What it has written, standard error included.
    [[nodiscard]] std::string output() const;

private:
    [[nodiscard]] std::string path(const char* name) const { return _folder / name; }

    void writeConfiguration(const Start& start) const;
    void run(const Start& start) const;

    std::filesystem::path _folder;
    std::string _address;
    int _faults = -1;
    pid_t _pid = -1;
    int _status = -1;
};

} // namespace tarvik::soak
