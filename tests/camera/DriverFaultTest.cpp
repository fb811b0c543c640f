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

// Every call that every driver makes fails, one at a time, with each of several error numbers.

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using image::Image;
using test::configOf;
using test::Driver;
using test::fetch;
using test::libraryError;
using test::makeDriver;
using test::thrown;

constexpr int ERRORS[] = {EIO, ENODEV, EINVAL, ETIME};

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

/// Texts of the reads of the image memory in one image, in their order.
constexpr const char* READS_IN_FPGA[] = {"ReadImageRAM(_imgBinData, 0, imgSize)",
                                         "ReadImageRAM(satData, 0, imgSize)",
                                         "ReadImageRAM(valData, 0, imgSize)"};
constexpr const char* READS_IN_SOFTWARE[] = {"ReadImageRAM(hueData, 0, imgSize)",
                                             "ReadImageRAM(satData, 0, imgSize)",
                                             "ReadImageRAM(valData, 0, imgSize)"};

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
class DriverFaultTest : public test::SimulationTest, public testing::WithParamInterface<const char*>
{
protected:
    DriverFaultTest() { loadNeighbourhoodDesign(true); } // in case an earlier test has loaded it

    struct Phase
    {
        const char* what;
        std::function<void(CameraImpl&)> prepare;
        std::function<void(CameraImpl&)> act;
    };

    [[nodiscard]] static bool is(std::string_view family)
    {
        return std::string_view(GetParam()).starts_with(family);
    }

    [[nodiscard]] std::vector<Phase> phases()
    {
        const Driver driver = makeDriver(GetParam());
        _picture = test::pictureFor(*driver);
        CameraConfiguration other = driver->config();
        other.triggerMode = 1;
        other.shutterTime = 5000;
        other.gain = 9;
        other.thresholdLow = 90;
        other.lowerValH = 20;
        const auto open = [](CameraImpl& d) { d.open(); };
        const auto openWanted = [](CameraImpl& d) {
            d.update(true);
            d.open();
        };
        const auto openShown = [this](CameraImpl& d) {
            d.open();
            d.setSource(&_picture);
        };
        return {
            {"open", [](CameraImpl&) {}, open},
            {"settings", open, [other](CameraImpl& d) { d.setConfig(other); }},
            {"streaming on", open, [](CameraImpl& d) { d.update(true); }},
            {"streaming off", openWanted, [](CameraImpl& d) { d.update(false); }},
            {"fetch", open, [](CameraImpl& d) { static_cast<void>(fetch(d)); }},
            {"fetch while streaming", openWanted,
             [](CameraImpl& d) { static_cast<void>(fetch(d)); }},
            {"test image", open, [this](CameraImpl& d) { d.setSource(&_picture); }},
            {"sensor again", openShown, [](CameraImpl& d) { d.setSource(nullptr); }},
            {"close", open, [](CameraImpl& d) { d.close(); }},
        };
    }

    /// Whether nobody looks at what the call returns.
    [[nodiscard]] static bool unchecked(std::string_view phase, const Call& call)
    {
        switch (call.operation) {
        case Operation::SetFilter:
        case Operation::SetBinarization:
            return is("R1B") || is("R2B") || is("R3B");
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
        const auto nth = static_cast<std::size_t>(call.nth - 1);
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
        case Operation::ReadImageRAM:
            return libraryError(phase == "fetch" ? READS_IN_FPGA[nth] : READS_IN_SOFTWARE[nth],
                                error);
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

    /// The fault hits one call; then everything works again, by the steps that the camera takes.
    void fail(const Phase& phase, const Call& call, int error)
    {
        const Driver driver = makeDriver(GetParam());
        phase.prepare(*driver);
        const CameraConfiguration before = driver->config();
        failCall(call.operation, call.nth, error);
        EXPECT_EQ(thrown<CameraException>([&] { phase.act(*driver); }),
                  expected(phase.what, call, error));
        clearFaults();
        if (driver->config() != before) {
            driver->setConfig(before);
        }
        if (std::string_view(phase.what) == "open" || std::string_view(phase.what) == "close") {
            const Driver next = makeDriver(GetParam());
            next->open();
            static_cast<void>(fetch(*next));
        } else {
            if (std::string_view(phase.what).starts_with("streaming")) {
                phase.act(*driver);
            }
            static_cast<void>(fetch(*driver));
        }
    }

    Image _picture;
};

TEST_P(DriverFaultTest, EveryCallFailsOnceWithEveryError)
{
    std::size_t calls = 0;
    for (const Phase& phase : phases()) {
        const Driver driver = makeDriver(GetParam());
        phase.prepare(*driver);
        for (const Call& call : recordedPhase([&] { phase.act(*driver); })) {
            ++calls;
            for (const int error : ERRORS) {
                SCOPED_TRACE(std::string(phase.what) + ": " + std::to_string(call.nth) + ". " +
                             call.recorded + " fails with " + std::to_string(error));
                fail(phase, call, error);
            }
        }
    }
    EXPECT_GE(calls, 38U);
}

// One thread alone, so the thread sanitizer has nothing to find: it gets a sample.
#ifdef __SANITIZE_THREAD__
const auto MODELS = testing::Values("R1B (640x480)");
#else
const auto MODELS = testing::ValuesIn(test::MODELS);
#endif

INSTANTIATE_TEST_SUITE_P(Models, DriverFaultTest, MODELS, test::modelName);

} // namespace

} // namespace tarvik::camera
