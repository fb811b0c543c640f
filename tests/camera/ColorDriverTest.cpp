#include "Support.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <random>
#include <vector>

namespace tarvik::camera {

namespace {

using namespace OCamera::simulated;
using image::ColorSpace;
using image::Format;
using image::Image;
using test::bytesOf;
using test::configOf;
using test::fetch;
using test::makeDriver;
using test::Pictures;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr const char* R1C = "R1C (640x480)";
constexpr const char* R3C = "R3C (752x480)";

/// What the words of the windows say, pixel by pixel.
std::vector<std::uint8_t> binarized(const CameraConfiguration& c,
                                    const std::vector<std::uint8_t>& hsv)
{
    std::vector<std::uint8_t> binary(hsv.size() / 3);
    const std::size_t size = binary.size();
    for (std::size_t i = 0; i < size; ++i) {
        const auto [h, s, v] = std::array{hsv[i], hsv[size + i], hsv[2 * size + i]};
        const bool hue = c.lowerValH <= c.greaterValH ? c.lowerValH <= h && h <= c.greaterValH
                                                      : h >= c.lowerValH || h <= c.greaterValH;
        const bool inside =
            hue && c.lowerValS <= s && s <= c.greaterValS && c.lowerValV <= v && v <= c.greaterValV;
        binary[i] = inside != c.invert ? 255 : 0;
    }
    return binary;
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
{};

TEST_F(ColorDriverTest, ReadsBinarizedPlanes)
{
    CameraConfiguration config = configOf(R1C);
    config.lowerValH = 200;
    config.greaterValH = 20;
    const auto driver = makeDriver(config);
    driver->open();
    recordCalls();
    EXPECT_TRUE(fetch(*driver).original.empty());
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
    EXPECT_EQ(fetch(*driver).original.size(), 3U * 640 * 480);
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

        EXPECT_TRUE(inSoftware.binary == binarized(config, inSoftware.original)) << round;
        int differences = 0;
        for (std::size_t i = 0; i < inFpga.binary.size(); ++i) {
            // The FPGA can only invert a window, and leaves out the bounds of one that wraps.
            const std::uint8_t h = inSoftware.original[i];
            const bool onBound = wraps && (h == config.lowerValH || h == config.greaterValH);
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
        EXPECT_TRUE(binary == binarized(config, hsv)) << round;
    }
    EXPECT_TRUE(driver->sourceOverridden());
    EXPECT_THAT(recordedCalls(), ElementsAre()) << "nothing of this reaches the sensor";
    driver->setSource(nullptr);
    EXPECT_FALSE(driver->sourceOverridden());
    EXPECT_TRUE(fetch(*driver).original.empty());
    EXPECT_THAT(_log.lines(), ElementsAre("Image source overriden by user-defined image.",
                                          "Image source reset to internal image sensor."));
}

} // namespace

} // namespace tarvik::camera
