#include "Support.h"
#include "camera/sbo/NeighboursSBO.h"
#include "support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace tarvik::camera::sbo {

namespace {

using namespace OCamera::simulated;
using image::Image;
using testing::Contains;

constexpr const char* FALLBACK = "Warning: Couldn't load FPGA neighbourhood filter. Falling back "
                                 "to software encoder.";

/// Brings a loader of its own, which notes its calls and succeeds when told to.
class NeighboursTest : public test::SimulationTest
{
protected:
    NeighboursTest()
    {
        const std::string loader = _folder / "loadfpga";
        test::writeFile(loader, "#!/bin/sh\necho \"$@\" >> " + (_folder / "calls") + "\ntest -e " +
                                    (_folder / "design") + "\n");
        std::filesystem::permissions(loader, std::filesystem::perms::owner_all);
        setEnvironment("PATH", _folder.path().string() + ":" + _path);
    }

    ~NeighboursTest() override { setEnvironment("PATH", _path); }

    [[nodiscard]] std::string loaderCalls() const { return test::readFile(_folder / "calls"); }

    static std::vector<std::uint8_t> fetch(NeighboursSBO& driver, bool expectOriginal)
    {
        Image* original = nullptr;
        Image* codes = nullptr;
        driver.getImages(&original, &codes);
        EXPECT_EQ(original != nullptr, expectOriginal);
        std::vector<std::uint8_t> result(codes->bytes().begin(), codes->bytes().end());
        driver.releaseImage();
        return result;
    }

    const test::TemporaryFolder _folder;
    const std::string _path = std::getenv("PATH");
};

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
    const std::vector<std::uint8_t> inSoftware = fetch(driver, true);
    driver.close();
    EXPECT_EQ(loaderCalls(), "sbo_r1_neighbor.fpga\n");

    test::writeFile(_folder / "design", "");
    loadNeighbourhoodDesign(true);
    recordCalls();
    driver.open();
    EXPECT_EQ(loaderCalls(), "sbo_r1_neighbor.fpga\nsbo_r1_neighbor.fpga\n");
    EXPECT_THAT(_log.lines(), Contains("FPGA neighbourhood filter activated."));
    EXPECT_THAT(recordedCalls(), Contains("Open(614400)"));
    EXPECT_THAT(recordedCalls(), Contains("SetFilter(8, {2, 2147549056, 0})"));
    EXPECT_TRUE(driver.fpgaEncoding());
    driver.setSource(&testImage);
    EXPECT_TRUE(fetch(driver, false) == inSoftware);

    CameraConfiguration config = driver.config();
    config.invert = true;
    config.thresholdLow = 100;
    config.thresholdHigh = 180;
    recordCalls();
    driver.setConfig(config);
    EXPECT_THAT(recordedCalls(),
                testing::ElementsAre("SetFilter(8, {2, 46180, 0})", "PurgeImages()"));
    const std::vector<std::uint8_t> inFpga = fetch(driver, false);
    recordCalls();
    driver.update(true);
    EXPECT_THAT(recordedCalls(), testing::ElementsAre("SetFilter(0, 0)", "PurgeImages()"));
    EXPECT_TRUE(fetch(driver, true) == inFpga);
    driver.close();
    driver.open();
    EXPECT_EQ(loaderCalls(), "sbo_r1_neighbor.fpga\nsbo_r1_neighbor.fpga\n")
        << "once loaded, it stays";
}

} // namespace

} // namespace tarvik::camera::sbo
