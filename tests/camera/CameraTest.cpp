#include "camera/Camera.h"

#include "Support.h"
#include "camera/CameraException.h"
#include "camera/sbo/SBOCCR1B.h"
#include "core/Exception.h"
#include "core/concurrent/WakeUp.h"
#include "support/Eventually.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <new>
#include <thread>

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using image::Image;
using test::configOf;
using test::thrown;
using testing::Contains;
using testing::ElementsAre;

constexpr const char* R1B = "R1B (640x480)";
constexpr const char* R2B = "R2B (1280x1024)";

/// What the listeners were shown.
struct Shown
{
    int sourceId;
    int width;
    int height;
    int originalWidth;
    std::uint8_t firstBinary;
};

/// Stands for the analyzer.
class Recorder : public util::Listener<ImageEvent>
{
public:
    void onEvent(ImageEvent& event) override
    {
        shown.add({event.sourceId, event.binaryImage->width(), event.binaryImage->height(),
                   event.originalImage->width(), *event.binaryImage->data()});
        if (onImage) {
            onImage();
        }
    }

    /// Waits for another image that the predicate holds for.
    [[nodiscard]] bool sees(const std::function<bool(const Shown&)>& predicate)
    {
        return shown.waitFor(predicate);
    }

    [[nodiscard]] bool seesAnother()
    {
        shown.clear();
        return sees([](const Shown&) { return true; });
    }

    [[nodiscard]] bool seesWidth(int width)
    {
        return sees([=](const Shown& s) { return s.width == width; });
    }

    [[nodiscard]] bool seesSource(int id)
    {
        return sees([=](const Shown& s) { return s.sourceId == id; });
    }

    test::Collected<Shown> shown;
    std::function<void()> onImage; ///< set while the camera is closed
};

class CameraTest : public test::SimulationTest
{
protected:
    CameraTest() { _camera.addListener(&_recorder); }

    static void waitForCall(Operation operation, std::size_t count = 1)
    {
        while (callCount(operation) < count) {
            std::this_thread::yield();
        }
    }

    Recorder _recorder;
    Camera _camera;
};

TEST_F(CameraTest, OpensWithTheDefaultModel)
{
    _camera.open(nullptr);
    EXPECT_TRUE(_camera.isOpen());
    EXPECT_EQ(_camera.config(), CameraConfiguration());
    EXPECT_EQ(_camera.imageWidth(), 640);
    EXPECT_EQ(_camera.imageHeight(), 480);
    EXPECT_FALSE(_camera.sourceOverridden());
    EXPECT_TRUE(_recorder.sees([](const Shown& s) {
        return s.sourceId == -1 && s.width == 640 && s.height == 480 && s.originalWidth == 0;
    }));
    EXPECT_EQ(thrown<CameraException>([&] { _camera.open(nullptr); }), "Camera already open.");
    _camera.close();
    EXPECT_THAT(_log.lines(),
                ElementsAre("Switched to Internal Trigger mode.",
                            "Camera \"R1C Grayscale (640x480)\" opened.", "Camera closed."));
}

TEST_F(CameraTest, AnswersNothingWhileClosed)
{
    const std::function<void()> queries[] = {
        [&] { static_cast<void>(_camera.config()); },
        [&] { static_cast<void>(_camera.sourceOverridden()); },
        [&] { static_cast<void>(_camera.imageWidth()); },
        [&] { static_cast<void>(_camera.imageHeight()); },
        [&] { _camera.update(true); },
    };
    for (const auto& query : queries) {
        EXPECT_EQ(thrown<CameraException>(query), "Camera not open.");
    }
    _camera.close();
    EXPECT_FALSE(_camera.isOpen());
    EXPECT_EQ(_camera.latestConfig(), CameraConfiguration());
    EXPECT_THAT(_log.lines(), ElementsAre());
}

TEST_F(CameraTest, OpensAgainAfterAFailureAndAfterClosing)
{
    failCall(Operation::InitImageRAM, 1, EIO);
    const CameraConfiguration config = configOf(R2B);
    EXPECT_EQ(thrown<CameraException>([&] { _camera.open(&config); }),
              test::libraryError("InitImageRAM()", EIO));
    EXPECT_FALSE(_camera.isOpen());
    EXPECT_EQ(_camera.latestConfig(), config);
    EXPECT_EQ(callCount(Operation::CreateCameraInterface), 1U);
    for (int i = 0; i < 2; ++i) {
        _camera.setConfig(configOf(R1B));
        EXPECT_TRUE(_recorder.seesAnother());
        EXPECT_EQ(_camera.imageWidth(), 640);
        _camera.close();
        EXPECT_FALSE(_camera.isOpen());
    }
}

