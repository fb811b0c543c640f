#include "Support.h"
#include "camera/CameraException.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <random>
#include <system_error>
#include <vector>

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using image::ColorSpace;
using image::Format;
using image::Image;
using test::configOf;
using test::makeDriver;
using test::thrown;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr const char* R1C = "R1C (640x480)";
constexpr const char* R3C = "R3C (752x480)";

std::vector<std::uint8_t> bytesOf(const Image& image)
{
    return {image.bytes().begin(), image.bytes().end()};
}

/// What the words of the windows say, pixel by pixel.
bool isForeground(const CameraConfiguration& c, std::uint8_t h, std::uint8_t s, std::uint8_t v)
{
    const bool hue = c.lowerValH <= c.greaterValH ? c.lowerValH <= h && h <= c.greaterValH
                                                  : h >= c.lowerValH || h <= c.greaterValH;
    const bool inside =
        hue && c.lowerValS <= s && s <= c.greaterValS && c.lowerValV <= v && v <= c.greaterValV;
    return inside != c.invert;
}

CameraConfiguration withRandomWindows(const char* model, std::mt19937& random)
{
    CameraConfiguration config = configOf(model);
    for (std::uint8_t* bound : {&config.lowerValH, &config.greaterValH, &config.lowerValS,
                                &config.greaterValS, &config.lowerValV, &config.greaterValV}) {
        *bound = static_cast<std::uint8_t>(random());
    }
    config.invert = random() % 2 == 0;
    return config;
}

/// Two cameras see the same picture of the synthetic scene: the first one they take.
class ColorDriverTest : public test::SimulationTest
{
protected:
    struct Pictures
    {
        std::vector<std::uint8_t> hsv; ///< empty when the model delivers none
        std::vector<std::uint8_t> binary;
    };

    static Pictures fetch(CameraImpl& driver)
    {
        Image* original = nullptr;
        Image* binary = nullptr;
        driver.getImages(&original, &binary);
        Pictures result{original == nullptr ? std::vector<std::uint8_t>() : bytesOf(*original),
                        bytesOf(*binary)};
        if (original != nullptr) {
            EXPECT_EQ(original->format(), Format::Planar);
            EXPECT_EQ(original->colorSpace(), ColorSpace::HSV);
        }
        driver.releaseImage();
        return result;
    }
};

TEST_F(ColorDriverTest, ReadsBinarizedPlanes)
{
    CameraConfiguration config = configOf(R1C);
    config.lowerValH = 200;
    config.greaterValH = 20;
    const auto driver = makeDriver(config);
    driver->open();
    recordCalls();
    EXPECT_TRUE(fetch(*driver).hsv.empty());
    EXPECT_THAT(
        recordedCalls(),
        ElementsAre(
            "SetBayer2X(0, 0)", "GetImageToImageRAM(0)", "SetImageRAMPictureSize(640, 480)",
            "SetFilter(1, 0)", "SetBinarization(1, {1, 2, 20, 200})", "SetBayer2X(1, 0)",
            "ReadImageRAM(0, 307200)", "SetFilter(1, 0)", "SetBinarization(1, {0, 2, 64, 196})",
            "SetBayer2X(2, 0)", "ReadImageRAM(0, 307200)", "SetFilter(1, 0)",
            "SetBinarization(1, {0, 2, 64, 196})", "SetBayer2X(3, 0)", "ReadImageRAM(0, 307200)"));
}

TEST_F(ColorDriverTest, ReadsPlanesForTheProgramWhenTheColoursAreWanted)
{
    const auto driver = makeDriver(R1C);
    driver->update(true);
    driver->open();
    recordCalls();
    EXPECT_EQ(fetch(*driver).hsv.size(), 3U * 640 * 480);
    std::vector<std::string> calls{"SetBayer2X(0, 0)", "GetImageToImageRAM(0)",
                                   "SetImageRAMPictureSize(640, 480)"};
    for (const char* plane : {"SetBayer2X(1, 0)", "SetBayer2X(2, 0)", "SetBayer2X(3, 0)"}) {
        calls.insert(calls.end(), {"SetBinarization(0, 0)", "SetFilter(0, 0)", plane,
                                   "ReadImageRAM(0, 307200)"});
    }
    EXPECT_THAT(recordedCalls(), ElementsAreArray(calls));
}

TEST_F(ColorDriverTest, BinarizesTheSameInFpgaAndSoftware)
{
    std::mt19937 random(3);
    for (int round = 0; round < 6; ++round) {
        const CameraConfiguration config = withRandomWindows(round % 2 == 0 ? R1C : R3C, random);
        const bool wraps = config.greaterValH < config.lowerValH;
        const auto hardware = makeDriver(config);
        hardware->open();
        const Pictures inFpga = fetch(*hardware);
        const auto software = makeDriver(config);
        software->update(true);
        software->open();
        const Pictures inSoftware = fetch(*software);

        const std::size_t size = inFpga.binary.size();
        int differences = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const std::uint8_t h = inSoftware.hsv[i];
            const bool foreground =
                isForeground(config, h, inSoftware.hsv[size + i], inSoftware.hsv[2 * size + i]);
            // The FPGA can only invert a window, and leaves out the bounds of one that wraps.
            const bool onBound = wraps && (h == config.lowerValH || h == config.greaterValH);
            differences += inSoftware.binary[i] != (foreground ? 255 : 0);
            differences += !onBound && inFpga.binary[i] != inSoftware.binary[i];
        }
        EXPECT_EQ(differences, 0) << "round " << round;
    }
}

