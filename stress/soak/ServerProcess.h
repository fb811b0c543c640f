#pragma once

#include "server/ServerProcess.h"

#include <cstdint>
#include <string>

namespace tarvik::soak {

/// The shipped program as a process of its own with the simulated camera.
///
/// It can set no clock: the right to is taken from it. A library between it and the system
/// (WallClock.cpp) can keep a wall clock of its own, which its clients may set as they like.
class ServerProcess : public test::ServerProcess
{
public:
    struct Start
    {
        std::string program;
        std::string wallClock;      ///< that library; empty for none
        std::string address;        ///< of the loopback
        std::uint16_t datagramPort; ///< where results are to be sent to
    };

    /// Throws std::runtime_error. It ends with the calling thread.
    explicit ServerProcess(const Start& start);
    ~ServerProcess();

    /// What each of its descriptors is, one a line.
    [[nodiscard]] std::string descriptors() const;

    /// Writes a line to the pipe of the camera's faults.
    void injectFault(const std::string& line) const;

private:
    int _faults = -1;
};

} // namespace tarvik::soak
