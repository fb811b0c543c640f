#include "LessonText.h"
#include "PictureFile.h"
#include "TeachOptions.h"
#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "configuration/ConfigurationFile.h"
#include "io/IOException.h"
#include "lab/Parts.h"
#include "support/TemporaryFolder.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

namespace tarvik::lab {
namespace {

using testing::HasSubstr;

class TeachFileTest : public testing::Test
{
protected:
    TeachFileTest()
    {
        writePng(folder / "flag.png", test::flagPicture());
        writePng(folder / "disc.png", test::discPicture());
        writePng(folder / "empty.png", test::emptyPicture());
        writePng(folder / "small.png", test::emptyPicture(320, 240));
        test::writeFile(folder / "text.png", "no picture");
    }

    void teach(const std::vector<std::string>& pictures)
    {
        TeachOptions options;
        options.file = config;
        options.pictures = pictures;
        testing::internal::CaptureStdout();
        try {
            teachFile(options);
        } catch (...) {
            testing::internal::GetCapturedStdout();
            throw;
        }
        output = testing::internal::GetCapturedStdout();
    }

    test::TemporaryFolder folder;
    std::string config = folder / "config.xml";
    std::string output;
};

TEST_F(TeachFileTest, MakesTheFileAndExtendsIt)
{
    teach({"7:" + (folder / "flag.png") + ",height=3", folder / "disc.png"});
    EXPECT_THAT(output, HasSubstr("template 7: outline of"));
    EXPECT_THAT(output, HasSubstr("1 hole (around"));
    EXPECT_THAT(output, HasSubstr("made, with 2 templates"));
    teach({folder / "disc.png"});

    const auto stored = configuration::load(config);
    ASSERT_EQ(stored.database.numTemplates(), 3);
    EXPECT_EQ(stored.database.getTemplate(0)->height.toDouble(), 3);
    EXPECT_EQ(stored.database.getTemplate(0)->innerContourCount(), 1);
    EXPECT_EQ(stored.database.getTemplate(1)->id, 8);
    EXPECT_EQ(stored.database.getTemplate(2)->id, 9);
}

TEST_F(TeachFileTest, FollowsModelAndInversionOfTheFile)
{
    configuration::SystemConfiguration dark;
    dark.camera.config.setImplementation(camera::CameraFactory::instance().find("R3B (752x480)"));
    dark.camera.config.triggerMode = camera::CameraConfiguration::EXTERNAL_TRIGGER;
    dark.camera.config.invert = true;
    configuration::save(dark, config);
    image::Image negative = test::flagPicture({}, 752);
    for (std::uint8_t& pixel : negative.bytes()) {
        pixel = static_cast<std::uint8_t>(255 - pixel);
    }
    writePng(folder / "negative.png", negative);
    teach({folder / "negative.png"});

    const auto stored = configuration::load(config);
    EXPECT_EQ(stored.database.numTemplates(), 1);
    EXPECT_EQ(stored.camera.config, dark.camera.config);
}

TEST_F(TeachFileTest, RefusesAndLeavesTheFileAlone)
{
    struct Case
    {
        const char* what;
        const char* picture;
        const char* refusal;
    };

    const Case cases[] = {
        {"no part", "empty.png", "empty.png: No object was found."},
        {"wrong size", "small.png",
         "The picture is 320 x 240 pixels, but camera model 'R1C Grayscale (640x480)' takes 640 x "
         "480. Use --scale"},
        {"no picture", "text.png", "Cannot read picture"},
        {"missing", "absent.png", "Cannot read picture"},
    };
    teach({folder / "flag.png"});
    const std::string before = test::readFile(config);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const auto action = [&] { teach({folder / "disc.png", folder / c.picture}); };
        EXPECT_THAT(test::thrown<Exception>(action), HasSubstr(c.refusal));
        EXPECT_EQ(test::readFile(config), before);
    }
}

TEST_F(TeachFileTest, RefusesABrokenFile)
{
    test::writeFile(config,
                    "<Data><Tarvik><Server><Interval>3</Interval></Server></Tarvik></Data>");
    EXPECT_EQ(test::thrown<io::IOException>([&] { teach({folder / "flag.png"}); }),
              "Configuration file '" + config +
                  "': Invalid element. Expected: <AutoSaveInterval> Found: <Interval>.");
}

TEST(LessonText, ReadsWhatStandsAroundAFileName)
{
    test::TemporaryFolder folder;
    const std::string odd = folder / "1:a,grip=b.png";
    test::writeFile(odd, "");

    struct Case
    {
        const char* what;
        std::string text;
        std::string file;
        std::int32_t id;
    };

    const Case cases[] = {
        {"plain", "part.png", "part.png", 3},
        {"own id", "12:part.png,height=2", "part.png", 12},
        {"no number before the colon", "c:part.png", "c:part.png", 3},
        {"a file of just this name", odd, odd, 3},
        {"options behind an odd name", "9:" + odd + ",rotation=90", odd, 9},
    };
    teaching::Lesson common;
    common.id = 3;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PictureLesson lesson = parsePictureLesson(c.text, common);
        EXPECT_EQ(lesson.file, c.file);
        EXPECT_EQ(lesson.lesson.id, c.id);
    }
    EXPECT_THAT(test::thrown<UsageException>([&] { (void)parsePictureLesson("a.png,grip=3", {}); }),
                HasSubstr("write its pixels like 320,240"));
    EXPECT_THAT(
        test::thrown<UsageException>([&] { (void)parsePictureLesson("a.png,gripp=3x4", {}); }),
        HasSubstr("Unknown option 'gripp'"));
}

} // namespace
} // namespace tarvik::lab
