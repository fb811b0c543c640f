#pragma once

#include <sys/time.h>

#include <cstdint>
#include <functional>
#include <string>

namespace tarvik::com::server {

/// What the start of the program decides, as opposed to config.xml.
struct ServerOptions
{
    /// Where config.xml lives.
    std::string directory = ".";
    /// Local IPv4 address of the three TCP ports; empty for all of them.
    std::string bindAddress;
    /// 0 for any free port, for tests; so is a telnet port of 0 in config.xml.
    std::uint16_t controlPort = 7453;
    std::uint16_t labPort = 7454;
    std::uint16_t udpPort = 7756;
    /// Sets the system's clock; 0 or an error number.
    std::function<int(const timeval&)> setClock = setSystemClock;

    static int setSystemClock(const timeval& time);

    [[nodiscard]] std::string configPath() const { return directory + "/config.xml"; }

    /// As sockets want it.
    [[nodiscard]] const char* address() const
    {
        return bindAddress.empty() ? nullptr : bindAddress.c_str();
    }
};

} // namespace tarvik::com::server
