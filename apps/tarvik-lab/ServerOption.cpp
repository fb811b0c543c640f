#include "ServerOption.h"

#include <CLI/CLI.hpp>

namespace tarvik::lab {

void ServerOption::addTo(CLI::App& command, std::uint16_t defaultPort)
{
    port = defaultPort;
    command.add_option("--host", host, "Name or IPv4 address of the camera")->capture_default_str();
    command.add_option("--port", port, "Its TCP port")->capture_default_str();
}

} // namespace tarvik::lab
