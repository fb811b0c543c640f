#pragma once

#include "server/ServerOptions.h"
#include "support/TemporaryFolder.h"

namespace tarvik::test {

/// For a server on free ports of the loopback, telnet's apart, which the configuration has.
inline com::server::ServerOptions onFreePorts(const TemporaryFolder& folder)
{
    com::server::ServerOptions options;
    options.directory = folder.path().string();
    options.bindAddress = "127.0.0.1";
    options.controlPort = 0;
    options.labPort = 0;
    options.udpPort = 0;
    return options;
}

} // namespace tarvik::test
