#include "server/Program.h"

#include "PictureFile.h"
#include "ResultJson.h"
#include "lab/Parts.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>

namespace tarvik::lab {
namespace {

using testing::HasSubstr;

/// Both programs as they are shipped.
class ProgramTest : public testing::Test
{
protected:
    ProgramTest()
    {
        ::setenv("OCAMERA_FPS", "100", 1);
        writePng(folder / "flag.png", test::flagPicture({300, 230, 40}));
        writePng(folder / "disc.png", test::discPicture());
        writePng(folder / "small.png", test::emptyPicture(320, 240));
    }

    void startServer()
    {
        server.emplace(std::vector{std::string("--directory"), folder.path().string()});
        ASSERT_TRUE(server->says("TarvikLab server started."));
    }

    /// Runs tarvik-lab for the server, if there is one; its exit status. Output and errors are then
    /// in `out` and `err`.
    int lab(const std::string& arguments)
    {
        const std::string command = std::string(TARVIK_LAB) + " " + arguments +
                                    (server ? " --host " + server->address() : "") + " > " +
                                    (folder / "out") + " 2> " + (folder / "err");
        const int status = std::system(command.c_str()); // NOLINT: our own words
        out = test::readFile(folder / "out");
        err = test::readFile(folder / "err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    test::TemporaryFolder folder;
    std::optional<test::Program> server;
    std::string out;
    std::string err;
};

TEST_F(ProgramTest, RunRecognisesComparesAndDraws)
{
    const std::string pictures = (folder / "disc.png") + " " + (folder / "flag.png");
    ASSERT_EQ(lab("teach --file " + (folder / "config.xml") + " 1:" + (folder / "flag.png") +
                  " 2:" + (folder / "disc.png")),
              0)
        << err;
    startServer();
    ASSERT_EQ(lab("run --overlay " + (folder / "seen") + " " + pictures), 0) << err;
    std::istringstream lines(out);
    for (const int expected : {2, 1}) {
        std::string line;
        std::getline(lines, line);
        const Json result = Json::parse(line);
        ASSERT_EQ(result["objects"].size(), 1U) << line;
        EXPECT_EQ(result["objects"][0]["template"], expected);
    }
    const image::Image seen = readPicture(folder / "seen/flag.png");
    EXPECT_EQ(seen.width(), 1280);
    EXPECT_EQ(seen.channels(), 3);

    std::string expected = out;
    test::writeFile(folder / "expected", expected);
    EXPECT_EQ(lab("run --expect " + (folder / "expected") + " " + pictures), 0) << err;
    expected.replace(expected.find("\"template\":1"), 12, "\"template\":9");
    test::writeFile(folder / "expected", expected);
    EXPECT_EQ(lab("run --expect " + (folder / "expected") + " " + pictures), 3);
    EXPECT_EQ(err, "flag.png: objects/0/template: expected 9, found 1\n");
}

TEST_F(ProgramTest, RunReportsWhatTheCameraRefuses)
{
    startServer();
    test::writeFile(folder / "text.png", "no picture");
    EXPECT_EQ(lab("run " + (folder / "small.png") + " " + (folder / "text.png") + " " +
                  (folder / "disc.png")),
              1);
    EXPECT_THAT(err, HasSubstr("small.png: The camera refused the image: Image has wrong "
                               "dimension: 320x240"));
    EXPECT_THAT(err, HasSubstr("text.png: Cannot read picture"));
    EXPECT_THAT(err, HasSubstr("2 of 3 pictures have no result"));
    EXPECT_THAT(out, HasSubstr("{\"picture\":\"disc.png\""));
    EXPECT_EQ(lab("run --scale " + (folder / "small.png")), 0) << err;
}

TEST_F(ProgramTest, TeachesConfiguresWatchesAndStopsARunningCamera)
{
    startServer();
    EXPECT_EQ(lab("config set breakup.Enabled on camera.ThresholdLow 120"), 0) << err;
    EXPECT_THAT(out, HasSubstr("camera.ThresholdLow = 120"));
    ASSERT_EQ(lab("teach " + (folder / "flag.png") + " --id 5"), 0) << err;
    EXPECT_THAT(out, HasSubstr("template 5: outline of"));
    EXPECT_EQ(lab("teach " + (folder / "flag.png") + " --id 5"), 1);
    EXPECT_THAT(err, HasSubstr("Template id 5 is taken."));
    EXPECT_EQ(lab("config get breakup"), 0);
    EXPECT_THAT(out, HasSubstr("breakup.Enabled      = true")); // switched on again
    EXPECT_EQ(lab("watch --frames 3"), 0) << err;
    EXPECT_EQ(std::ranges::count(out, '\n'), 3);
    EXPECT_EQ(lab("log"), 0);
    EXPECT_THAT(out, HasSubstr("Server: Starting Tarvik Server..."));
    EXPECT_EQ(lab("shutdown"), 0) << err;
    EXPECT_EQ(server->exitStatus(), 0);
    EXPECT_THAT(test::readFile(folder / "config.xml"), HasSubstr("<ID>5</ID>"));
    EXPECT_EQ(lab("watch --once"), 1);
    EXPECT_THAT(err, HasSubstr("Is tarvik-server running there?"));
}

} // namespace
} // namespace tarvik::lab
