#include "Commands.h"
#include "ExitCode.h"
#include "ServerOption.h"
#include "client/ControlClient.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

namespace tarvik::lab {

namespace {

constexpr std::chrono::seconds PATIENCE{15};

} // namespace

void addShutdownCommand(CLI::App& app, int& exitCode)
{
    auto server = std::make_shared<ServerOption>();
    CLI::App* const command =
        app.add_subcommand("shutdown", "Stop the camera's server; it saves its configuration");
    server->addTo(*command, client::ControlClient::PORT);
    command->callback([server, &exitCode] {
        client::ControlClient camera(server->host, server->port);
        camera.connect();
        camera.shutdown();
        if (!camera.waitUntilLost(PATIENCE)) {
            throw Exception("The server still runs; its log may tell why: tarvik-lab log");
        }
        std::cout << "stopped\n";
        exitCode = DONE;
    });
}

} // namespace tarvik::lab
