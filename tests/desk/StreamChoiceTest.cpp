#include "StreamChoice.h"

#include <gtest/gtest.h>

#include <deque>

namespace tarvik::desk {
namespace {

using Clock = StreamChoice::Clock;
using com::StreamingSettings;

/// A camera that follows a wish with the second image after it, as the server does.
struct Camera
{
    StreamChoice choice;
    StreamingSettings settings;
    std::deque<StreamingSettings> underWay{{}, {}};
    Clock::time_point now{std::chrono::hours(1)};
    int pictures = 0;
    int shown = 0;
    int wishes = 0;

    void begin(PictureWish wish) { settings = choice.start(wish); }

    void run(int images, std::chrono::microseconds interval, PictureWish wish)
    {
        pictures = shown = wishes = 0;
        for (int i = 0; i < images; ++i) {
            now += interval;
            underWay.push_back(settings);
            const StreamingSettings arrived = underWay.front();
            underWay.pop_front();
            EXPECT_TRUE(arrived.matchings || i < 3) << "results are counted without a gap";
            pictures += arrived.originalImage ? 1 : 0;
            shown += choice.shows(arrived) ? 1 : 0;
            if (const auto next = choice.next(arrived, wish, now)) {
                settings = *next;
                ++wishes;
            }
        }
    }
};

constexpr PictureWish LOOKING{.original = true, .binary = false};

TEST(StreamChoice, ShowsEveryImageOfACameraAsQuickAsPeopleLook)
{
    Camera camera;
    camera.begin(LOOKING);
    camera.run(300, std::chrono::milliseconds(33), LOOKING);
    EXPECT_GE(camera.shown, 297);
    EXPECT_GE(camera.pictures, 297);
    EXPECT_EQ(camera.wishes, 0);
}

TEST(StreamChoice, SamplesAQuickCameraSomeThirtyTimesASecond)
{
    Camera camera;
    camera.begin(LOOKING);
    camera.run(2000, std::chrono::microseconds(500), LOOKING); // it learns the pace
    camera.run(4000, std::chrono::microseconds(500), LOOKING); // two seconds
    const int samples = camera.wishes / 2;
    EXPECT_GT(samples, 50);
    EXPECT_LT(samples, 70);
    EXPECT_LT(camera.pictures, 4 * samples) << "of each sample only the images already under way";
}

TEST(StreamChoice, AsksForNoPicturesWhenNobodyLooks)
{
    Camera camera;
    camera.begin(LOOKING);
    camera.run(30, std::chrono::milliseconds(33), LOOKING);
    camera.run(10, std::chrono::milliseconds(33), {});
    camera.run(30, std::chrono::milliseconds(33), {});
    EXPECT_EQ(camera.pictures, 0);
    EXPECT_EQ(camera.shown, 30);
    EXPECT_EQ(camera.wishes, 0);
}

TEST(StreamChoice, AsksAgainWhenAWishGotLost)
{
    Camera camera;
    camera.begin(LOOKING);
    camera.settings = {.frame = true, .matchings = true}; // another one has overtaken it
    camera.run(100, std::chrono::milliseconds(33), LOOKING);
    EXPECT_EQ(camera.wishes, 1);
    EXPECT_GT(camera.pictures, 60);
}

} // namespace
} // namespace tarvik::desk