TEST_F(CameraTest, DeliversOnlyImagesOfTheNewModel)
{
    _camera.setConfig(configOf(R1B));
    _camera.update(true);
    Image testImage(640, 480);
    _camera.setSource(&testImage);
    EXPECT_TRUE(_recorder.seesSource(0));
    _camera.setConfig(configOf(R2B));
    EXPECT_TRUE(_log.waitFor("Config changed."));
    EXPECT_EQ(_camera.imageWidth(), 1280);
    EXPECT_EQ(_camera.imageHeight(), 1024);
    EXPECT_TRUE(_recorder.seesAnother());
    _camera.close();
    for (const Shown& s : _recorder.shown.values()) {
        EXPECT_EQ(s.width, 1280);
        EXPECT_EQ(s.originalWidth, 1280) << "the wish for originals moves with the model";
        EXPECT_EQ(s.sourceId, -1) << "the test image does not";
    }
}

TEST_F(CameraTest, DeliversImagesWhileSomebodyChangesSettingsAllTheTime)
{
    _log.onLine = [&](const std::string& line) {
        if (line == "Config changed.") {
            CameraConfiguration config = _camera.latestConfig();
            ++config.gain;
            _camera.setConfig(config);
        }
    };
    _camera.setConfig(configOf(R1B));
    _camera.setConfig(configOf(R2B));
    EXPECT_TRUE(_recorder.seesWidth(1280));
    EXPECT_TRUE(_recorder.seesAnother());
    _camera.close();
}

TEST_F(CameraTest, TriesANewModelUntilItOpens)
{
    _camera.setConfig(configOf(R1B));
    failCall(Operation::SetGain, 1, EIO, Repeat::UntilCleared);
    _camera.setConfig(configOf(R2B));
    waitForCall(Operation::SetGain, 2);
    EXPECT_TRUE(_log.waitFor(test::libraryError("SetGain(config().gain())", EIO)));
    EXPECT_FALSE(_camera.isOpen());
    EXPECT_EQ(_camera.latestConfig(), configOf(R2B));
    EXPECT_EQ(thrown<CameraException>([&] { _camera.open(nullptr); }), "Camera already open.");

    resetSimulation();
    EXPECT_TRUE(_recorder.seesWidth(1280));
    EXPECT_TRUE(_camera.isOpen());
}

TEST_F(CameraTest, UndoesSettingsThatTheSensorRefusesAndOpensAnewWhenItCannot)
{
    const CameraConfiguration before = configOf(R1B);
    _camera.setConfig(before);
    CameraConfiguration config = before;
    config.triggerMode = 1;
    config.shutterTime = 1;
    failCall(Operation::SetShutterTime, 1, EINVAL);
    recordCalls();
    _camera.setConfig(config);
    EXPECT_TRUE(_log.waitFor(test::libraryError("SetShutterTime(config().shutterTime())", EINVAL)));
    EXPECT_TRUE(_recorder.seesAnother());
    EXPECT_EQ(_camera.config(), before);
    EXPECT_EQ(_camera.latestConfig(), before);
    EXPECT_THAT(recordedCalls(), Contains("SetShutterTime(20000)"));

    failCall(Operation::SetShutterTime, 1, EIO, Repeat::UntilCleared);
    _camera.setConfig(config);
    waitForCall(Operation::CreateCameraInterface, 2);
    clearFaults();
    EXPECT_TRUE(_recorder.seesAnother());
    EXPECT_EQ(_camera.config(), before);
}

TEST_F(CameraTest, OpensAnewWhenImageAfterImageFails)
{
    _camera.setConfig(configOf(R1B));
    failCall(Operation::GetImage, 1, ETIME, Repeat::UntilCleared);
    waitForCall(Operation::GetImage, callCount(Operation::GetImage) + 2);
    failCall(Operation::GetImage, 1, EIO, Repeat::UntilCleared);
    waitForCall(Operation::CreateCameraInterface, 2);
    clearFaults();
    EXPECT_TRUE(_recorder.seesAnother());
    EXPECT_TRUE(_log.waitFor("No image: opening the camera anew."));
}

