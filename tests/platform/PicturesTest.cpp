#include "ocamera/simulated/Settings.h"
#include "platform/Bench.h"

#include <gmock/gmock.h>

#include <cerrno>

using namespace OCamera;
using tarvik::test::writeFile;
using testing::HasSubstr;
using Picture = std::vector<std::uint8_t>;

class ScenePictures : public CameraBench
{
protected:
    /// Opens a camera and returns what it said on standard error.
    static std::string complaint(int expected)
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(made()->Open(PIXELS * 4), expected);
        return testing::internal::GetCapturedStderr();
    }
};

TEST_F(ScenePictures, PlayInTheOrderOfTheirNamesAndStartOver)
{
    writeUniform("b.pgm", {20});
    writeUniform("c.PGM", {30});
    writeUniform("a.ppm", {10, 10, 10});
    writeFile(_folder / "a-note.txt", "no picture");
    set("OCAMERA_SCENE", _folder.path());
    const auto camera = running();
    for (const int grey : {10, 20, 30, 10, 20}) {
        EXPECT_EQ(fetched(*camera), Picture(PIXELS, static_cast<std::uint8_t>(grey)));
    }
    EXPECT_EQ(camera->Close(), 0);
    EXPECT_EQ(camera->Open(PIXELS), 0);
    EXPECT_EQ(camera->SetAcquisitionMode(ACQ_MODE_SINGLE_SHOT), 0);
    EXPECT_EQ(fetched(*camera).at(0), 10) << "opened again, they start again";
}

TEST_F(ScenePictures, MoreThanAreKeptInMemoryPlayAsWell)
{
    for (int i = 0; i < 70; ++i) {
        writeUniform(std::to_string(100 + i) + ".pgm", {static_cast<std::uint8_t>(i)});
    }
    set("OCAMERA_SCENE", _folder.path());
    const auto camera = running();
    for (int i = 0; i < 142; ++i) {
        ASSERT_EQ(fetched(*camera).at(5), i % 70);
    }
}

TEST_F(ScenePictures, AreUntouchedAtTheSensorsSizeAndScaledOtherwise)
{
    Picture exact(PIXELS);
    for (std::size_t i = 0; i < PIXELS; ++i) {
        exact[i] = static_cast<std::uint8_t>(i * 7 % 251);
    }
    set("OCAMERA_SCENE", writePicture("exact.pgm", 640, 480, 1, exact));
    EXPECT_EQ(fetched(*running()), exact);

    for (const auto& [width, height] : {std::pair(160, 120), std::pair(1280, 960)}) {
        SCOPED_TRACE(width);
        Picture halves; // black on the left, white on the right
        for (int i = 0; i < width * height; ++i) {
            halves.push_back(i % width < width / 2 ? 0 : 255);
        }
        set("OCAMERA_SCENE", writePicture("halves.pgm", width, height, 1, halves));
        const Picture picture = fetched(*running());
        ASSERT_EQ(picture.size(), PIXELS);
        EXPECT_EQ(picture[240 * 640], 0);
        EXPECT_LT(picture[240 * 640 + 310], 64);
        EXPECT_GT(picture[240 * 640 + 330], 192);
        EXPECT_EQ(picture[240 * 640 + 639], 255);
    }
}

TEST_F(ScenePictures, ThatCannotBeReadLookLikeAMissingSensorAndSaySo)
{
    set("OCAMERA_SCENE", _folder / "nowhere");
    EXPECT_THAT(complaint(-ENODEV), HasSubstr("nowhere' does not exist. Name a picture"));

    set("OCAMERA_SCENE", _folder.path());
    EXPECT_THAT(complaint(-ENODEV), HasSubstr("holds no picture"));

    struct BrokenCase
    {
        std::string content;
        std::string why;
    };

    const std::string header("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\x13\0\0\0\x0B", 24);
    const BrokenCase cases[] = {
        {"this is no picture", "(not a picture of a known kind)"},
        {header + std::string(9, '\0'), "(not a picture of a known kind)"}, // no bits per pixel
        {header + std::string("\x08\0\0\0\0\0\0\0\0\0\0\0\0IDAT\0\0\0\0", 21),
         "(its first data chunk is empty)"},
        {"P5 0 480 255\n", "(it has no pixels)"},
        {"P5 16000 16000 255\n", "(it has more than 4194304 pixels)"},
    };
    for (const BrokenCase& c : cases) {
        SCOPED_TRACE(c.why);
        writeFile(_folder / "broken.png", c.content);
        set("OCAMERA_SCENE", _folder / "broken.png");
        const std::string said = complaint(-ENODEV);
        EXPECT_THAT(said, HasSubstr("broken.png' cannot be read " + c.why));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    }
}

TEST_F(ScenePictures, ABrokenOneInTheMiddleCostsItsImageOnly)
{
    writeUniform("a.pgm", {10});
    writeFile(_folder / "b.pgm", "this is no picture");
    writeUniform("c.pgm", {30});
    set("OCAMERA_SCENE", _folder.path());
    const auto camera = running();
    testing::internal::CaptureStderr();
    FrameHandle frame;
    EXPECT_EQ(fetched(*camera).at(0), 10);
    EXPECT_EQ(camera->GetImage(&frame), -EIO);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("b.pgm' cannot be read"));
    EXPECT_EQ(fetched(*camera).at(0), 30);
}

TEST_F(ScenePictures, SettingsThatAreNoneAreNamedAndTheDefaultHolds)
{
    struct Case
    {
        const char* name;
        const char* value;
        const char* hint;
    };

    constexpr Case cases[] = {
        {"OCAMERA_FPS", "fast", "0 to 1000"},
        {"OCAMERA_FPS", "-1", "0 to 1000"},
        {"OCAMERA_FPS", "30fps", "Taking 30"},
        {"OCAMERA_SENSOR", "MT9V024", "MT9V023 or MT9V022"},
        {"OCAMERA_PARTS", "26", "1 to 25"},
        {"OCAMERA_NOISE", "1000", "0 to 40"},
        {"OCAMERA_SEED", "4294967296", "4294967295"},
        {"OCAMERA_TRIGGER", "/dev/null", "mkfifo /dev/null"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << "=" << c.value);
        set(c.name, c.value);
        const std::string said = complaint(0);
        EXPECT_THAT(said, HasSubstr(c.name));
        EXPECT_THAT(said, HasSubstr(c.value));
        EXPECT_THAT(said, HasSubstr(c.hint));
        unsetenv(c.name);
    }
}
