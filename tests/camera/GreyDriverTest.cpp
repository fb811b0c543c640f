#include "Support.h"
#include "camera/CameraException.h"
#include "image/Binarization.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdint>

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using image::ColorSpace;
using image::Format;
using image::Image;
using test::bytesOf;
using test::configOf;
using test::fetch;
using test::libraryError;
using test::makeDriver;
using test::thrown;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr const char* R1C_GRAY = "R1C Grayscale (640x480)";
constexpr const char* R1B = "R1B (640x480)";
constexpr const char* R2B = "R2B (1280x1024)";
constexpr const char* R3B = "R3B (752x480)";

class GreyDriverTest : public test::SimulationTest
{};

std::vector<std::string> openingCalls()
{
    return {"CreateCameraInterface(3)",
            "Open(1228800)",
            "InitImageRAM()",
            "SetCameraWindow(0, 0, 640, 480)",
            "SetFrequency(3)",
            "SetShutterTime(20000)",
            "SetGain(3)",
            "SetIlluminationTiming(0, 0)",
            "SetIlluminationMode(1)",
            "SetIlluminationModeExternal(1)",
            "SetAcquisitionMode(2)",
            "SetTriggerSource(1, 1)",
            "SetTriggerDelay(0)",
            "SetReadTimeout(2000000)",
            "SetTriggerSource(1, 1)"};
}

TEST_F(GreyDriverTest, OpensInTheDocumentedOrder)
{
    const auto driver = makeDriver(R1B);
    recordCalls();
    driver->open();
    auto calls = openingCalls();
    calls.insert(calls.end(),
                 {"SetFilter(1, 0)", "SetBinarization(1, {0, 2, 128, 255})", "PurgeImages()"});
    EXPECT_THAT(recordedCalls(), ElementsAreArray(calls));
    EXPECT_THAT(_log.lines(), ElementsAre("Switched to Internal Trigger mode."));

    recordCalls();
    driver->close();
    EXPECT_THAT(recordedCalls(), ElementsAre("SetAcquisitionMode(1)", "Close()"));
    EXPECT_FALSE(driver->isOpen());
}

TEST_F(GreyDriverTest, OpensAColourSensorForItsIntensity)
{
    CameraConfiguration config = configOf(R1C_GRAY);
    config.triggerMode = 7;
    config.invert = true;
    const auto driver = makeDriver(config);
    driver->update(true);
    recordCalls();
    driver->open();
    auto calls = openingCalls();
    calls.back() = "SetTriggerSource(2, 1)";
    calls.insert(calls.end(), {"InitColor()", "SetBinarization(0, 0)", "SetFilter(0, 0)",
                               "PurgeImages()", "SetBayer2X(4, 0)"});
    EXPECT_THAT(recordedCalls(), ElementsAreArray(calls));
    EXPECT_THAT(_log.lines(), ElementsAre("Switched to External Trigger mode (E0)."));
}

TEST_F(GreyDriverTest, LooksForEitherChipOfTheWideSensor)
{
    struct Case
    {
        const char* what;
        const char* chip;
        Operation fails;
        int nth; ///< 0: nothing fails
        std::size_t calls;
        std::string error;
    };

    const auto CREATE = Operation::CreateCameraInterface;
    const std::string noOpen = libraryError("Open(_imageWidth * _imageHeight * 4)", EIO);
    const Case cases[] = {
        {"the first", "MT9V023", CREATE, 0, 2, "(nothing thrown)"},
        {"the second", "MT9V022", CREATE, 0, 4, "(nothing thrown)"},
        {"no interface for the first", "MT9V023", CREATE, 1, 1, "Couldn't load camera (MT9V023)."},
        {"none for the second", "MT9V022", CREATE, 2, 3, "Couldn't load camera (MT9V022)."},
        {"the second does not open", "MT9V022", Operation::Open, 2, 4, noOpen},
    };
    for (const char* model : {R3B, "R3C Grayscale (752x480)", "R3C (752x480)"}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(model) + ": " + c.what);
            resetSimulation();
            setEnvironment("OCAMERA_SENSOR", c.chip);
            if (c.nth > 0) {
                failCall(c.fails, c.nth, EIO);
            }
            const auto driver = makeDriver(model);
            recordCalls();
            EXPECT_EQ(thrown<CameraException>([&] { driver->open(); }), c.error);
            std::vector<std::string> expected{"CreateCameraInterface(7)", "Open(1443840)",
                                              "CreateCameraInterface(6)", "Open(1443840)"};
            expected.resize(c.calls);
            auto calls = recordedCalls();
            calls.resize(std::min(calls.size(), expected.size()));
            EXPECT_EQ(calls, expected);
        }
    }
}

