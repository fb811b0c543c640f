#pragma once

namespace CLI {
class App;
}

/// One function for each subcommand: declares it, and stores what it returns when it was chosen.
namespace tarvik::lab {

void addRunCommand(CLI::App& app, int& exitCode);
void addWatchCommand(CLI::App& app, int& exitCode);
void addTeachCommand(CLI::App& app, int& exitCode);
void addConfigCommand(CLI::App& app, int& exitCode);
void addLogCommand(CLI::App& app, int& exitCode);
void addShutdownCommand(CLI::App& app, int& exitCode);

} // namespace tarvik::lab
