#include "Workbench.h"

#include "ApiError.h"
#include "io/serialization/BinaryEncoder.h"
#include "io/stream/MemoryOutputStream.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace tarvik::desk {

using client::ClientException;
using concurrent::MutexLock;
using configuration::SystemConfiguration;
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds ONE_STEP{1500};
constexpr std::chrono::milliseconds PATIENCE{400};
constexpr std::chrono::milliseconds POLL{10};

template <class T>
bool same(const T& a, const T& b)
{
    const auto bytes = [](const T& value) {
        io::stream::MemoryOutputStream stream;
        io::serialization::BinaryEncoder encoder(stream);
        encoder& io::serialization::field("", value);
        const auto written = stream.bytes();
        return std::vector<std::byte>(written.begin(), written.end());
    };
    return bytes(a) == bytes(b);
}

bool sameInCamera(const SystemConfiguration& a, const SystemConfiguration& b)
{
    return a.camera.config == b.camera.config && a.analyzer.config == b.analyzer.config &&
           a.divider.config == b.divider.config && same(a.database, b.database);
}

void send(CameraLink::Client& camera, const SystemConfiguration& now,
          const SystemConfiguration& wanted)
{
    if (!(now.camera.config == wanted.camera.config)) {
        camera.setCameraConfig(wanted.camera.config);
    }
    if (!(now.analyzer.config == wanted.analyzer.config)) {
        camera.setAnalyzerConfig(wanted.analyzer.config);
    }
    if (!(now.divider.config == wanted.divider.config)) {
        camera.setBreakupConfig(wanted.divider.config);
    }
    if (!same(now.database, wanted.database)) {
        camera.setDatabase(wanted.database);
    }
}

/// What the camera has made of it; false when its sensor has not taken its settings over yet.
bool readBack(CameraLink::Client& camera, const SystemConfiguration& wanted,
              SystemConfiguration& result)
{
    result = wanted;
    result.analyzer.config = camera.analyzerConfig();
    result.divider.config = camera.breakupConfig();
    result.database = camera.database();
    const auto end = Clock::now() + PATIENCE;
    while (!(camera.cameraConfig() == wanted.camera.config)) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(POLL);
    }
    return true;
}

} // namespace

void Workbench::load(CameraLink::Client& camera)
{
    auto fresh = std::make_shared<SystemConfiguration>();
    fresh->camera.config = camera.cameraConfig();
    fresh->analyzer.config = camera.analyzerConfig();
    fresh->divider.config = camera.breakupConfig();
    fresh->database = camera.database();
    const MutexLock lock(_stateMutex);
    if (_configuration == nullptr || !sameInCamera(*_configuration, *fresh)) {
        _steps.clear();
        _configuration = fresh;
    }
}

Workbench::Configuration Workbench::configurationOrNull() const
{
    const MutexLock lock(_stateMutex);
    return _configuration;
}

Workbench::Configuration Workbench::configuration() const
{
    Configuration current = configurationOrNull();
    if (current == nullptr) {
        static_cast<void>(_link.camera()); // says why
        throw ApiError(ApiError::Unavailable, "The camera's settings are being read.");
    }
    return current;
}

Workbench::Outcome Workbench::change(const std::string& label, const Edit& edit)
{
    const MutexLock turn(_changeMutex);
    const Configuration before = configuration();
    SystemConfiguration wanted = *before;
    edit(wanted);
    Outcome outcome = apply(wanted, label);
    if (!sameInCamera(*before, *outcome.configuration)) {
        remember(label, before);
    }
    return outcome;
}

Workbench::Outcome Workbench::undo()
{
    const MutexLock turn(_changeMutex);
    Step step;
    {
        const MutexLock lock(_stateMutex);
        if (_steps.empty()) {
            throw ApiError(ApiError::Conflict, "There is nothing to undo.");
        }
        step = _steps.back();
    }
    Outcome outcome = apply(*step.before, step.label);
    const MutexLock lock(_stateMutex);
    if (!_steps.empty()) {
        _steps.pop_back();
    }
    return outcome;
}

std::vector<std::string> Workbench::steps() const
{
    const MutexLock lock(_stateMutex);
    std::vector<std::string> labels;
    for (const Step& step : _steps) {
        labels.push_back(step.label);
    }
    return labels;
}

Workbench::Outcome Workbench::apply(const SystemConfiguration& wanted, const std::string& label)
{
    const auto camera = _link.camera();
    const Configuration now = configuration();
    const bool newModel =
        now->camera.config.implementation() != wanted.camera.config.implementation();
    auto result = std::make_shared<SystemConfiguration>();
    bool taken = false;
    try {
        send(*camera, *now, wanted);
        taken = readBack(*camera, wanted, *result);
    } catch (const ClientException&) {
        if (!newModel) {
            throw;
        }
        *result = wanted; // a camera that changes its model hangs up while it has none
    }
    if (newModel) {
        _link.reconnect(); // the greeting tells the new size
    }
    keep(result);
    return {result, !taken, label};
}

void Workbench::remember(const std::string& label, const Configuration& before)
{
    const auto now = Clock::now();
    const MutexLock lock(_stateMutex);
    const bool goesOn =
        !_steps.empty() && _steps.back().label == label && now - _steps.back().time < ONE_STEP;
    if (goesOn) {
        _steps.back().time = now;
        return;
    }
    _steps.push_back({label, before, now});
    if (_steps.size() > UNDO_STEPS) {
        _steps.pop_front();
    }
}

void Workbench::keep(const Configuration& configuration)
{
    const MutexLock lock(_stateMutex);
    _configuration = configuration;
}

} // namespace tarvik::desk
