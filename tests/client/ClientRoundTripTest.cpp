#include "client/ControlClient.h"
#include "client/LabClient.h"
#include "database/comparators/AdvancedComparator.h"
#include "lab/Parts.h"
#include "server/ServerFixture.h"
#include "support/NumberedPicture.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>

namespace tarvik::client {
namespace {

using testing::HasSubstr;

/// Both clients against the real server.
class ClientRoundTripTest : public test::ServerFixture
{
protected:
    ClientRoundTripTest()
    {
        start();
        EXPECT_TRUE(test::eventually(
            [this] { return _server->controlPort() != 0 && _server->lab().localPort() != 0; }));
        control = std::make_unique<ControlClient>("127.0.0.1", _server->controlPort());
        lab = std::make_unique<LabClient>("localhost", _server->lab().localPort());
    }

    /// Converted before the server's threads do such things: the C library's lock is one that the
    /// thread sanitizer does not see.
    const sys::DateTime springDay{.day = 17, .month = 5, .year = 2020};
    const std::optional<std::time_t> springDaySeconds = springDay.toEpochSeconds();
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

    database::DatabaseConfiguration other;
    other.setComparatorImpl(database::ComparatorFactory::instance().find("Outer contours"));
    control->setDatabaseConfig(other);
    control->setComparator(advanced); // only what the two share
    EXPECT_EQ(control->database().config(), other);
    EXPECT_EQ(control->database().comparator()->maxError, advanced.maxError);
    control->disconnect();

    // By hand, with the common field alone, and once more.
    const auto peer = desk();
    peer->sendHex("CD 01 76 20 00 00 00 10 CD 01 76 20 00 00 00 20");
    EXPECT_TRUE(test::eventually(
        [&] { return _server->database().state().comparator()->maxError.raw() == 1 << 29; }));
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
    control->disconnect();
}

TEST_F(ClientRoundTripTest, ClockSavingAndTheEnd)
{
    control->connect();
    control->testConnection();
    control->setSystemTime(springDay);
    ASSERT_TRUE(_log.saw("Server (FINE): System time set successfully."));
    EXPECT_EQ(_clock.tv_sec, springDaySeconds);
    control->sync();
    EXPECT_TRUE(_log.saw("Server (INFO): Config saved."));
    control->shutdown();
    EXPECT_TRUE(_server->stopRequest().wait(20000));
    EXPECT_TRUE(_server->running()) << "stopping is the main thread's";
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

/// Whether original and binarized image, frame and matchings are all of one numbered picture.
bool belongTogether(const com::StreamContents& result)
{
    const auto number = test::numberOf(result.originalImage);
    const image::Image& binary = result.binaryImage;
    return number && test::numberOf(binary) == number &&
           test::numberOf(result.frame, binary.width(), binary.height()) == number &&
           result.matchings.count() == result.frame.objectCount() &&
           result.matchings[0].position.re.toDouble() ==
               result.frame.object(0).polygon().position().re.toDouble();
}

TEST_F(ClientRoundTripTest, PartsOfAStreamBelongToOneImage)
{
    const com::StreamingSettings everything{true, true, true, true};
    std::atomic<int> streamed{0};
    std::atomic<int> torn{0};
    control->onResult([&](const ControlClient::Result& result) {
        // The sensor's own images at the beginning carry no number.
        if (result->settings == everything && test::numberOf(result->originalImage)) {
            ++streamed;
            torn += belongTogether(*result) ? 0 : 1;
        }
    });
    lab->connect();
    lab->setStreaming(everything);
    control->connect();
    control->setStreaming(everything);
    for (test::PictureNumber number = 0; number < 128 || streamed < 256; ++number) {
        const auto result = lab->analyze(test::numberedPicture(number, 640, 480, false));
        ASSERT_EQ(test::numberOf(result->originalImage), number) << "another picture's result";
        ASSERT_TRUE(belongTogether(*result)) << number;
    }
    control->disconnect();
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
