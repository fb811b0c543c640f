#include "platform/Bench.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <functional>
#include <future>

using namespace OCamera;
using namespace OCamera::simulated;

using Picture = std::vector<std::uint8_t>;

constexpr int TIMED_OUT = -62; // what the drivers compare with

class SimulatedCameraTest : public CameraBench
{
protected:
    /// A named pipe as trigger input, with this test as its writer.
    void connectTrigger()
    {
        ASSERT_EQ(mkfifo((_folder / "trigger").c_str(), 0600), 0);
        _trigger = open((_folder / "trigger").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(_trigger, 0);
        set("OCAMERA_TRIGGER", _folder / "trigger");
    }

    void pulse(int count) const
    {
        const std::string pulses(static_cast<std::size_t>(count), 'x');
        ASSERT_EQ(write(_trigger, pulses.data(), pulses.size()), count);
    }

    ~SimulatedCameraTest() override
    {
        if (_trigger >= 0) {
            close(_trigger);
        }
    }

    int _trigger = -1;
};

TEST_F(SimulatedCameraTest, HasTheSensorOfItsType)
{
    struct Case
    {
        const char* what;
        const char* chip;
        eCameraType type;
        std::size_t frameMemory;
        int result;
    };

    const std::vector<Case> cases{
        {"R1", "", CAMERA_R1, 640 * 480, 0},
        {"R1: less than a frame", "", CAMERA_R1, 640 * 480 - 1, -EINVAL},
        {"R2", "", CAMERA_R2, 1280 * 1024, 0},
        {"R2: less than a frame", "", CAMERA_R2, 1280 * 1024 - 1, -EINVAL},
        {"R3 with the usual chip", "", CAMERA_R3_MT9V023, 752 * 480, 0},
        {"R3: not the older one", "", CAMERA_R3_MT9V022, 752 * 480, -ENODEV},
        {"older R3: not the usual one", "MT9V022", CAMERA_R3_MT9V023, 752 * 480, -ENODEV},
        {"older R3", "MT9V022", CAMERA_R3_MT9V022, 752 * 480, 0},
        {"more than there is", "", CAMERA_R1, std::size_t{1} << 31, -ENOMEM},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        set("OCAMERA_SENSOR", c.chip);
        EXPECT_EQ(made(c.type)->Open(c.frameMemory), c.result);
    }
}

TEST_F(SimulatedCameraTest, RefusesEverythingWhileClosed)
{
    const auto camera = made();
    FrameHandle frame;
    AlignedPicture picture;
    EXPECT_EQ(camera->Close(), -EBADF);
    EXPECT_EQ(camera->InitImageRAM(), -EBADF);
    EXPECT_EQ(camera->SetGain(3), -EBADF);
    EXPECT_EQ(camera->GetImage(&frame), -EBADF);
    EXPECT_EQ(camera->ReleaseImage(&frame), -EBADF);
    EXPECT_EQ(camera->WriteImageRAM(picture.pixels.data(), 0, 32), -EBADF);
    EXPECT_EQ(camera->PurgeImages(), -EBADF);
    EXPECT_EQ(camera->Open(PIXELS), 0);
    EXPECT_EQ(camera->Open(PIXELS), -EBUSY);
    EXPECT_EQ(camera->Close(), 0);
    EXPECT_EQ(camera->SetGain(3), -EBADF);
}

TEST_F(SimulatedCameraTest, NamesWhatIsWrongWithACall)
{
    AlignedPicture picture;
    FrameHandle frame;
    const auto bits = [](auto value) { return static_cast<const void*>(value); };

    struct Case
    {
        const char* what;
        std::function<int(CameraInterface&)> call;
        int result;
    };

    const BinarizationParameters noMode{0, 1, 0, 0};
    const std::vector<Case> cases{
        {"no frame to fill", [](auto& c) { return c.GetImage(nullptr); }, -EINVAL},
        {"nothing to release", [&](auto& c) { return c.ReleaseImage(&frame); }, -EINVAL},
        {"window past the sensor", [](auto& c) { return c.SetCameraWindow(1, 0, 640, 480); },
         -EINVAL},
        {"empty window", [](auto& c) { return c.SetCameraWindow(0, 0, 0, 480); }, -EINVAL},
        {"unknown frequency", [](auto& c) { return c.SetFrequency(static_cast<eFrequency>(2)); },
         -EINVAL},
        {"unknown acquisition mode",
         [](auto& c) { return c.SetAcquisitionMode(static_cast<eAcquisitionMode>(3)); }, -EINVAL},
        {"two images per trigger", [](auto& c) { return c.SetTriggerSource(TRIG_SRC_SOFTWARE, 2); },
         -EINVAL},
        {"unaligned buffer",
         [&](auto& c) { return c.WriteImageRAM(bits(picture.pixels.data() + 1), 0, 32); }, -EFAULT},
        {"past the image memory",
         [&](auto& c) { return c.WriteImageRAM(picture.pixels.data(), 0xFFFFFFFF, 32); }, -EINVAL},
        {"correction of other size",
         [](auto& c) { return c.SetupImageCorrection(true, CORRECTION_REPLACE, 0, 640, 1); },
         -EINVAL},
        {"correction in colour",
         [](auto& c) { return c.SetupImageCorrection(true, CORRECTION_REPLACE, 0, PIXELS, 3); },
         -EINVAL},
        {"filter of a design not loaded",
         [](auto& c) {
             const NeighbourhoodParameters code{2, 0, 0};
             return c.SetFilter(FILTER_NEIGHBOURHOOD, &code);
         },
         -ENXIO},
        {"unknown filter", [](auto& c) { return c.SetFilter(static_cast<eFilter>(5)); }, -EINVAL},
        {"threshold without parameters", [](auto& c) { return c.SetBinarization(true); }, -EINVAL},
        {"threshold of unknown mode", [&](auto& c) { return c.SetBinarization(true, &noMode); },
         -EINVAL},
        {"converter before InitColor",
         [](auto& c) { return c.SetBayer2X(BAYER_OUTPUT_H, BAYER_PATTERN_GRGR); }, -ENXIO},
        {"read before the picture has a size",
         [&](auto& c) { return c.ReadImageRAM(picture.pixels.data(), 0, PIXELS); }, -ENXIO},
        {"fetch while stopped",
         [&](auto& c) { return c.SetAcquisitionMode(ACQ_MODE_STOP) == 0 ? c.GetImage(&frame) : 0; },
         -ENXIO},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.call(*running()), c.result);
    }
}

