#include "client/ControlClient.h"
#include "client/LabClient.h"
#include "database/comparators/AdvancedComparator.h"
#include "database/comparators/StereoComparator.h"
#include "lab/Parts.h"
#include "ocamera/simulated/Faults.h"
#include "server/Server.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>

namespace tarvik::client {
namespace {

using testing::HasSubstr;

/// Both clients against the real server on free ports, with the simulated sensor.
class ClientRoundTripTest : public testing::Test
{
protected:
    ClientRoundTripTest()
    {
        ::setenv("OCAMERA_FPS", "100", 1);
        OCamera::simulated::resetSimulation();
        options.directory = folder.path().string();
        options.bindAddress = "127.0.0.1";
        options.controlPort = 0;
        options.labPort = 0;
        options.udpPort = 0;
        options.setClock = [this](const timeval& time) {
            clock = time.tv_sec;
            return 0;
        };
        server = std::make_unique<com::server::Server>(options);
        server->telnet().setConfig({.port = 0, .timeout = 0});
        server->start();
        EXPECT_TRUE(test::eventually(
            [this] { return server->controlPort() != 0 && server->lab().localPort() != 0; }));
        control = std::make_unique<ControlClient>("127.0.0.1", server->controlPort());
        lab = std::make_unique<LabClient>("localhost", server->lab().localPort());
    }

    ~ClientRoundTripTest() override
    {
        control->disconnect();
        lab->disconnect();
        server->stop();
    }

    test::TemporaryFolder folder;
    com::server::ServerOptions options;
    std::atomic<std::time_t> clock{0};
    const sys::DateTime springDay{.day = 17, .month = 5, .year = 2020};
    /// Converted before the server's threads do such things: the C library's lock is one that the
    /// thread sanitizer does not see.
    const std::optional<std::time_t> springDaySeconds = springDay.toEpochSeconds();
    std::unique_ptr<com::server::Server> server;
    std::unique_ptr<ControlClient> control;
    std::unique_ptr<LabClient> lab;
};

TEST_F(ClientRoundTripTest, SetsAndGetsEveryConfiguration)
{
    control->connect();
    EXPECT_EQ(control->greeting().width, 640);

    auto analyzer = control->analyzerConfig();
    analyzer.minPolygonSize = fp<32, 15>(2000);
    analyzer.roi = {1, 2, 300, 200};
    control->setAnalyzerConfig(analyzer);
    EXPECT_EQ(control->analyzerConfig(), analyzer);

    auto breakup = control->breakupConfig();
    breakup.setBreakupEnabled(true);
    control->setBreakupConfig(breakup);
    EXPECT_EQ(control->breakupConfig(), breakup);

    auto camera = control->cameraConfig();
    camera.thresholdLow = 77;
    control->setCameraConfig(camera);
    EXPECT_TRUE(test::eventually([&] { return control->cameraConfig() == camera; }));

    database::DatabaseConfiguration database;
    database.setComparatorImpl(database::ComparatorFactory::instance().find("Outer contours"));
    control->setDatabaseConfig(database);
    EXPECT_EQ(control->database().config(), database);
}

TEST_F(ClientRoundTripTest, ComparatorTravelsAsTheClassInUse)
{
    control->connect();
    database::comparators::AdvancedComparator advanced;
    advanced.maxError = fp<32, 30>(12345);
    advanced.compareAngles = true;
    control->setComparator(advanced);
    const auto state = control->database();
    const auto* const stored =
        dynamic_cast<const database::comparators::AdvancedComparator*>(state.comparator().get());
    ASSERT_NE(stored, nullptr);
    EXPECT_TRUE(stored->compareAngles);
    EXPECT_EQ(stored->maxError, advanced.maxError);

    // Settings of another class: what the two share.
    database::comparators::StereoComparator stereo;
    stereo.maxError = fp<32, 30>(777);
    control->setComparator(stereo);
    EXPECT_EQ(control->database().comparator()->maxError, stereo.maxError);
}

TEST_F(ClientRoundTripTest, StreamsResultsAndLogs)
{
    std::atomic<int> complete{0};
    std::atomic<int> entries{0};
    control->onResult([&](const ControlClient::Result& result) {
        complete += result->settings.frame && result->settings.originalImage &&
                            result->originalImage.width() == 640
                        ? 1
                        : 0;
    });
    control->onLog([&](const ControlClient::LogUpdate& update) {
        entries += update->logName == "Analysis" ? 1 : 0;
    });
    control->connect();
    control->setStreaming({.originalImage = true, .frame = true});
    EXPECT_TRUE(test::eventually([&] { return complete > 2; }));

    const auto logs = control->setLogStreaming(true);
    EXPECT_TRUE(std::ranges::any_of(logs.logs, [](const auto& l) { return l.name == "Server"; }));
    control->setAnalyzerConfig(control->analyzerConfig());
    EXPECT_TRUE(test::eventually([&] { return entries > 0; }));
}

TEST_F(ClientRoundTripTest, ClockSavingAndTheEnd)
{
    control->connect();
    control->testConnection();
    control->setSystemTime(springDay);
    EXPECT_TRUE(test::eventually([&] { return clock == springDaySeconds; }));
    control->sync();
    EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(folder / "config.xml"); }));
    control->shutdown();
    EXPECT_TRUE(server->stopRequest().wait(20000));
}

