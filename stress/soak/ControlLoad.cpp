#include "ocamera/simulated/Faults.h"
#include "soak/Loads.h"

#include <algorithm>
#include <array>
#include <string>

namespace tarvik::soak {

using camera::CameraConfiguration;
using client::ClientException;
using client::ControlClient;

void ControlLoad::run()
{
    _camera.thresholdLow = 100;
    _camera.setImplementation(_stage.model);
    constexpr auto PACE = std::chrono::milliseconds(5);
    Clock::time_point nextDisturbance = Clock::now() + std::chrono::seconds(2);
    Clock::time_point nextLeave = Clock::now() + std::chrono::seconds(7);
    while (_stage.score.pause(PACE)) {
        const Clock::time_point start = Clock::now();
        try {
            if (_control == nullptr) {
                connect();
            }
            if (start >= nextDisturbance) {
                disturb();
                nextDisturbance = Clock::now() + std::chrono::milliseconds(500 + pick(3000));
            } else if (start >= nextLeave) {
                leave();
                nextLeave = Clock::now() + std::chrono::milliseconds(1000 + pick(15000));
            } else {
                routine();
            }
        } catch (const ClientException& e) {
            _stage.score.failUnlessDisturbed(start, std::string("control client: ") + e.what());
            leave();
        }
    }
    leave();
}

void ControlLoad::connect()
{
    _control = std::make_unique<ControlClient>(_stage.server.address(), ControlClient::PORT,
                                               timeouts(_stage.score));
    _control->onResult([this](const ControlClient::Result& r) { resultArrived(*r); });
    _control->onLog([this](const ControlClient::LogUpdate& u) { logArrived(*u); });
    patiently(_stage.score, [this] { _control->connect(); });
    _control->setStreaming({true, true, true, true});
    static_cast<void>(_control->setLogStreaming(true));
    ++_stage.score.reconnects;
}

void ControlLoad::leave()
{
    _control.reset();
    _lastStreamed.reset();
}

int ControlLoad::pick(int count)
{
    return static_cast<int>(_random() % static_cast<unsigned>(count));
}

/// Something that must work at once and disturb nobody.
void ControlLoad::routine()
{
    switch (pick(12)) {
    case 0:
    case 1:
        changeAnalyzer();
        break;
    case 2:
    case 3:
        changeDatabase();
        break;
    case 4: {
        auto breakup = _control->breakupConfig();
        breakup.setBreakupEnabled(!breakup.breakupEnabled());
        breakup.setMaxCutLength(fp<32, 30>(10'000'000 + pick(50'000'000)));
        _control->setBreakupConfig(breakup);
        if (!(_control->breakupConfig() == breakup)) {
            _stage.score.fail("the breakup's configuration has not been taken");
        }
        break;
    }
    case 5:
        _camera.thresholdLow = static_cast<std::uint8_t>(1 + pick(190));
        _camera.lowerValH = static_cast<std::uint8_t>(1 + pick(90));
        _camera.shutterTime = static_cast<std::uint32_t>(pick(100000));
        _camera.gain = static_cast<std::uint8_t>(pick(100));
        _control->setCameraConfig(_camera);
        break;
    case 6:
        jumpInTime();
        break;
    case 7:
        _control->sync();
        break;
    case 8:
        _control->testConnection();
        break;
    case 9:
        static_cast<void>(_control->setLogStreaming(true));
        break;
    default: {
        const bool images = pick(4) == 0; // they are large
        _control->setStreaming({images, images, pick(2) == 0, pick(2) == 0});
        static_cast<void>(_control->cameraConfig());
    }
    }
    ++_stage.score.requests;
}

/// Anything by which the blocks of numbered pictures are still found.
void ControlLoad::changeAnalyzer()
{
    auto config = _control->analyzerConfig();
    config.minPolygonSize = fp<32, 15>(500 + pick(2500));
    config.maxPolygonSize = fp<32, 15>(20000 + pick(60000));
    config.maxPolygonError = fp<16, 15>(static_cast<std::int16_t>(600 + pick(20000)));
    config.allowNestedObjects = pick(2) == 0;
    config.performLensCorrection = pick(2) == 0;
    config.clippingFrame.left.active = pick(2) == 0;
    _control->setAnalyzerConfig(config);
    if (!(_control->analyzerConfig() == config)) {
        _stage.score.fail("the analyzer's configuration has not been taken");
    }
}

void ControlLoad::changeDatabase()
{
    const database::DatabaseState state = _control->database();
    if (pick(2) == 0) {
        _control->setDatabase(state);
    } else {
        _control->setDatabaseConfig(state.config());
        _control->setComparator(*state.comparator());
    }
    if (_control->database().numTemplates() != state.numTemplates()) {
        _stage.score.fail("the database has lost or gained templates");
    }
}

/// Ten years forth and back. Entries of the log show that the clock has been set.
void ControlLoad::jumpInTime()
{
    sys::DateTime time = sys::DateTime::localTime();
    time.year += 10 * (pick(3) - 1);
    time.day = 1; // there is one in every month of every year
    _control->setSystemTime(time);
    ++_stage.score.clockJumps;
    if (!_stage.ownClock) {
        return;
    }
    const bool jumped = _stage.score.waitFor(_stage.score.limit(std::chrono::seconds(5)),
                                             [&] { return _lastYear == time.year; });
    if (!jumped && _stage.score.goesOn()) {
        _stage.score.fail("the clock was set to " + std::to_string(time.year) + " and shows " +
                          std::to_string(_lastYear));
    }
}

void ControlLoad::disturb()
{
    const Disturbance disturbance(_stage.score);
    std::string what;
    try {
        switch (pick(6)) {
        case 0:
        case 1:
            changeModel();
            what = "a model change";
            break;
        case 2:
            loseTrigger();
            what = "a lost trigger";
            break;
        default:
            what = sufferFault();
        }
    } catch (const ClientException&) {
        leave(); // asked a camera that is not open
    }
    _camera.triggerMode = 0;
    _stage.server.injectFault("clear");
    awaitImages(what);
}

void ControlLoad::changeModel()
{
    const auto& models = camera::CameraFactory::instance().implementations();
    _camera.setImplementation(models[static_cast<std::size_t>(pick(8))].get());
    _control->setCameraConfig(_camera);
    ++_stage.score.modelChanges;
}

void ControlLoad::loseTrigger()
{
    _camera.triggerMode = 1;
    _control->setCameraConfig(_camera);
    static_cast<void>(_stage.score.pause(std::chrono::milliseconds(pick(500))));
    _camera.triggerMode = 0;
    _control->setCameraConfig(_camera);
}

std::string ControlLoad::sufferFault()
{
    const long warnings = _cameraWarnings;
    bool fails = false;
    const std::string fault = randomFault(fails);
    _stage.server.injectFault(fault);
    ++_stage.score.faults;
    // Opening calls everything there is to call, so half of the faults come with another model.
    if (pick(2) == 0) {
        changeModel();
    }
    _camera.gain = static_cast<std::uint8_t>(pick(100));
    _control->setCameraConfig(_camera);
    static_cast<void>(_stage.score.waitFor(std::chrono::milliseconds(300),
                                           [&] { return fails && _cameraWarnings > warnings; }));
    return "the fault " + fault;
}

/// An error number, slowness, or a picture of the wrong size: transferred by half.
std::string ControlLoad::randomFault(bool& fails)
{
    using namespace OCamera::simulated;
    constexpr std::array ERRORS{"-5", "-19", "-62", "-12"};
    // Nobody can tell a test image that was written by half.
    constexpr std::array TRANSFERS{Operation::GetImage, Operation::GetImageToImageRAM,
                                   Operation::ReadImageRAM};
    auto operation = static_cast<Operation>(pick(OPERATION_COUNT));
    const int kind = pick(5);
    fails = kind < 3;
    std::string effect;
    if (fails) {
        effect = ERRORS.at(static_cast<std::size_t>(pick(4)));
    } else if (kind == 3) {
        effect = "slow 100";
    } else {
        operation = TRANSFERS.at(static_cast<std::size_t>(pick(3)));
        effect = "1000";
    }
    return std::string(operationName(operation)) + " 1 " + effect + (pick(2) == 0 ? " always" : "");
}

/// Whether the camera works with what was asked for. Asks for it again every second: a sensor that
/// refuses a change undoes it. While no camera is open, the server answers by hanging up.
bool ControlLoad::cameraAgrees()
{
    try {
        if (_control == nullptr) {
            connect();
        }
        const CameraConfiguration now = _control->cameraConfig();
        if (now.implementation() == _camera.implementation() &&
            now.triggerMode == _camera.triggerMode) {
            return true;
        }
        if (Clock::now() >= _nextRequest) {
            _control->setCameraConfig(_camera);
            _nextRequest = Clock::now() + std::chrono::seconds(1);
        }
    } catch (const ClientException&) {
        leave();
    }
    return false;
}

/// Images must come again in 5 s.
void ControlLoad::awaitImages(const std::string& after)
{
    const Clock::time_point start = Clock::now();
    const Clock::time_point end = start + _stage.score.limit(std::chrono::seconds(5));
    const bool agrees = _stage.score.waitFor(end - start, [&] { return cameraAgrees(); });
    _stage.model = _camera.implementation();
    const long before = _stage.score.datagrams;
    const bool delivers = agrees && _stage.score.waitFor(end - Clock::now(), [&] {
        return _stage.score.datagrams > before + 1;
    });
    if (!_stage.score.goesOn()) {
        return;
    }
    if (!delivers) {
        _stage.score.fail("no images after " + after + (agrees ? "" : "; the camera is not open"));
    }
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    _stage.score.longestRecoveryMs =
        std::max(_stage.score.longestRecoveryMs.load(), static_cast<long>(took.count()));
}

/// The parts of a result are of one picture; pictures come in their order.
void ControlLoad::resultArrived(const com::StreamContents& result)
{
    const image::Image& binary = result.binaryImage;
    const auto of = [](bool streamed, auto number) { return streamed ? number : std::nullopt; };
    const auto inBinary = of(result.settings.binarizedImage, numberOf(binary));
    const auto inOriginal = of(result.settings.originalImage, numberOf(result.originalImage));
    const auto inFrame = of(result.settings.frame && result.settings.binarizedImage,
                            numberOf(result.frame, binary.width(), binary.height()));
    ++_stage.score.streamedImages;
    if (!inBinary) {
        return; // what the sensor sees
    }
    const auto behind = static_cast<std::int16_t>(_stage.lastPicture.load() - *inBinary);
    if ((inOriginal && inOriginal != inBinary) || (inFrame && inFrame != inBinary) || behind < 0) {
        _stage.score.fail("a result mixes pictures: " + std::to_string(*inBinary) + " with " +
                          std::to_string(inOriginal.value_or(-1)) + " and " +
                          std::to_string(inFrame.value_or(-1)) + "; the last one shown was " +
                          std::to_string(_stage.lastPicture));
    }
    if (_lastStreamed && static_cast<std::int16_t>(*inBinary - *_lastStreamed) < 0) {
        _stage.score.fail("picture " + std::to_string(*inBinary) + " was streamed after " +
                          std::to_string(*_lastStreamed));
    }
    _lastStreamed = inBinary;
}

void ControlLoad::logArrived(const com::LogUpdateContents& update)
{
    ++_stage.score.logEntries;
    _lastYear = update.entry.time.year;
    if (update.logName == "Camera" && update.entry.priority >= 2) {
        ++_cameraWarnings;
    }
}

} // namespace tarvik::soak
