#include "Commands.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "ServerOption.h"
#include "client/ControlClient.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <memory>
#include <tuple>
#include <vector>

namespace tarvik::lab {

using client::ControlClient;
using logging::LogEntry;

namespace {

constexpr const char* LOG_FOOTER = R"(
Examples:
  tarvik-lab log            what has happened
  tarvik-lab log --follow   and what happens, until Ctrl-C)";

constexpr int TICK_MS = 100;

struct NamedEntry
{
    std::string log;
    LogEntry entry;
};

auto timeOf(const NamedEntry& named)
{
    const sys::DateTime& t = named.entry.time;
    return std::tuple(t.year, t.month, t.day, t.hours, t.minutes, t.seconds, t.milliseconds);
}

/// A control character of a foreign text must not reach the terminal.
std::string printableText(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
    return text;
}

void printEntry(const NamedEntry& named)
{
    const sys::DateTime& t = named.entry.time;
    std::array<char, 96> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%04d-%02d-%02d %02d:%02d:%02d.%03d %-7s ", t.year,
                  t.month, t.day, t.hours, t.minutes, t.seconds, t.milliseconds,
                  logging::levelName(named.entry.priority));
    std::cout << stamp.data() << printableText(named.log) << ": "
              << printableText(named.entry.message) << std::endl;
}

void printAll(const logging::LogManagerSnapshot& logs)
{
    std::vector<NamedEntry> all;
    for (const auto& log : logs.logs) {
        for (const LogEntry& entry : log.entries) {
            all.push_back({log.name, entry});
        }
    }
    std::ranges::stable_sort(all, {}, timeOf);
    std::ranges::for_each(all, printEntry);
}

void showLog(const ServerOption& server, bool follow)
{
    const Interrupt interrupt;
    ControlClient camera(server.host, server.port);
    // What is logged while the past is being printed waits for its turn.
    concurrent::Mutex printing;
    camera.onLog([&printing](const ControlClient::LogUpdate& update) {
        const concurrent::MutexLock lock(printing);
        printEntry({update->logName, update->entry});
    });
    camera.connect();
    {
        const concurrent::MutexLock lock(printing);
        printAll(camera.setLogStreaming(follow));
    }
    while (follow && !interrupt.wait(TICK_MS)) {
        if (!camera.connected()) {
            throw Exception("The server has ended the connection.");
        }
    }
    camera.disconnect();
}

} // namespace

void addLogCommand(CLI::App& app, int& exitCode)
{
    auto server = std::make_shared<ServerOption>();
    auto follow = std::make_shared<bool>(false);
    CLI::App* const command = app.add_subcommand("log", "Show the camera's log");
    command->footer(LOG_FOOTER);
    server->addTo(*command, ControlClient::PORT);
    command->add_flag("--follow", *follow, "Go on with new entries");
    command->callback([server, follow, &exitCode] {
        showLog(*server, *follow);
        exitCode = DONE;
    });
}

} // namespace tarvik::lab
