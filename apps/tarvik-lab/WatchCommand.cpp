#include "Commands.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "ResultQueue.h"
#include "ResultTable.h"
#include "ServerOption.h"
#include "Terminal.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

namespace tarvik::lab {

using client::ControlClient;
using Clock = std::chrono::steady_clock;

namespace {

constexpr const char* WATCH_FOOTER = R"(
On a terminal a table that refreshes, else one line per image.

Examples:
  tarvik-lab watch                          until Ctrl-C
  tarvik-lab watch --once                   what lies there now
  tarvik-lab watch --frames 100 > log.txt   a hundred images as lines)";

constexpr std::chrono::milliseconds TICK{100};
constexpr std::chrono::milliseconds REFRESH{66};
constexpr std::chrono::seconds FIRST_IMAGE{10};

struct WatchOptions
{
    ServerOption server;
    bool once = false;
    long frames = 0; ///< 0: until interrupted
    std::string note;
};

/// Images per second, smoothed over about a second.
class Rate
{
public:
    void count(Clock::time_point now)
    {
        if (_last != Clock::time_point()) {
            const double seconds = std::chrono::duration<double>(now - _last).count();
            const double weight = std::min(1.0, seconds);
            _interval = _interval == 0 ? seconds : _interval + weight * (seconds - _interval);
        }
        _last = now;
    }

    [[nodiscard]] double perSecond() const { return _interval > 0 ? 1 / _interval : 0; }

private:
    Clock::time_point _last;
    double _interval = 0;
};

std::string describe(const ControlClient& camera, const ServerOption& server)
{
    const auto& greeting = camera.greeting();
    return "Tarvik " + std::to_string(greeting.major) + "." + std::to_string(greeting.minor) + "." +
           std::to_string(greeting.patch) + " at " + server.host + ":" +
           std::to_string(server.port) + ", " + std::to_string(greeting.width) + " x " +
           std::to_string(greeting.height) + " pixels";
}

/// Shows results until there have been enough.
class Watch
{
public:
    explicit Watch(const WatchOptions& options)
        : _options(options),
          _camera(options.server.host, options.server.port),
          _limit(options.once ? 1 : options.frames)
    {}

    void operator()()
    {
        _results.listenTo(_camera);
        _camera.connect();
        _head.camera = describe(_camera, _options.server);
        _camera.setStreaming({.frame = true, .matchings = true});
        if (!_options.once && isTerminal(STDOUT_FILENO)) {
            _page = std::make_unique<Page>();
            _head.live = true;
            _head.note = _options.note;
        }
        const Clock::time_point start = Clock::now();
        while (!_interrupt.requested() && (_limit == 0 || _head.images < _limit)) {
            if (const auto result = _results.take(TICK)) {
                show(*result);
            } else if (_limit > 0 && _head.images == 0 && Clock::now() - start > FIRST_IMAGE) {
                throw Exception("The camera takes no images. Is it waiting for an external "
                                "trigger? Ask it: tarvik-lab config get camera.TriggerMode");
            }
        }
    }

private:
    void show(const com::StreamContents& result)
    {
        const Clock::time_point now = Clock::now();
        ++_head.images;
        _rate.count(now);
        if (_page == nullptr) {
            if (_options.once && isTerminal(STDOUT_FILENO)) {
                std::cout << resultPage(_head, result, terminalWidth());
            } else {
                std::cout << resultLine(_head.images, result) << std::endl;
            }
        } else if (now - _shown >= REFRESH || _head.images == _limit) {
            _head.imagesPerSecond = _rate.perSecond();
            _page->show(resultPage(_head, result, terminalWidth()));
            _shown = now;
        }
    }

    const WatchOptions& _options;
    Interrupt _interrupt;
    ResultQueue _results;
    ControlClient _camera;
    const long _limit;
    TableHead _head;
    Rate _rate;
    Clock::time_point _shown;
    std::unique_ptr<Page> _page;
};

} // namespace

void addWatchCommand(CLI::App& app, int& exitCode)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App* const command = app.add_subcommand("watch", "Show what the camera recognises, live");
    command->footer(WATCH_FOOTER);
    options->server.addTo(*command, ControlClient::PORT);
    command->add_flag("--once", options->once, "One image only");
    command->add_option("--frames", options->frames, "So many images; 0 for no end")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_option("--note", options->note, "A line to show below the table");
    command->callback([options, &exitCode] {
        Watch watch(*options);
        watch();
        exitCode = DONE;
    });
}

} // namespace tarvik::lab
