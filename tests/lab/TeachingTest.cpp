#include "teaching/Teaching.h"

#include "analysis/Frame.h"
#include "database/Database.h"
#include "database/Matching.h"
#include "lab/Parts.h"
#include "support/Thrown.h"
#include "teaching/PictureAnalysis.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace tarvik::teaching {
namespace {

using database::DatabaseState;
using test::Pose;
using testing::HasSubstr;

constexpr PictureSize SIZE{640, 480};

class TeachingTest : public testing::Test
{
protected:
    const analysis::Frame& flagAt(const Pose& pose)
    {
        image::Image picture = test::flagPicture(pose);
        return analysis.analyze(picture);
    }

    PictureAnalysis analysis{{}, {}};
    DatabaseState state;
};

TEST_F(TeachingTest, TaughtPartIsRecognisedTurnedAtItsGripPoint)
{
    const PixelPoint hole{365, 210};
    teach(state, flagAt({}), {7, false, hole, {}, 30}, SIZE);
    database::Database database;
    database.setState(state);

    for (const double degrees : {0.0, 90.0, 200.0}) {
        SCOPED_TRACE(degrees);
        const double a = degrees * std::numbers::pi / 180;
        const Pose pose{250, 260, degrees};
        database::Matching matching;
        ASSERT_TRUE(database.findTemplate(matching, singleObject(flagAt(pose), SIZE)));
        EXPECT_EQ(matching.templateID, 7);
        const PixelPoint grip =
            toPixels(matching.position.re.toDouble(), matching.position.im.toDouble(), SIZE);
        EXPECT_NEAR(grip.x, pose.x + 45 * std::cos(a) + 30 * std::sin(a), 2.5);
        EXPECT_NEAR(grip.y, pose.y + 45 * std::sin(a) - 30 * std::cos(a), 2.5);
    }
}

TEST_F(TeachingTest, RotationIsAddedToWhatIsReported)
{
    const auto reported = [this](std::optional<double> rotation) {
        DatabaseState taught;
        const auto& frame = flagAt({});
        teach(taught, frame, {{}, false, {}, {}, rotation}, SIZE);
        database::Database database;
        database.setState(taught);
        database::Matching matching;
        EXPECT_TRUE(database.findTemplate(matching, frame.object(0)));
        return matching.rotation.toDouble() * 180 / std::numbers::pi;
    };
    EXPECT_NEAR(reported(40) - reported({}), 40, 0.1);
}

TEST_F(TeachingTest, RefusesPicturesOfAnythingButOneWholePart)
{
    struct Case
    {
        const char* what;
        std::vector<Pose> discs;
        const char* refusal;
    };

    const Case cases[] = {
        {"nothing there", {}, "No object was found."},
        {"two parts", {{200, 200}, {400, 300}}, "2 objects were found, at (200, 200), (400, 300)"},
        {"cut off by the border", {{45, 240}}, "reaches into the clipping frame"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        image::Image picture = test::emptyPicture();
        for (const Pose& pose : c.discs) {
            test::drawDisc(picture, pose);
        }
        const auto& frame = analysis.analyze(picture);
        EXPECT_THAT(test::thrown<TeachingException>([&] { teach(state, frame, {}, SIZE); }),
                    HasSubstr(c.refusal));
        EXPECT_EQ(state.numTemplates(), 0);
    }
}

TEST_F(TeachingTest, RefusesLessonsThatATemplateCannotHold)
{
    struct Case
    {
        const char* what;
        Lesson lesson; ///< id, replace, grip, height, rotation
        const char* refusal;
    };

    constexpr double NO_NUMBER = std::numeric_limits<double>::quiet_NaN();
    const Lesson taken{5, false, {}, {}, {}};
    const Case cases[] = {
        {"results carry 16 bits", {32768, false, {}, {}, {}}, "outside 0 to 32767"},
        {"-1 means nothing recognised", {-1, false, {}, {}, {}}, "outside 0 to 32767"},
        {"taken", taken, "id 5 is taken. Choose another one (the next free one is 6)"},
        {"grip far away", {{}, false, PixelPoint{2000, 240}, {}, {}}, "grip point"},
        {"height not a number", {{}, false, {}, NO_NUMBER, {}}, "The height is nan"},
        {"height too large", {{}, false, {}, 70000, {}}, "The height is 70000"},
        {"rotation", {{}, false, {}, {}, 361}, "between -360 and 360"},
    };
    const auto& frame = flagAt({});
    teach(state, frame, taken, SIZE);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_THAT(test::thrown<TeachingException>([&] { teach(state, frame, c.lesson, SIZE); }),
                    HasSubstr(c.refusal));
        EXPECT_EQ(state.numTemplates(), 1);
    }
}

TEST_F(TeachingTest, FullDatabaseTakesReplacementsOnly)
{
    const auto& frame = flagAt({});
    while (state.numTemplates() < 31) {
        EXPECT_FALSE(teach(state, frame, {}, SIZE).replaced);
    }
    EXPECT_EQ(test::thrown<TeachingException>([&] { teach(state, frame, {}, SIZE); }),
              "The database is full: it holds 31 templates. Replace one of them instead.");

    const Lesson again{12, true, {}, 4, {}};
    EXPECT_TRUE(teach(state, frame, again, SIZE).replaced);
    EXPECT_EQ(state.numTemplates(), 31);
    EXPECT_EQ(state.getTemplate(12)->height.toDouble(), 4);
}

} // namespace
} // namespace tarvik::teaching