TEST_F(SimulatedCameraTest, NeedsTheImageMemoryInitialised)
{
    const auto camera = made();
    AlignedPicture picture;
    EXPECT_EQ(camera->Open(PIXELS), 0);
    EXPECT_EQ(camera->WriteImageRAM(picture.pixels.data(), 0, 32), -ENXIO);
    EXPECT_EQ(camera->SetupImageCorrection(true, CORRECTION_REPLACE, 0, PIXELS, 1), -ENXIO);
    EXPECT_EQ(camera->SetupImageCorrection(false, CORRECTION_REPLACE, 0, 0, 1), 0);
    EXPECT_EQ(camera->GetImageToImageRAM(0), -ENXIO);
}

TEST_F(SimulatedCameraTest, LendsOutNoMoreFramesThanItHasMemoryFor)
{
    const auto camera = made();
    ASSERT_EQ(camera->Open(PIXELS * 2), 0);
    ASSERT_EQ(camera->SetAcquisitionMode(ACQ_MODE_SINGLE_SHOT), 0);
    std::array<FrameHandle, 3> frames;
    EXPECT_EQ(camera->GetImage(&frames[0]), 0);
    EXPECT_EQ(camera->GetImage(&frames[0]), -EBUSY) << "the handle is in use";
    EXPECT_EQ(camera->GetImage(&frames[1]), 0);
    EXPECT_EQ(camera->GetImage(&frames[2]), -ENOMEM);
    EXPECT_EQ(camera->SetCameraWindow(0, 0, 640, 480), -EBUSY);
    EXPECT_EQ(camera->ReleaseImage(&frames[0]), 0);
    EXPECT_EQ(frames[0].pixels, nullptr);
    EXPECT_EQ(camera->ReleaseImage(&frames[0]), -EINVAL) << "twice";
    EXPECT_EQ(camera->GetImage(&frames[2]), 0);
    EXPECT_EQ(frames[2].number, 3U);
}