TEST_F(ColorDriverTest, BinarizesATestImage)
{
    std::mt19937 random(4);
    Image testImage(640, 480, 3, Format::Planar, ColorSpace::HSV);
    test::fillRandomly(testImage, 9);
    const std::size_t size = testImage.pixelCount();
    const auto driver = makeDriver(R1C);
    driver->open();
    _log.clear();
    recordCalls();
    driver->setSource(&testImage);
    for (int round = 0; round < 8; ++round) {
        CameraConfiguration config = withRandomWindows(R1C, random);
        driver->setConfig(config);
        const auto [hsv, binary] = fetch(*driver);
        EXPECT_TRUE(hsv == bytesOf(testImage));
        int differences = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const bool foreground = isForeground(config, hsv[i], hsv[size + i], hsv[2 * size + i]);
            differences += binary[i] != (foreground ? 255 : 0);
        }
        EXPECT_EQ(differences, 0) << "round " << round;
    }
    EXPECT_TRUE(driver->sourceOverridden());
    EXPECT_THAT(recordedCalls(), ElementsAre()) << "nothing of this reaches the sensor";
    driver->setSource(nullptr);
    EXPECT_FALSE(driver->sourceOverridden());
    EXPECT_TRUE(fetch(*driver).hsv.empty());
    EXPECT_THAT(_log.lines(), ElementsAre("Image source overriden by user-defined image.",
                                          "Image source reset to internal image sensor."));
}

TEST_F(ColorDriverTest, RefusesTestImagesThatDoNotFit)
{
    struct Case
    {
        Image image;
        const char* error;
    };

    constexpr const char* WRONG_KIND =
        "Image has wrong format or color space. HSV/Planar required.";
    Case cases[] = {
        {Image(640, 480), "Cannot use grayscale images with a color camera."},
        {Image(752, 480, 3, Format::Planar, ColorSpace::HSV),
         "Image has wrong dimension: 752x480 (expected: 640x480)."},
        {Image(640, 480, 3, Format::Planar, ColorSpace::RGB), WRONG_KIND},
        {Image(640, 480, 3, Format::Interleaved, ColorSpace::HSV), WRONG_KIND},
    };
    const auto driver = makeDriver(R1C);
    EXPECT_EQ(thrown<CameraException>([&] { driver->setSource(nullptr); }), "Camera not open.");
    driver->open();
    for (Case& c : cases) {
        EXPECT_EQ(thrown<CameraException>([&] { driver->setSource(&c.image); }), c.error);
        EXPECT_FALSE(driver->sourceOverridden());
    }
}

TEST_F(ColorDriverTest, NamesTheCallThatFails)
{
    struct Case
    {
        bool software;
        Operation operation;
        int nth;
        const char* call;
    };

    const Case cases[] = {
        {false, Operation::SetBayer2X, 1,
         "SetBayer2X(OCamera::BAYER_OUTPUT_RAW, RGB_FILTER_PATTERN)"},
        {false, Operation::GetImageToImageRAM, 1, "GetImageToImageRAM(0)"},
        {false, Operation::SetImageRAMPictureSize, 1,
         "SetImageRAMPictureSize(_imageWidth, _imageHeight)"},
        {false, Operation::SetFilter, 1, "SetFilter(OCamera::FILTER_BINARIZE_ONLY)"},
        {false, Operation::SetBinarization, 2, "SetBinarization(true, &binParams)"},
        {false, Operation::SetBayer2X, 2,
         "SetBayer2X(OCamera::BAYER_OUTPUT_H, RGB_FILTER_PATTERN)"},
        {false, Operation::ReadImageRAM, 1, "ReadImageRAM(_imgBinData, 0, imgSize)"},
        {false, Operation::SetBayer2X, 3,
         "SetBayer2X(OCamera::BAYER_OUTPUT_S, RGB_FILTER_PATTERN)"},
        {false, Operation::ReadImageRAM, 2, "ReadImageRAM(satData, 0, imgSize)"},
        {false, Operation::SetBayer2X, 4,
         "SetBayer2X(OCamera::BAYER_OUTPUT_V, RGB_FILTER_PATTERN)"},
        {false, Operation::ReadImageRAM, 3, "ReadImageRAM(valData, 0, imgSize)"},
        {true, Operation::SetBinarization, 1, "SetBinarization(false)"},
        {true, Operation::SetFilter, 1, "SetFilter(OCamera::FILTER_OFF)"},
        {true, Operation::ReadImageRAM, 1, "ReadImageRAM(hueData, 0, imgSize)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.call);
        resetSimulation();
        const auto driver = makeDriver(R1C);
        driver->update(c.software);
        driver->open();
        failCall(c.operation, c.nth, EIO);
        EXPECT_EQ(thrown<CameraException>([&] { static_cast<void>(fetch(*driver)); }),
                  std::string("Camera error while executing: '") + c.call +
                      "'. Details: " + std::generic_category().message(EIO));
        EXPECT_FALSE(fetch(*driver).binary.empty()) << "the next one works";
    }
}

} // namespace

} // namespace tarvik::camera
