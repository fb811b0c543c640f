#include "Commands.h"
#include "ExitCode.h"
#include "configuration/SettingException.h"
#include "core/logging/LogManager.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>

namespace {

constexpr const char* ABOUT =
    "Shows a Tarvik camera pictures and its results, teaches it parts and sets it up.";

constexpr const char* FOOTER = R"(
A first round, with a camera running on this machine:
  tarvik-lab watch                      what it sees, live
  tarvik-lab teach --id 1               teaches the one part under the sensor
  tarvik-lab run pictures/              what it recognises in these pictures

Every command has a help of its own: tarvik-lab run --help

Exit status: 0 done; 1 it could not be done, standard error says why;
2 the command line is wrong; 3 results differ from those expected (run --expect).)";

} // namespace

int main(int argc, char** argv)
{
    using namespace tarvik::lab;
    // The rooms below write log entries; on a command line they would be noise.
    tarvik::logging::LogManager::globalInstance().setConfig({.logToConsole = false});

    std::signal(SIGPIPE, SIG_IGN); // a peer that has gone is a failed write

    int exitCode = DONE;
    CLI::App app(ABOUT, "tarvik-lab");
    app.footer(FOOTER);
    app.require_subcommand(1);
    addRunCommand(app, exitCode);
    addWatchCommand(app, exitCode);
    addTeachCommand(app, exitCode);
    addConfigCommand(app, exitCode);
    addLogCommand(app, exitCode);
    addShutdownCommand(app, exitCode);
    try {
        app.parse(argc, argv);
        return exitCode;
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? DONE : USAGE;
    } catch (const tarvik::configuration::SettingException& e) {
        std::cerr << "tarvik-lab: " << e.what() << '\n';
        return USAGE;
    } catch (const std::exception& e) {
        std::cerr << "tarvik-lab: " << e.what() << '\n';
        return FAILED;
    }
}
