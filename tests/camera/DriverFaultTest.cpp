#include "Support.h"
#include "camera/CameraException.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Every call that every driver makes fails, one at a time, with each of several error numbers;
// then everything works again.

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using test::fetch;
using test::libraryError;
using test::makeDriver;
using test::thrown;

constexpr int ERRORS[] = {EIO, ENODEV, ETIME}; // the drivers treat the last two differently

/// How messages name a call; `recorded` is its beginning in the simulation's record.
struct CallText
{
    const char* recorded;
    const char* text;
};

constexpr CallText CALL_TEXTS[] = {
    {"Open(614400)", "Open(_imageWidth * _imageHeight * 2)"},
    {"Open(", "Open(_imageWidth * _imageHeight * 4)"},
    {"InitImageRAM()", "InitImageRAM()"},
    {"SetCameraWindow(", "SetCameraWindow(0, 0, imageWidth(), imageHeight())"},
    {"SetFrequency(3)", "SetFrequency(OCamera::FREQU_60MHz)"},
    {"SetShutterTime(", "SetShutterTime(config().shutterTime())"},
    {"SetGain(", "SetGain(config().gain())"},
    {"SetIlluminationTiming(0, 0)", "SetIlluminationTiming(0,0)"},
    {"SetIlluminationMode(1)", "SetIlluminationMode(OCamera::ILL_MODE_OFF)"},
    {"SetIlluminationModeExternal(1)", "SetIlluminationModeExternal(OCamera::ILL_MODE_EXT_OFF)"},
    {"SetAcquisitionMode(1)", "SetAcquisitionMode(OCamera::ACQ_MODE_STOP)"},
    {"SetAcquisitionMode(2)", "SetAcquisitionMode(OCamera::ACQ_MODE_SINGLE_SHOT)"},
    {"SetTriggerSource(1, 1)", "SetTriggerSource(OCamera::TRIG_SRC_SOFTWARE)"},
    {"SetTriggerSource(2, 1)", "SetTriggerSource(OCamera::TRIG_SRC_EXTERNAL_E0)"},
    {"SetTriggerDelay(0)", "SetTriggerDelay(0)"},
    {"SetReadTimeout(2000000)", "SetReadTimeout(TIME_OUT)"},
    {"InitColor()", "InitColor()"},
    {"SetBayer2X(0, 0)", "SetBayer2X(OCamera::BAYER_OUTPUT_RAW, RGB_FILTER_PATTERN)"},
    {"SetBayer2X(1, 0)", "SetBayer2X(OCamera::BAYER_OUTPUT_H, RGB_FILTER_PATTERN)"},
    {"SetBayer2X(2, 0)", "SetBayer2X(OCamera::BAYER_OUTPUT_S, RGB_FILTER_PATTERN)"},
    {"SetBayer2X(3, 0)", "SetBayer2X(OCamera::BAYER_OUTPUT_V, RGB_FILTER_PATTERN)"},
    {"SetBayer2X(4, 0)", "SetBayer2X(OCamera::BAYER_OUTPUT_I, OCamera::BAYER_PATTERN_GRGR)"},
    {"GetImageToImageRAM(0)", "GetImageToImageRAM(0)"},
    {"SetImageRAMPictureSize(", "SetImageRAMPictureSize(_imageWidth, _imageHeight)"},
    {"SetFilter(0, 0)", "SetFilter(OCamera::FILTER_OFF)"},
    {"SetFilter(1, 0)", "SetFilter(OCamera::FILTER_BINARIZE_ONLY)"},
    {"SetFilter(8, ", "SetFilter(OCamera::FILTER_NEIGHBOURHOOD, &parameters)"},
    {"SetBinarization(0, 0)", "SetBinarization(false)"},
    {"SetBinarization(1, ", "SetBinarization(true, &binParams)"},
    {"PurgeImages()", "PurgeImages()"},
    {"WriteImageRAM(", "WriteImageRAM((void*)imgBuffer, 0, image->width() * image->height() * "
                       "image->bytesPerPixel())"},
    {"SetupImageCorrection(1, ", "SetupImageCorrection(true, OCamera::CORRECTION_REPLACE, 0, "
                                 "image->width() * image->height(), image->bytesPerPixel())"},
    {"SetupImageCorrection(0, ",
     "SetupImageCorrection(false, OCamera::CORRECTION_REPLACE, 0, 0, 1)"},
};

/// One call of a phase, and what it is the n-th of.
struct Call
{
    std::string recorded;
    Operation operation;
    int nth;
};

std::vector<Call> recordedPhase(const std::function<void()>& act)
{
    recordCalls();
    act();
    std::vector<Call> calls;
    for (const std::string& recorded : recordedCalls()) {
        const Operation operation = *operationNamed(recorded.substr(0, recorded.find('(')));
        const auto before = std::count_if(calls.begin(), calls.end(),
                                          [&](const Call& c) { return c.operation == operation; });
        calls.push_back({recorded, operation, static_cast<int>(before) + 1});
    }
    return calls;
}

