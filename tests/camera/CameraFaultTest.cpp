#include "Support.h"
#include "support/Eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A running camera against every operation of the library that fails once or always, is slow, or
// does a part of its work and calls that a success.

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using test::configOf;
using test::eventually;

struct Kind
{
    const char* what;
    std::optional<int> result;
    std::chrono::milliseconds delay;
    Repeat repeat;
};

constexpr Kind KINDS[] = {
    {"fails once", -EIO, {}, Repeat::Once},
    {"fails always", -EIO, {}, Repeat::UntilCleared},
    {"is slow", std::nullopt, std::chrono::milliseconds(20), Repeat::Once},
    {"delivers a part and calls it a success", 1000, {}, Repeat::UntilCleared},
};

/// Counts the images of one model, and watches that each has its size.
class Images : public util::Listener<ImageEvent>
{
public:
    void onEvent(ImageEvent& event) override
    {
        wrong += event.binaryImage->width() != event.source->imageWidth() ||
                 event.binaryImage->height() != event.source->imageHeight() ||
                 event.binaryImage->byteCount() != event.binaryImage->pixelCount();
        ++seen;
    }

    std::atomic<int> seen{0};
    std::atomic<int> wrong{0};
};

/// What makes the camera call an operation.
enum class Occasion
{
    Image,
    Settings,
    TestImage,
    Leaving, ///< another model takes over
    Opening,
};

Occasion occasionOf(Operation operation)
{
    switch (operation) {
    case Operation::GetImage:
    case Operation::ReleaseImage:
    case Operation::GetImageToImageRAM:
    case Operation::SetImageRAMPictureSize:
    case Operation::ReadImageRAM:
        return Occasion::Image;
    case Operation::SetShutterTime:
    case Operation::SetGain:
    case Operation::PurgeImages:
    case Operation::SetFilter:
    case Operation::SetBinarization:
        return Occasion::Settings;
    case Operation::WriteImageRAM:
    case Operation::SetupImageCorrection:
        return Occasion::TestImage;
    case Operation::Close:
        return Occasion::Leaving;
    default:
        return Occasion::Opening;
    }
}

/// A model with a sensor of the same size, so that the scene fits both.
const char* otherModel(std::string_view model)
{
    if (model.starts_with("R3")) {
        return "R3B (752x480)";
    }
    return model == "R1B (640x480)" ? "R1C Grayscale (640x480)" : "R1B (640x480)";
}

class CameraFaultTest : public test::ModelTest
{
protected:
    CameraFaultTest() { _camera.addListener(&_images); }

    /// The operations that the model has a use for.
    [[nodiscard]] std::vector<Operation> operationsUsed()
    {
        _driver->open();
        static_cast<void>(test::fetch(*_driver));
        _driver->setSource(&_picture);
        _driver->close();
        std::vector<Operation> used;
        for (std::size_t i = 0; i < OPERATION_COUNT; ++i) {
            if (callCount(static_cast<Operation>(i)) > 0) {
                used.push_back(static_cast<Operation>(i));
            }
        }
        return used;
    }

    /// Whether images of this model come, however the camera has been left. Asks for them again
    /// and again, ever more patiently, since that ends the pauses after failures.
    [[nodiscard]] bool delivers(const CameraConfiguration& config)
    {
        using Clock = std::chrono::steady_clock;
        Clock::duration patience = std::chrono::milliseconds(20);
        Clock::time_point next;
        const int before = _images.seen;
        return eventually([&] {
            if (Clock::now() >= next) {
                _camera.setConfig(config);
                patience *= 2;
                next = Clock::now() + patience;
            }
            // The first may have been on its way.
            return _images.seen >= before + 2 && _camera.isOpen() && _camera.config() == config;
        });
    }

    /// Lets the camera run into the fault.
    void provoke(const Fault& fault)
    {
        const Occasion occasion = occasionOf(fault.operation);
        if (occasion == Occasion::Opening) {
            _camera.setConfig(_other);
            ASSERT_TRUE(eventually([&] { return _camera.config() == _other; }));
        }
        const std::size_t before = callCount(fault.operation);
        injectFault(fault);
        CameraConfiguration changed = _config;
        changed.shutterTime += 1;
        changed.gain += 1;
        switch (occasion) {
        case Occasion::Image:
            break;
        case Occasion::Settings:
            _camera.setConfig(changed);
            break;
        case Occasion::TestImage:
            _camera.setSource(&_picture);
            break;
        case Occasion::Leaving:
            _camera.setConfig(_other);
            break;
        case Occasion::Opening:
            _camera.setConfig(_config);
            break;
        }
        const std::size_t hit = before + static_cast<std::size_t>(fault.nth);
        EXPECT_TRUE(eventually([&] { return callCount(fault.operation) >= hit; }));
    }

    /// Whether the log must name the operation when it fails.
    [[nodiscard]] bool reported(Operation operation) const
    {
        switch (operation) {
        case Operation::CreateCameraInterface: // "Couldn't load camera."
        case Operation::Close:
        case Operation::ReleaseImage:
        case Operation::PurgeImages:
            return false;
        case Operation::SetFilter:
        case Operation::SetBinarization:
            return _driver->isColored();
        default:
            return true;
        }
    }

    const CameraConfiguration _other = configOf(otherModel(GetParam()));
    Images _images;
    Camera _camera;
};

TEST_P(CameraFaultTest, DeliversImagesAgainWhenAFaultIsOver)
{
    const std::vector<Operation> operations = operationsUsed();
    ASSERT_TRUE(delivers(_config));
    for (const Operation operation : operations) {
        for (const Kind& kind : KINDS) {
            SCOPED_TRACE(std::string(operationName(operation)) + " " + kind.what);
            _log.clear();
            // The other model's driver stops the acquisition first.
            const bool second = operation == Operation::SetAcquisitionMode;
            provoke({.operation = operation,
                     .nth = second ? 2 : 1,
                     .result = kind.result,
                     .delay = kind.delay,
                     .repeat = kind.repeat});
            if (kind.result.value_or(0) < 0 && reported(operation)) {
                EXPECT_TRUE(_log.waitForLineWith(operationName(operation)));
            }
            clearFaults();
            ASSERT_TRUE(delivers(_config));
            EXPECT_EQ(_images.wrong, 0);
        }
    }
    _camera.close();
}

// The thread sanitizer makes colours slow; the camera's threads are those of every model.
#ifdef __SANITIZE_THREAD__
const auto DRIVERS = testing::Values("R1B (640x480)", "NeighboursSBO (640x480)");
#else
const auto DRIVERS = testing::ValuesIn(test::DRIVERS);
#endif

INSTANTIATE_TEST_SUITE_P(Models, CameraFaultTest, DRIVERS, test::modelName);

} // namespace

} // namespace tarvik::camera