TEST_F(SimulatedCameraTest, ReadsOutItsWindow)
{
    Picture picture(PIXELS);
    for (std::size_t i = 0; i < PIXELS; ++i) {
        picture[i] = static_cast<std::uint8_t>(i % 640 / 4 + i / 640);
    }
    set("OCAMERA_SCENE", writePicture("ramp.pgm", 640, 480, 1, picture));
    const auto camera = running();
    ASSERT_EQ(camera->SetCameraWindow(100, 50, 3, 2), 0);
    const auto at = [&](std::size_t x, std::size_t y) { return picture[y * 640 + x]; };
    EXPECT_EQ(fetched(*camera, 6), (Picture{at(100, 50), at(101, 50), at(102, 50), at(100, 51),
                                            at(101, 51), at(102, 51)}));
}

TEST_F(SimulatedCameraTest, TakesOneImagePerPulse)
{
    connectTrigger();
    const auto camera = running();
    ASSERT_EQ(camera->SetReadTimeout(1000), 0);
    pulse(3); // deaf to them: triggered by software
    ASSERT_EQ(camera->SetTriggerSource(TRIG_SRC_EXTERNAL_E0, 1), 0);
    FrameHandle frame;
    EXPECT_EQ(camera->GetImage(&frame), TIMED_OUT);
    pulse(2);
    EXPECT_FALSE(fetched(*camera).empty());
    EXPECT_FALSE(fetched(*camera).empty());
    EXPECT_EQ(camera->GetImage(&frame), TIMED_OUT);
    EXPECT_EQ(camera->GetImageToImageRAM(0), TIMED_OUT);
    pulse(2);
    EXPECT_EQ(camera->PurgeImages(), 0);
    EXPECT_EQ(camera->GetImage(&frame), TIMED_OUT) << "the pulses' images are discarded";
}

TEST_F(SimulatedCameraTest, WaitsForAPulseThatComesLater)
{
    connectTrigger();
    const auto camera = running();
    ASSERT_EQ(camera->SetReadTimeout(600'000'000), 0);
    ASSERT_EQ(camera->SetTriggerSource(TRIG_SRC_EXTERNAL_E0, 1), 0);
    auto picture = std::async(std::launch::async, [&] { return fetched(*camera); });
    pulse(1);
    EXPECT_EQ(picture.get().size(), PIXELS);
}

TEST_F(SimulatedCameraTest, KeepsToItsRate)
{
    set("OCAMERA_FPS", "1");
    // Drawing the synthetic scene takes an emulated processor a second by itself.
    set("OCAMERA_SCENE", writeUniform("grey.pgm", {20}));
    const auto camera = running();
    ASSERT_EQ(camera->SetReadTimeout(0), 0);
    EXPECT_FALSE(fetched(*camera).empty());
    FrameHandle frame;
    EXPECT_EQ(camera->GetImage(&frame), TIMED_OUT) << "the next is due in a second";
}

