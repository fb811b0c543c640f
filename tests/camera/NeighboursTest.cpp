#include "Support.h"
#include "camera/CameraException.h"
#include "camera/sbo/NeighboursSBO.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdint>
#include <vector>

namespace tarvik::camera::sbo {

namespace {

using namespace OCamera::simulated;
using image::Image;
using test::fetch;
using test::thrown;
using testing::Contains;

constexpr const char* FALLBACK = "Warning: Couldn't load FPGA neighbourhood filter. Falling back "
                                 "to software encoder.";

class NeighboursTest : public test::SimulationTest
{};

// The design stays loaded for the rest of the process, so this is one test.
TEST_F(NeighboursTest, FallsBackToSoftwareUntilTheDesignLoads)
{
    NeighboursSBO driver;
    driver.open();
    EXPECT_THAT(_log.lines(), Contains("Loading FPGA neighbourhood filter..."));
    EXPECT_THAT(_log.lines(), Contains(FALLBACK));
    driver.update(false);
    EXPECT_FALSE(driver.fpgaEncoding());
    Image testImage(640, 480);
    test::fillRandomly(testImage, 11);
    driver.setSource(&testImage);
    const std::vector<std::uint8_t> inSoftware = fetch(driver).binary;
    driver.close();
    EXPECT_EQ(_loader.calls(), "sbo_r1_neighbor.fpga\n");

    _loader.provideDesign();
    loadNeighbourhoodDesign(true);
    recordCalls();
    driver.open();
    EXPECT_EQ(_loader.calls(), "sbo_r1_neighbor.fpga\nsbo_r1_neighbor.fpga\n");
    EXPECT_THAT(_log.lines(), Contains("FPGA neighbourhood filter activated."));
    EXPECT_THAT(recordedCalls(), Contains("Open(614400)"));
    EXPECT_THAT(recordedCalls(), Contains("SetFilter(8, {2, 2147549056, 0})"));
    EXPECT_TRUE(driver.fpgaEncoding());
    driver.setSource(&testImage);
    const test::Pictures encoded = fetch(driver);
    EXPECT_TRUE(encoded.binary == inSoftware);
    EXPECT_TRUE(encoded.original.empty());

    CameraConfiguration config = driver.config();
    config.invert = true;
    config.thresholdLow = 100;
    config.thresholdHigh = 180;
    recordCalls();
    driver.setConfig(config);
    EXPECT_THAT(recordedCalls(),
                testing::ElementsAre("SetFilter(8, {2, 46180, 0})", "PurgeImages()"));
    const std::vector<std::uint8_t> inFpga = fetch(driver).binary;
    recordCalls();
    driver.update(true);
    EXPECT_THAT(recordedCalls(), testing::ElementsAre("SetFilter(0, 0)", "PurgeImages()"));
    EXPECT_TRUE(fetch(driver).binary == inFpga);
    failCall(Operation::SetFilter, 1, EIO);
    EXPECT_EQ(thrown<CameraException>([&] { driver.update(false); }),
              test::libraryError("SetFilter(OCamera::FILTER_NEIGHBOURHOOD, &parameters)", EIO));
    driver.close();
    driver.open();
    EXPECT_EQ(_loader.calls(), "sbo_r1_neighbor.fpga\nsbo_r1_neighbor.fpga\n")
        << "once loaded, it stays";
}

} // namespace

} // namespace tarvik::camera::sbo