/// A driver of one model through its life, step by step.
class DriverFaultTest : public test::ModelTest
{
protected:
    DriverFaultTest()
    {
        _changed.triggerMode = 1;
        _changed.shutterTime = 5000;
        _changed.gain = 9;
        _changed.thresholdLow = 90;
        _changed.lowerValH = 20;
    }

    /// A step of an open driver, which `prepare` brings there whatever the step has left behind.
    struct Phase
    {
        std::string what;
        std::function<void()> prepare;
        std::function<void()> act;
    };

    [[nodiscard]] static bool is(std::string_view family)
    {
        return std::string_view(GetParam()).starts_with(family);
    }

    [[nodiscard]] std::vector<Phase> phases()
    {
        const auto wanted = [this] { _driver->update(true); };
        const auto unwanted = [this] { _driver->update(false); };
        const auto shown = [this] { _driver->setSource(&_picture); };
        const auto hidden = [this] { _driver->setSource(nullptr); };
        const auto take = [this] { static_cast<void>(fetch(*_driver)); };
        return {
            {"open", [this] { _driver = makeDriver(GetParam()); }, [this] { _driver->open(); }},
            {"settings", [this] { _driver->setConfig(_config); },
             [this] { _driver->setConfig(_changed); }},
            {"streaming on", unwanted, wanted},
            {"streaming off", wanted, unwanted},
            {"fetch", unwanted, take},
            {"fetch while streaming", wanted, take},
            {"test image", hidden, shown},
            {"sensor again", shown, hidden},
            {"close", [this] { reopen(); }, [this] { _driver->close(); }},
        };
    }

    void reopen()
    {
        if (!_driver->isOpen()) {
            _driver->open();
        }
    }

    /// Whether nobody looks at what the call returns.
    [[nodiscard]] static bool unchecked(std::string_view phase, const Call& call)
    {
        switch (call.operation) {
        case Operation::SetFilter:
        case Operation::SetBinarization:
            return is("R1B");
        case Operation::PurgeImages:
            return phase != "test image" && phase != "sensor again";
        case Operation::ReleaseImage:
            return true;
        default:
            return phase == "close";
        }
    }

    /// What the exception says; nothing when there is none.
    [[nodiscard]] static std::string expected(std::string_view phase, const Call& call, int error)
    {
        if (unchecked(phase, call)) {
            return "(nothing thrown)";
        }
        switch (call.operation) {
        case Operation::CreateCameraInterface:
            return is("R3") ? "Couldn't load camera (MT9V023)." : "Couldn't load camera.";
        case Operation::Open:
            if (is("R3") && error != ENODEV) { // else it looks for the other chip, in vain
                return libraryError("Open", error);
            }
            break;
        case Operation::GetImage:
            return error == ETIME ? "Timeout on GetImage()."
                                  : "GetImage() returned error code: " + std::to_string(-error);
        case Operation::ReadImageRAM: {
            constexpr std::string_view PLANES[] = {"hueData", "satData", "valData"};
            const bool first = phase == "fetch" && call.nth == 1;
            const std::string buffer(first ? "_imgBinData" : PLANES[call.nth - 1]);
            return libraryError("ReadImageRAM(" + buffer + ", 0, imgSize)", error);
        }
        default:
            break;
        }
        for (const CallText& known : CALL_TEXTS) {
            if (call.recorded.starts_with(known.recorded)) {
                return libraryError(known.text, error);
            }
        }
        return "(no such call is known)";
    }

    /// Goes on after a failed step as the camera does.
    void recover(const Phase& phase)
    {
        if (phase.what == "open" || phase.what == "settings") {
            phase.prepare();
        } else if (phase.what.starts_with("streaming")) {
            phase.act();
        }
        reopen();
        static_cast<void>(fetch(*_driver));
    }

    CameraConfiguration _changed = _config;
};

TEST_P(DriverFaultTest, EveryCallFailsOnceWithEveryError)
{
    std::size_t calls = 0;
    for (const Phase& phase : phases()) {
        _driver = makeDriver(GetParam());
        _driver->open();
        phase.prepare();
        for (const Call& call : recordedPhase(phase.act)) {
            ++calls;
            SCOPED_TRACE(phase.what + ": " + std::to_string(call.nth) + ". " + call.recorded);
            for (const int error : ERRORS) {
                phase.prepare();
                failCall(call.operation, call.nth, error);
                EXPECT_EQ(thrown<CameraException>(phase.act), expected(phase.what, call, error));
                clearFaults();
                recover(phase);
            }
        }
    }
    EXPECT_GE(calls, 38U);
}

// One thread alone, so the thread sanitizer has nothing to find: it gets a sample.
#ifdef __SANITIZE_THREAD__
const auto DRIVERS = testing::Values("R1B (640x480)");
#else
const auto DRIVERS = testing::ValuesIn(test::DRIVERS);
#endif

INSTANTIATE_TEST_SUITE_P(Models, DriverFaultTest, DRIVERS, test::modelName);

} // namespace

} // namespace tarvik::camera