TEST_F(SimulatedCameraTest, EndsWaitsFromAnotherThread)
{
    connectTrigger();
    const auto camera = running();
    ASSERT_EQ(camera->SetReadTimeout(600'000'000), 0);
    ASSERT_EQ(camera->SetTriggerSource(TRIG_SRC_EXTERNAL_E0, 1), 0);
    FrameHandle frame;
    auto result = std::async(std::launch::async, [&] { return camera->GetImage(&frame); });
    EXPECT_EQ(camera->CancelWait(), 0);
    EXPECT_EQ(result.get(), -EINTR);
    pulse(1);
    EXPECT_EQ(camera->GetImage(&frame), -EINTR) << "and every later one,";
    EXPECT_EQ(camera->ResumeWait(), 0);
    EXPECT_EQ(camera->GetImage(&frame), 0) << "until resumed; the pulse has waited";
    EXPECT_EQ(camera->ReleaseImage(&frame), 0);

    ASSERT_EQ(camera->SetTriggerSource(TRIG_SRC_SOFTWARE, 1), 0);
    EXPECT_EQ(camera->CancelWait(), 0);
    EXPECT_EQ(camera->GetImage(&frame), -EINTR) << "also where there is nothing to wait for";
}

TEST_F(SimulatedCameraTest, ShowsTheImageMemoryInTheSensorsPlace)
{
    const auto camera = running();
    AlignedPicture test;
    for (std::size_t i = 0; i < PIXELS; ++i) {
        test.pixels[i] = static_cast<std::uint8_t>(i % 256);
    }
    const Picture grey(test.pixels.begin(), test.pixels.end());
    ASSERT_EQ(camera->WriteImageRAM(test.pixels.data(), 0, PIXELS), 0);
    ASSERT_EQ(camera->SetupImageCorrection(true, CORRECTION_REPLACE, 0, PIXELS, 1), 0);
    const BinarizationParameters window{1, 2, 100, 200};
    ASSERT_EQ(camera->SetBinarization(true, &window), 0);
    EXPECT_EQ(fetched(*camera), grey) << "the filter is still off";
    ASSERT_EQ(camera->SetupImageCorrection(false, CORRECTION_REPLACE, 0, 0, 1), 0);
    EXPECT_NE(fetched(*camera), grey) << "the sensor again";
}

TEST_F(SimulatedCameraTest, ReadsColourPlanesThroughConverterAndThreshold)
{
    set("OCAMERA_SCENE", writeUniform("orange.ppm", {200, 150, 100}));
    const auto camera = running();
    ASSERT_EQ(camera->InitColor(), 0);
    ASSERT_EQ(camera->GetImageToImageRAM(0), 0);
    ASSERT_EQ(camera->SetImageRAMPictureSize(640, 480), 0);
    Picture plane(PIXELS);
    const auto read = [&](eBayerOutput output) {
        EXPECT_EQ(camera->SetBayer2X(output, BAYER_PATTERN_GRGR), 0);
        EXPECT_EQ(camera->ReadImageRAM(plane.data(), 0, PIXELS), 0);
        return plane;
    };
    EXPECT_EQ(read(BAYER_OUTPUT_H), Picture(PIXELS, 21));
    EXPECT_EQ(read(BAYER_OUTPUT_S), Picture(PIXELS, 128));
    EXPECT_EQ(read(BAYER_OUTPUT_V), Picture(PIXELS, 200));
    const Picture raw = read(BAYER_OUTPUT_RAW);
    EXPECT_EQ((Picture{raw[0], raw[1], raw[640], raw[641]}), (Picture{150, 200, 100, 150}));

    const BinarizationParameters window{0, 2, 20, 22};
    ASSERT_EQ(camera->SetFilter(FILTER_BINARIZE_ONLY), 0);
    ASSERT_EQ(camera->SetBinarization(true, &window), 0);
    EXPECT_EQ(read(BAYER_OUTPUT_H), Picture(PIXELS, 255));
    EXPECT_EQ(read(BAYER_OUTPUT_S), Picture(PIXELS, 0));
    EXPECT_EQ(camera->ReadImageRAM(plane.data(), 0, PIXELS - 1), -EINVAL);

    ASSERT_EQ(camera->SetBinarization(false), 0);
    ASSERT_EQ(camera->SetBayer2X(BAYER_OUTPUT_I, BAYER_PATTERN_GRGR), 0);
    EXPECT_EQ(fetched(*camera), Picture(PIXELS, 150)) << "as a grey camera";
}