TEST_F(GreyDriverTest, AppliesWhatDiffers)
{
    struct Case
    {
        const char* what;
        std::function<void(CameraConfiguration&)> change;
        std::vector<std::string> calls;
    };

    const Case cases[] = {
        {"a threshold",
         [](auto& c) { c.thresholdLow = 100; },
         {"SetFilter(1, 0)", "SetBinarization(1, {0, 2, 100, 255})", "PurgeImages()"}},
        {"everything",
         [](auto& c) {
             c.triggerMode = 1;
             c.shutterTime = 5000;
             c.gain = 1;
             c.invert = true;
         },
         {"SetAcquisitionMode(1)", "SetTriggerSource(2, 1)", "SetAcquisitionMode(2)",
          "SetShutterTime(5000)", "SetGain(1)", "SetFilter(1, 0)",
          "SetBinarization(1, {1, 2, 128, 255})", "PurgeImages()"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto driver = makeDriver(R1B);
        driver->open();
        CameraConfiguration config = driver->config();
        c.change(config);
        recordCalls();
        driver->setConfig(config);
        EXPECT_EQ(recordedCalls(), c.calls);
        EXPECT_EQ(driver->config(), config);
    }
}

TEST_F(GreyDriverTest, BinarizesTheSameInFpgaAndSoftware)
{
    std::mt19937 random(5);
    for (const char* model : {R1C_GRAY, R1B, R2B, R3B, "R3C Grayscale (752x480)"}) {
        SCOPED_TRACE(model);
        CameraConfiguration config = configOf(model);
        const auto driver = makeDriver(config);
        driver->open();
        Image testImage(driver->imageWidth(), driver->imageHeight());
        test::fillRandomly(testImage, 7);
        driver->setSource(&testImage);
        for (int i = 0; i < 3; ++i) {
            config.thresholdLow = static_cast<std::uint8_t>(random());
            config.thresholdHigh = static_cast<std::uint8_t>(random());
            config.invert = i == 1;
            driver->setConfig(config);
            const auto inFpga = fetch(*driver);
            driver->update(true);
            const auto inSoftware = fetch(*driver);
            driver->update(false);
            EXPECT_TRUE(inFpga.original.empty());
            EXPECT_TRUE(inFpga.binary == inSoftware.binary);
            EXPECT_TRUE(inSoftware.original == bytesOf(testImage));
        }
    }
}

TEST_F(GreyDriverTest, WritesATestImageStepByStep)
{
    const auto driver = makeDriver(R1B);
    driver->open();
    _log.clear();
    Image testImage(640, 480);
    recordCalls();
    driver->setSource(&testImage);
    EXPECT_THAT(recordedCalls(),
                ElementsAre("SetAcquisitionMode(1)", "PurgeImages()", "WriteImageRAM(0, 307200)",
                            "SetupImageCorrection(1, 1, 0, 307200, 1)", "SetAcquisitionMode(2)"));
    EXPECT_TRUE(driver->sourceOverridden());
    recordCalls();
    driver->setSource(nullptr);
    EXPECT_THAT(recordedCalls(),
                ElementsAre("SetAcquisitionMode(1)", "PurgeImages()",
                            "SetupImageCorrection(0, 1, 0, 0, 1)", "SetAcquisitionMode(2)"));
    EXPECT_FALSE(driver->sourceOverridden());
    EXPECT_THAT(_log.lines(), ElementsAre("Image source overriden by user-defined image.",
                                          "Image source reset to internal image sensor."));
}

TEST_F(GreyDriverTest, TakesTestImagesOfAnyAlignment)
{
    const auto driver = makeDriver(R1B);
    driver->open();
    driver->update(true);
    std::vector<std::uint8_t> memory(640 * 480 + 32);
    for (const std::size_t offset : {0U, 1U, 17U}) {
        Image testImage = Image::view(memory.data() + offset, 640, 480);
        test::fillRandomly(testImage, static_cast<unsigned>(offset));
        driver->setSource(&testImage);
        EXPECT_TRUE(fetch(*driver).original == bytesOf(testImage)) << offset;
    }
}

TEST_F(GreyDriverTest, RefusesTestImagesThatDoNotFit)
{
    struct Case
    {
        const char* model;
        Image image;
        const char* error;
    };

    constexpr const char* R1C = "R1C (640x480)";
    constexpr const char* WRONG_KIND =
        "Image has wrong format or color space. HSV/Planar required.";
    const auto colored = [](std::uint16_t width, Format format, ColorSpace space) {
        return Image(width, 480, 3, format, space);
    };
    Case cases[] = {
        {R2B, colored(640, Format::Planar, ColorSpace::HSV),
         "Cannot use color images with a monochrome camera."},
        {R2B, Image(640, 480), "Image has wrong dimension: 640x480 (expected: 1280x1024)."},
        {R1C, Image(640, 480), "Cannot use grayscale images with a color camera."},
        {R1C, colored(752, Format::Planar, ColorSpace::HSV),
         "Image has wrong dimension: 752x480 (expected: 640x480)."},
        {R1C, colored(640, Format::Planar, ColorSpace::RGB), WRONG_KIND},
        {R1C, colored(640, Format::Interleaved, ColorSpace::HSV), WRONG_KIND},
    };
    for (Case& c : cases) {
        const auto driver = makeDriver(c.model);
        const auto show = [&] { driver->setSource(&c.image); };
        EXPECT_EQ(thrown<CameraException>(show), "Camera not open.");
        driver->open();
        recordCalls();
        EXPECT_EQ(thrown<CameraException>(show), c.error);
        EXPECT_THAT(recordedCalls(), ElementsAre());
        EXPECT_FALSE(driver->sourceOverridden());
    }
}

TEST_F(GreyDriverTest, SaysWhyThereIsNoFrame)
{
    struct Case
    {
        int triggerMode;
        int result;
        const char* text;
    };

    const Case cases[] = {
        {1, -ETIME, "Timeout on GetImage(). Please check external trigger signal."},
        {2, -ETIME, "Timeout on GetImage()."},
        {0, 1000, "GetImage() returned error code: 1000"},
        {0, 0, "GetImage() returned no pixels."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CameraConfiguration config = configOf(R1B);
        config.triggerMode = c.triggerMode;
        const auto driver = makeDriver(config);
        driver->open();
        injectFault({.operation = Operation::GetImage, .result = c.result});
        EXPECT_EQ(thrown<CameraException>([&] { static_cast<void>(fetch(*driver)); }), c.text);
    }
}

TEST_F(GreyDriverTest, ReturnsAFrameLaterThatCouldNotBeReturned)
{
    const auto driver = makeDriver(R1B);
    driver->open();
    failCall(Operation::ReleaseImage, 1, EIO);
    static_cast<void>(fetch(*driver));
    for (int i = 0; i < 5; ++i) {
        static_cast<void>(fetch(*driver)); // more than the frame memory holds
    }
}

TEST_F(GreyDriverTest, EndsAWaitWithoutAnImage)
{
    for (const char* model : {R1B, "R1C (640x480)"}) {
        CameraConfiguration config = configOf(model);
        config.triggerMode = 1;
        const auto driver = makeDriver(config);
        driver->open();
        driver->cancelWait();
        Image untouched;
        Image* original = &untouched;
        Image* binary = &untouched;
        driver->getImages(&original, &binary); // throws when the wait times out
        EXPECT_EQ(binary, nullptr) << model;
        EXPECT_EQ(original, nullptr) << model;
    }
}

TEST(CameraFactoryTest, ListsTheModelsInTheirOrder)
{
    std::vector<std::string> models;
    for (const auto& implementation : CameraFactory::instance().implementations()) {
        models.push_back(implementation->name() + " " + implementation->description());
        EXPECT_EQ(implementation->index() + 1, static_cast<int>(models.size()));
    }
    EXPECT_THAT(
        models,
        ElementsAre("R1C Grayscale (640x480) VGA color camera as grayscale camera.",
                    "R1C (640x480) VGA color camera.", "R1B (640x480) VGA grayscale camera.",
                    "R2B (1280x1024) SXGA grayscale camera.", "R3B (752x480) WVGA camera.",
                    "R3C Grayscale (752x480) WVGA color camera as grayscale camera.",
                    "R3C (752x480) WVGA color camera.", "NeighboursSBO (640x480) No Description."));
}

} // namespace

} // namespace tarvik::camera
