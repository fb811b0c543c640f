#include "Commands.h"
#include "ExitCode.h"
#include "LessonText.h"
#include "ServerOption.h"
#include "client/ControlClient.h"
#include "configuration/ConfigurationFile.h"
#include "configuration/SettingNames.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>
#include <thread>

namespace tarvik::lab {

using client::ControlClient;
using configuration::Setting;
using configuration::settings;
using configuration::settingsNamed;
using configuration::SystemConfiguration;

namespace {

constexpr const char* CONFIG_FOOTER = R"(
Examples:
  tarvik-lab config get                              everything
  tarvik-lab config get camera analyzer.ROI          some groups
  tarvik-lab config set camera.ThresholdLow 90       acts with one of the next images
  tarvik-lab config set breakup.Enabled true breakup.MaxCutLength 0.08
  tarvik-lab config save                             keep it over the next start
  tarvik-lab config set --file config.xml camera.Implementation 'R3B (752x480)')";

struct ConfigOptions
{
    ServerOption server;
    std::string file;
    std::vector<std::string> words;
};

/// What the settings are of: a running camera, or a file.
class Target
{
public:
    virtual ~Target() = default;
    Target() = default;
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    [[nodiscard]] virtual std::vector<Setting> visible(const SystemConfiguration& c) const = 0;
    [[nodiscard]] virtual SystemConfiguration read() = 0;
    /// Writes the groups in which something has changed.
    virtual void write(const SystemConfiguration& c, const std::vector<std::string>& groups) = 0;
    virtual void save() = 0;
};

class FileTarget final : public Target
{
public:
    explicit FileTarget(std::string path) : _path(std::move(path)) {}

    std::vector<Setting> visible(const SystemConfiguration& c) const override
    {
        return settings(c);
    }

    SystemConfiguration read() override { return configuration::loadOrDefault(_path); }

    void write(const SystemConfiguration& c, const std::vector<std::string>& /*groups*/) override
    {
        configuration::save(c, _path);
    }

    void save() override {}

private:
    std::string _path;
};

class CameraTarget final : public Target
{
public:
    explicit CameraTarget(const ServerOption& server) : _camera(server.host, server.port)
    {
        _camera.connect();
    }

    /// The protocol carries no others.
    std::vector<Setting> visible(const SystemConfiguration& c) const override
    {
        std::vector<Setting> all = settings(c);
        std::erase_if(all, [](const Setting& setting) {
            static constexpr const char* OFFLINE[] = {"server.", "udp.", "telnet.", "logging."};
            return std::ranges::any_of(
                OFFLINE, [&](const char* group) { return setting.name.starts_with(group); });
        });
        return all;
    }

    SystemConfiguration read() override
    {
        SystemConfiguration c;
        c.camera.config = _camera.cameraConfig();
        c.analyzer.config = _camera.analyzerConfig();
        c.database = _camera.database();
        c.divider.config = _camera.breakupConfig();
        return c;
    }

    void write(const SystemConfiguration& c, const std::vector<std::string>& groups) override
    {
        for (const std::string& group : groups) {
            writeGroup(c, group);
        }
        awaitCamera(c.camera.config);
    }

    void save() override
    {
        _camera.sync();
        static_cast<void>(_camera.breakupConfig()); // answered when it has been saved
    }

private:
    static constexpr std::chrono::seconds PATIENCE{5};
    static constexpr std::chrono::milliseconds STEP{20};

    void writeGroup(const SystemConfiguration& c, const std::string& group)
    {
        if (group == "camera") {
            _camera.setCameraConfig(c.camera.config);
        } else if (group == "analyzer") {
            _camera.setAnalyzerConfig(c.analyzer.config);
        } else if (group == "database") {
            _camera.setDatabaseConfig(c.database.config());
        } else if (group == "comparator") {
            _camera.setComparator(*c.database.comparator());
        } else if (group == "breakup") {
            _camera.setBreakupConfig(c.divider.config);
        }
    }

    /// The camera takes its settings between two images, and tells a refusal to its log only.
    void awaitCamera(const camera::CameraConfiguration& wanted)
    {
        const auto end = std::chrono::steady_clock::now() + PATIENCE;
        while (!(_camera.cameraConfig() == wanted)) {
            if (std::chrono::steady_clock::now() > end) {
                throw Exception("The camera has not taken the settings over. See why: tarvik-lab "
                                "log");
            }
            std::this_thread::sleep_for(STEP);
        }
    }

    ControlClient _camera;
};

std::unique_ptr<Target> open(const ConfigOptions& options)
{
    if (options.file.empty()) {
        return std::make_unique<CameraTarget>(options.server);
    }
    return std::make_unique<FileTarget>(options.file);
}

void printSettings(const std::vector<Setting>& settings)
{
    std::size_t width = 0;
    for (const Setting& setting : settings) {
        width = std::max(width, setting.name.size());
    }
    for (const Setting& setting : settings) {
        std::cout << setting.name << std::string(width - setting.name.size(), ' ') << " = "
                  << setting.text << (setting.unit.empty() ? std::string() : "   # " + setting.unit)
                  << '\n';
    }
}

void get(const ConfigOptions& options)
{
    const auto target = open(options);
    const std::vector<Setting> all = target->visible(target->read());
    if (options.words.empty()) {
        printSettings(all);
    }
    for (const std::string& name : options.words) {
        printSettings(settingsNamed(all, name));
    }
}

void set(const ConfigOptions& options)
{
    const auto& words = options.words;
    if (words.empty() || words.size() % 2 != 0) {
        throw UsageException("Write names and values in pairs: config set camera.Gain 4");
    }
    const auto target = open(options);
    SystemConfiguration configuration = target->read();
    std::vector<Setting> changed;
    std::vector<std::string> groups;
    for (std::size_t i = 0; i < words.size(); i += 2) {
        const auto setting = settingsNamed(target->visible(configuration), words[i]).front();
        change(configuration, words[i], words[i + 1]);
        const std::string group = setting.name.substr(0, setting.name.find('.'));
        if (std::ranges::find(groups, group) == groups.end()) {
            groups.push_back(group);
        }
        changed.push_back(settingsNamed(settings(configuration), setting.name).front());
    }
    target->write(configuration, groups);
    printSettings(changed);
}

} // namespace

void addConfigCommand(CLI::App& app, int& exitCode)
{
    auto options = std::make_shared<ConfigOptions>();
    CLI::App* const command = app.add_subcommand("config", "Show and change settings");
    command->footer(CONFIG_FOOTER);
    command->require_subcommand(1);
    const auto add = [&](const char* name, const char* about, void (*action)(const ConfigOptions&),
                         const char* words) {
        CLI::App* const sub = command->add_subcommand(name, about);
        options->server.addTo(*sub, ControlClient::PORT);
        if (words != nullptr) {
            sub->add_option("--file", options->file, "Of this configuration file, not a camera")
                ->type_name("CONFIG.XML");
            sub->add_option(words, options->words, "See tarvik-lab config --help")->type_name("");
        }
        sub->callback([options, action, &exitCode] {
            action(*options);
            exitCode = DONE;
        });
    };
    add("get", "Print settings with their units", get, "NAMES");
    add("set", "Change settings", set, "NAME-VALUE-PAIRS");
    add(
        "save", "Have the camera write its configuration to disk",
        [](const ConfigOptions& o) { open(o)->save(); }, nullptr);
}

} // namespace tarvik::lab
