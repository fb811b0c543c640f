#include "Desk.h"

#include <chrono>
#include <memory>

namespace tarvik::desk {

namespace {

std::int64_t epochMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

const char* phaseName(LinkPhase phase)
{
    switch (phase) {
    case LinkPhase::Connecting:
        return "connecting";
    case LinkPhase::Connected:
        return "connected";
    case LinkPhase::Waiting:
        break;
    }
    return "waiting";
}

bool isColour(const std::string& model)
{
    return model == "R1C (640x480)" || model == "R3C (752x480)";
}

} // namespace

Desk::Desk(const DeskOptions& options)
    : _names(options.names, options.camera.text()),
      _systemFile(options.config),
      _link(options.camera, handlers()),
      _workbench(_link)
{}

Desk::~Desk()
{
    end();
}

void Desk::end()
{
    _bulletin.close();
    _link.end();
}

CameraLink::Handlers Desk::handlers()
{
    return {.result = [this](const auto& result) { show(result); },
            .matchings =
                [this](const auto& result) {
                    _results.add(++_imageNumber, epochMs(), result->matchings);
                },
            .log =
                [this](const auto& update) {
                    _log.add(update);
                    _bulletin.announce(&News::log);
                },
            .connected = [this](CameraLink::Client& camera) { connected(camera); },
            .refused = [this] { processEnded(); },
            .stateChanged = [this] { _bulletin.announce(&News::state); }};
}

void Desk::connected(CameraLink::Client& camera)
{
    _workbench.load(camera);
    _log.reset(camera.setLogStreaming(true));
    _log.note(logging::LogLevel::Info, "Connected to " + _link.address().text() + ".");
    for (const auto kind : {&News::log, &News::settings, &News::templates}) {
        _bulletin.announce(kind);
    }
}

void Desk::show(const CameraLink::Client::Result& result)
{
    const auto configuration = _workbench.configurationOrNull();
    if (configuration == nullptr) {
        return;
    }
    const io::com::Greeting greeting = _link.state().greeting;
    const std::shared_ptr<const database::DatabaseState> database(configuration,
                                                                  &configuration->database);
    const auto snapshot = std::make_shared<const Snapshot>(
        ++_imageNumber, epochMs(), teaching::PictureSize{greeting.width, greeting.height}, result,
        database);
    _results.add(snapshot->number(), snapshot->epochMs(), result->matchings);
    _album.add(snapshot);
    _bulletin.announce(&News::image);
}

void Desk::processEnded()
{
    if (!_systemFile.pending()) {
        return;
    }
    try {
        _systemFile.apply();
        _log.note(logging::LogLevel::Info,
                  "Settings written to config.xml; they act when the camera process starts.");
    } catch (const std::exception& e) {
        _log.note(logging::LogLevel::Warning, e.what());
    }
    _bulletin.announce(&News::log);
    _bulletin.announce(&News::settings);
}

Json Desk::stateJson() const
{
    const LinkState state = _link.state();
    const bool connected = state.phase == LinkPhase::Connected;
    Json json{{"phase", phaseName(state.phase)},
              {"text", state.text},
              {"camera", _link.address().text()}};
    if (state.greeting.major > 0) {
        const io::com::Greeting& g = state.greeting;
        json["version"] = std::to_string(g.major) + "." + std::to_string(g.minor) + "." +
                          std::to_string(g.patch) + " Build " + std::to_string(g.build);
        json["width"] = g.width;
        json["height"] = g.height;
    }
    if (const auto configuration = _workbench.configurationOrNull()) {
        const std::string& model = configuration->camera.config.implementation()->name();
        json["model"] = model;
        json["colour"] = isColour(model);
        json["externalTrigger"] = configuration->camera.config.triggerMode != 0;
    }
    json["imagesPerSecond"] = connected ? rounded(_link.imagesPerSecond(), 1) : 0;
    json["imagesArrive"] = connected && _link.imagesArrive();
    json["images"] = _link.images();
    return json;
}

} // namespace tarvik::desk
