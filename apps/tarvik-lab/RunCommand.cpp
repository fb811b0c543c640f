#include "Commands.h"
#include "ExitCode.h"
#include "Interrupt.h"
#include "Overlay.h"
#include "PictureFile.h"
#include "PictureShow.h"
#include "ResultJson.h"
#include "ServerOption.h"
#include "Terminal.h"
#include "client/LabClient.h"

#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>

namespace tarvik::lab {

using client::ClientException;
using client::LabClient;
using image::Image;
using teaching::PictureSize;

namespace fs = std::filesystem;

namespace {

constexpr const char* RUN_FOOTER = R"(
Prints one JSON object per picture: objects with template (null: not recognised), pixel (centre of
the outline), position (output units), rotation (degrees), confidence and error (0 to 1), holes,
clipped (reaches into the border) and cropped (cut from a larger object); times in microseconds.

Examples:
  tarvik-lab run pictures/ > results.json         everything in a folder
  tarvik-lab run --overlay seen/ pictures/*.png   and pictures of what was seen
  tarvik-lab run --expect results.json pictures/  still the same? status 3 if not)";

struct RunOptions
{
    ServerOption server;
    std::vector<std::string> pictures;
    bool scale = false;
    std::string overlay;
    std::string expect;
    int timeoutSeconds = 10;
};

/// A stored result file by the pictures' names.
std::map<std::string, Json> readExpected(const std::string& file)
{
    std::ifstream in(file);
    if (!in) {
        throw PictureException("Cannot read the expected results '" + file +
                               "'. Store some: tarvik-lab run PICTURES > " + file);
    }
    std::map<std::string, Json> expected;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty()) {
            continue;
        }
        const Json result = Json::parse(line, nullptr, false);
        if (!result.is_object() || !result.contains("picture") || !result["picture"].is_string()) {
            throw PictureException("Expected results '" + file + "', line " +
                                   std::to_string(number) + ": this is no result of a picture.");
        }
        expected[result["picture"].get<std::string>()] = result;
    }
    return expected;
}

/// One run over all pictures.
class Run
{
public:
    explicit Run(const RunOptions& options)
        : _options(options),
          _timeout(options.timeoutSeconds),
          _camera(options.server.host, options.server.port)
    {}

    ExitCode operator()()
    {
        const auto files = pictureFiles(_options.pictures);
        if (!_options.expect.empty()) {
            _expected = readExpected(_options.expect);
        }
        if (!_options.overlay.empty()) {
            fs::create_directories(_options.overlay);
        }
        _camera.connect();
        _size = {_camera.greeting().width, _camera.greeting().height};
        analyzeAll(files);
        if (_camera.connected()) {
            _camera.useSensor();
        }
        if (_failures > 0) {
            std::cerr << _failures << " of " << files.size() << " pictures have no result\n";
            return FAILED;
        }
        return _different > 0 ? DIFFERENT : DONE;
    }

private:
    void analyzeAll(const std::vector<fs::path>& files)
    {
        const Interrupt interrupt;
        ProgressBar progress(files.size());
        std::size_t done = 0;
        for (const fs::path& file : files) {
            progress.show(done++, file.filename().string());
            report(analyzeFile(file));
            if (interrupt.requested()) {
                throw PictureException("Interrupted after " + std::to_string(done) + " of " +
                                       std::to_string(files.size()) + " pictures.");
            }
        }
    }

    Json analyzeFile(const fs::path& file)
    {
        const std::string name = file.filename().string();
        try {
            Image picture = readPicture(file);
            if (_options.scale) {
                picture = _show.fitted(picture);
            }
            const LabClient::Result result = _show.analyze(picture, _timeout);
            if (!_options.overlay.empty()) {
                writePng(fs::path(_options.overlay) / (file.stem().string() + ".png"),
                         overlay(picture, *result));
            }
            return resultJson(name, *result, _size);
        } catch (const PictureException& e) {
            return failureJson(name, e.what());
        } catch (const ClientException& e) {
            if (e.kind() != ClientException::Kind::ImageRefused) {
                throw;
            }
            return failureJson(name, std::string(e.what()) + " Use --scale for another size.");
        }
    }

    void report(const Json& result)
    {
        std::cout << result.dump() << std::endl; // each as soon as it is known
        const auto name = result["picture"].get<std::string>();
        if (result.contains("failure")) {
            ++_failures;
            std::cerr << name << ": " << result["failure"].get<std::string>() << '\n';
        } else if (!_options.expect.empty()) {
            compare(name, result);
        }
    }

    void compare(const std::string& name, const Json& result)
    {
        const auto found = _expected.find(name);
        const std::vector<std::string> lines =
            found == _expected.end() ? std::vector<std::string>{"no result of it was expected"}
                                     : differences(found->second, result);
        for (const std::string& line : lines) {
            std::cerr << name << ": " << line << '\n';
        }
        _different += lines.empty() ? 0 : 1;
    }

    const RunOptions& _options;
    const std::chrono::seconds _timeout;
    LabClient _camera;
    PictureShow _show{_camera};
    PictureSize _size;
    std::map<std::string, Json> _expected;
    int _failures = 0;
    int _different = 0;
};

} // namespace

void addRunCommand(CLI::App& app, int& exitCode)
{
    auto options = std::make_shared<RunOptions>();
    CLI::App* const command =
        app.add_subcommand("run", "Show pictures to the camera and print what it recognises");
    command->footer(RUN_FOOTER);
    options->server.addTo(*command, LabClient::PORT);
    command->add_flag("--scale", options->scale, "Bring pictures to the camera's size");
    command
        ->add_option("--overlay", options->overlay, "Write each picture with its result drawn in")
        ->type_name("DIR");
    command
        ->add_option(
            "--expect", options->expect,
            "Compare with the results of an earlier run; times and object ids do not count")
        ->type_name("FILE");
    command->add_option("--timeout", options->timeoutSeconds, "Longest wait for one result")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    command->add_option("PICTURES", options->pictures, "Pictures, and folders of them")
        ->type_name("")
        ->required();
    command->callback([options, &exitCode] { exitCode = Run(*options)(); });
}

} // namespace tarvik::lab