TEST_F(CameraTest, SurvivesFailuresOfTheSensorAndOfListeners)
{
    std::atomic<int> fault{0};
    _recorder.onImage = [&] {
        switch (fault.exchange(0)) {
        case 1:
            throw Exception("No analysis.");
        case 2:
            throw std::bad_alloc();
        default:
            break;
        }
    };
    _camera.setConfig(configOf(R1B));
    failCall(Operation::GetImage, 1, EIO);
    EXPECT_TRUE(_log.waitFor("GetImage() returned error code: -5"));
    EXPECT_TRUE(_recorder.seesAnother());
    fault = 1;
    EXPECT_TRUE(_log.waitFor("No analysis."));
    EXPECT_TRUE(_recorder.seesAnother());
    fault = 2;
    EXPECT_TRUE(_log.waitFor("std::bad_alloc"));
    EXPECT_TRUE(_recorder.seesAnother());
    _camera.close();
    EXPECT_EQ(callCount(Operation::ReleaseImage) + 1, callCount(Operation::GetImage));
}

TEST_F(CameraTest, NumbersTestImages)
{
    _camera.setConfig(configOf(R1B));
    Image testImage(640, 480);
    for (int i = 0; i < 65; ++i) {
        const int id = _camera.setSource(&testImage);
        EXPECT_EQ(id, i % 64);
        ASSERT_TRUE(_recorder.seesSource(id));
        _recorder.shown.clear();
    }
    EXPECT_TRUE(_camera.sourceOverridden());
    EXPECT_EQ(_camera.setSource(nullptr), -1);
    EXPECT_TRUE(_recorder.seesSource(-1));
    EXPECT_FALSE(_camera.sourceOverridden());
}

TEST_F(CameraTest, ShowsTheLastOfTwoTestImages)
{
    CameraConfiguration config = configOf(R1B);
    _camera.open(&config);
    Image dark(640, 480);
    Image bright(640, 480);
    std::ranges::fill(bright.bytes(), std::uint8_t{255});
    for (int i = 0; i < 50; ++i) {
        _camera.setSource(&dark);
        const int id = _camera.setSource(&bright);
        ASSERT_TRUE(_recorder.seesSource(id));
        for (const Shown& s : _recorder.shown.values()) {
            ASSERT_TRUE(s.sourceId != id || s.firstBinary == 255) << "a result of the other image";
        }
        _camera.setSource(nullptr);
        ASSERT_TRUE(_recorder.seesSource(-1));
        _recorder.shown.clear();
    }
}

TEST_F(CameraTest, NotesTheIdBeforeTheImageIsDelivered)
{
    std::atomic<int> awaited{-1};
    std::atomic<int> answered{0};
    _recorder.onImage = [&] {
        const int id = _recorder.shown.values().back().sourceId;
        if (id >= 0 && id == awaited) {
            awaited = -1;
            ++answered;
        } else if (id >= 0 && answered == 0) {
            ADD_FAILURE() << "delivered before it was noted";
        }
    };
    _camera.setConfig(configOf(R1B));
    Image testImage(640, 480);
    _camera.setSource(&testImage, [&](std::int8_t id) {
        std::this_thread::yield();
        awaited = id;
    });
    EXPECT_TRUE(_recorder.seesSource(0));
    _camera.close();
    EXPECT_EQ(answered, 1);
}

TEST_F(CameraTest, KeepsTheSourceWhenATestImageIsRefused)
{
    _camera.setConfig(configOf(R1B));
    Image small(320, 240);
    EXPECT_EQ(_camera.setSource(&small), 0);
    EXPECT_TRUE(_log.waitFor("Could not override image source: Image has wrong dimension: 320x240 "
                             "(expected: 640x480)."));
    EXPECT_TRUE(_recorder.seesAnother());
    Image testImage(640, 480);
    EXPECT_EQ(_camera.setSource(&testImage), 0);
    EXPECT_TRUE(_recorder.seesSource(0));
    Image none;
    EXPECT_EQ(_camera.setSource(&none), 1);
    EXPECT_TRUE(_log.waitFor("Could not override image source: Image has wrong dimension: 0x0 "
                             "(expected: 640x480)."));
    _recorder.shown.clear();
    EXPECT_TRUE(_recorder.seesSource(0));
}

TEST_F(CameraTest, AppliesTheWishForOriginalsTogetherWithATestImage)
{
    _camera.setBeforeSourceChange([&] { _camera.update(true); });
    _camera.setConfig(configOf(R1B));
    Image testImage(640, 480);
    _camera.setSource(&testImage);
    EXPECT_TRUE(_recorder.seesSource(0));
    for (const Shown& s : _recorder.shown.values()) {
        EXPECT_EQ(s.originalWidth != 0, s.sourceId == 0);
    }
}