TEST_F(ClientRoundTripTest, LabGetsTheResultOfItsOwnImage)
{
    lab->connect();
    EXPECT_FALSE(lab->sourceOverridden());
    image::Image one = test::emptyPicture();
    test::drawFlag(one, {});
    image::Image two = one;
    test::drawDisc(two, {150, 120, 0});
    EXPECT_EQ(lab->analyze(one)->frame.objectCount(), 1);
    EXPECT_EQ(lab->analyze(two)->frame.objectCount(), 2);
    EXPECT_TRUE(lab->sourceOverridden());
    lab->setStreaming({.binarizedImage = true});
    const auto binary = lab->analyze(one);
    EXPECT_EQ(binary->binaryImage.width(), 640);
    EXPECT_FALSE(binary->settings.frame);
    lab->useSensor();
    EXPECT_TRUE(test::eventually([&] { return !lab->sourceOverridden(); }));
}

/// A picture that carries its number below the threshold in its first pixel, and in where its disc
/// lies.
image::Image numberedPicture(int number)
{
    image::Image picture = test::emptyPicture();
    picture.data()[0] = static_cast<std::uint8_t>(number);
    test::drawDisc(picture, {120.0 + 3 * number, 240, 0});
    return picture;
}

/// Whether original and binarized image, frame and matchings are all of one numbered picture.
bool belongTogether(const com::StreamContents& result)
{
    constexpr std::size_t row = std::size_t{240} * 640;
    const int x = 120 + 3 * result.originalImage.data()[0];
    const auto isDisc = [&result](int column) {
        const std::size_t pixel = row + static_cast<std::size_t>(column);
        return result.originalImage.data()[pixel] == 220 && result.binaryImage.data()[pixel] != 0;
    };
    const auto binary = [&result](int column) {
        return result.binaryImage.data()[row + static_cast<std::size_t>(column)] != 0;
    };
    if (!isDisc(x - 38) || !isDisc(x + 38) || binary(x - 42) || binary(x + 42) ||
        result.frame.objectCount() != 1 || result.matchings.count() != 1) {
        return false;
    }
    const double pixel = 1.0 / 320;
    const double expected = (x - 320) * pixel;
    const double inFrame = result.frame.object(0).polygon().position().re.toDouble();
    const double matched = result.matchings[0].position.re.toDouble();
    return std::abs(inFrame - expected) < pixel && std::abs(matched - expected) < pixel;
}

TEST_F(ClientRoundTripTest, PartsOfAStreamBelongToOneImage)
{
    const com::StreamingSettings everything{true, true, true, true};
    std::atomic<int> streamed{0};
    std::atomic<int> torn{0};
    control->onResult([&](const ControlClient::Result& result) {
        // The sensor's own images at the beginning carry no number.
        if (result->settings == everything && result->originalImage.data()[1] == 40) {
            ++streamed;
            torn += belongTogether(*result) ? 0 : 1;
        }
    });
    lab->connect();
    lab->setStreaming(everything);
    static_cast<void>(lab->analyze(numberedPicture(0)));
    control->connect();
    control->setStreaming(everything);
    for (int i = 0; i < 128 || streamed < 256; ++i) {
        const int number = i % 128;
        const auto result = lab->analyze(numberedPicture(number));
        ASSERT_EQ(result->originalImage.data()[0], number) << "another picture's result";
        ASSERT_TRUE(belongTogether(*result)) << number;
    }
    EXPECT_EQ(torn, 0) << "of " << streamed;
}

TEST_F(ClientRoundTripTest, RefusedImageIsToldAndTheNextOneWorks)
{
    lab->connect();
    try {
        static_cast<void>(lab->analyze(test::emptyPicture(320, 240)));
        FAIL() << "not refused";
    } catch (const ClientException& e) {
        EXPECT_EQ(e.kind(), ClientException::Kind::ImageRefused);
        EXPECT_THAT(e.what(), HasSubstr("Image has wrong dimension: 320x240 (expected: 640x480)."));
    }
    EXPECT_EQ(lab->analyze(test::emptyPicture())->frame.objectCount(), 0);
}

} // namespace
} // namespace tarvik::client
