#pragma once

namespace CLI {
class App;
}

/// One function for each subcommand: declares it, and stores what it returns when it was chosen.
namespace tarvik::lab {

void addTeachCommand(CLI::App& app, int& exitCode);

} // namespace tarvik::lab
