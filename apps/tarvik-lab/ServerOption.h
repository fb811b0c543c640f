#pragma once

#include <cstdint>
#include <string>

namespace CLI {
class App;
}

namespace tarvik::lab {

/// Where the camera is, as every command asks for it.
struct ServerOption
{
    std::string host = "127.0.0.1";
    std::uint16_t port = 0;

    /// Declares --host and --port.
    void addTo(CLI::App& command, std::uint16_t defaultPort);
};

} // namespace tarvik::lab