/// Waits until it is told to stop, or longer than a test does.
class PatientDriver : public sbo::SBOCCR1B
{
public:
    void getImages(Image** original, Image** binary) override
    {
        *original = nullptr;
        *binary = nullptr;
        ++waits;
        static_cast<void>(_cancelled.wait(2 * test::DEADLINE / std::chrono::milliseconds(1)));
    }

    void cancelWait() override { _cancelled.set(); }

    void resumeWait() override { _cancelled.clear(); }

    static inline std::atomic<int> waits{0};

private:
    concurrent::WakeUp _cancelled;
};

TEST_F(CameraTest, EndsTheWaitForAnImageForEveryChangeAndToClose)
{
    static const CameraFactory::TypedImplementation<PatientDriver> patient("Patient", "");
    auto waitsAgain = [before = PatientDriver::waits.load()]() mutable {
        ++before;
        return test::eventually([&] { return PatientDriver::waits == before; });
    };
    CameraConfiguration config;
    config.setImplementation(&patient);
    _camera.open(&config);
    ASSERT_TRUE(waitsAgain());
    EXPECT_EQ(_camera.config(), config) << "queries do not wait";
    Image testImage(640, 480);
    _camera.setSource(&testImage);
    ASSERT_TRUE(waitsAgain());
    EXPECT_TRUE(_camera.sourceOverridden());
    _camera.update(true);
    ASSERT_TRUE(waitsAgain());
    config.gain = 9;
    _camera.setConfig(config);
    EXPECT_EQ(_camera.latestConfig(), config);
    ASSERT_TRUE(waitsAgain());
    EXPECT_EQ(_camera.config(), config);
    EXPECT_TRUE(test::endsInTime(test::inBackground([&] { _camera.close(); })));
}

TEST_F(CameraTest, DeliversImagesAgainAfterAWaitForATrigger)
{
    CameraConfiguration config = configOf(R1B);
    config.triggerMode = 1; // the trigger does not come
    _camera.open(&config);
    waitForCall(Operation::GetImage);
    _camera.setConfig(configOf(R1B));
    EXPECT_TRUE(_recorder.sees([](const Shown&) { return true; }));
}

TEST_F(CameraTest, EndsThePauseAfterAFailureToClose)
{
    showBlackScene(*test::makeDriver(R1B));
    failCall(Operation::GetImage, 1, EIO, Repeat::UntilCleared);
    // A pause is 1 s: together they would outlast the deadline.
    constexpr int PAUSES = test::DEADLINE / std::chrono::seconds(1) * 2;
    EXPECT_TRUE(test::endsInTime(test::inBackground([&] {
        for (int i = 0; i < PAUSES; ++i) {
            _camera.setConfig(configOf(R1B));
            EXPECT_TRUE(_log.waitFor("GetImage() returned error code: -5"));
            _log.clear();
            _camera.close();
        }
    })));
}

TEST_F(CameraTest, StandsEverybodyAtOnce)
{
    std::atomic<bool> done{false};
    const auto repeat = [&](const std::function<void(int)>& action) {
        return std::thread([&done, action] {
            for (int i = 0; !done; ++i) {
                try {
                    action(i);
                } catch (const CameraException&) { // it happens to be closed
                }
                std::this_thread::yield();
            }
        });
    };
    Image testImage(640, 480);
    std::vector<std::thread> threads;
    threads.push_back(repeat([&](int i) {
        CameraConfiguration config = configOf(i % 10 == 0 ? R2B : R1B);
        config.triggerMode = i % 3 == 0 ? 1 : 0;
        _camera.setConfig(config);
    }));
    threads.push_back(repeat([&](int i) { _camera.setSource(i % 3 == 0 ? nullptr : &testImage); }));
    threads.push_back(repeat([&](int i) { _camera.update(i % 2 == 0); }));
    threads.push_back(repeat([&](int) {
        static_cast<void>(_camera.latestConfig());
        static_cast<void>(_camera.isOpen());
        static_cast<void>(_camera.config());
        static_cast<void>(_camera.sourceOverridden());
        static_cast<void>(_camera.imageWidth() + _camera.imageHeight());
    }));
    for (int i = 0; i < 20; ++i) {
        waitForCall(Operation::Open, callCount(Operation::Open) + 1);
        _camera.close();
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    resetSimulation();
    _camera.close();
    _camera.setConfig(configOf(R1B));
    EXPECT_TRUE(_recorder.seesAnother());
}

} // namespace

} // namespace tarvik::camera
