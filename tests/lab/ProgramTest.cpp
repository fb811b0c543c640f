#include "PictureFile.h"
#include "ResultJson.h"
#include "lab/Parts.h"
#include "support/Eventually.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <sstream>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace tarvik::lab {
namespace {

using testing::HasSubstr;

/// Both programs as they are shipped, on a loopback address of this test's own.
class ProgramTest : public testing::Test
{
protected:
    ProgramTest()
        : address("127." + std::to_string(201 + ::getpid() / 62500 % 50) + "." +
                  std::to_string(1 + ::getpid() / 250 % 250) + "." +
                  std::to_string(1 + ::getpid() % 250))
    {
        ::setenv("OCAMERA_FPS", "100", 1);
        image::Image flag = test::emptyPicture();
        test::drawFlag(flag, {300, 230, 40});
        writePng(folder / "flag.png", flag);
        image::Image disc = test::emptyPicture();
        test::drawDisc(disc, {});
        writePng(folder / "disc.png", disc);
        writePng(folder / "small.png", test::emptyPicture(320, 240));
    }

    ~ProgramTest() override
    {
        if (server > 0) {
            ::kill(server, SIGKILL);
            ::waitpid(server, nullptr, 0);
        }
    }

    void startServer()
    {
        std::string program = TARVIK_SERVER;
        std::string bind = "--bind=" + address;
        std::string directory = "--directory=" + folder.path().string();
        char* argv[] = {program.data(), bind.data(), directory.data(), nullptr};
        posix_spawn_file_actions_t actions{};
        ::posix_spawn_file_actions_init(&actions);
        const std::string log = folder / "server.log";
        ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT,
                                           0600);
        ASSERT_EQ(::posix_spawn(&server, program.c_str(), &actions, nullptr, argv, environ), 0);
        ::posix_spawn_file_actions_destroy(&actions);
        ASSERT_TRUE(test::eventually([&] {
            return test::readFile(log).find("TarvikLab server started.") != std::string::npos;
        }));
    }

    /// Runs tarvik-lab; its exit status. Output and errors are then in `out` and `err`.
    int lab(const std::string& arguments, bool withHost = true)
    {
        const std::string command = std::string(TARVIK_LAB) + " " + arguments +
                                    (withHost ? " --host " + address : "") + " > " +
                                    (folder / "out") + " 2> " + (folder / "err");
        const int status = std::system(command.c_str()); // NOLINT: our own words
        out = test::readFile(folder / "out");
        err = test::readFile(folder / "err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    test::TemporaryFolder folder;
    std::string address;
    pid_t server = -1;
    std::string out;
    std::string err;
};

TEST_F(ProgramTest, RunRecognisesComparesAndDraws)
{
    const std::string pictures = (folder / "disc.png") + " " + (folder / "flag.png");
    ASSERT_EQ(lab("teach --file " + (folder / "config.xml") + " 1:" + (folder / "flag.png") +
                      " 2:" + (folder / "disc.png"),
                  false),
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
    int status = -1;
    EXPECT_TRUE(test::eventually([&] { return ::waitpid(server, &status, WNOHANG) == server; }));
    server = -1;
    EXPECT_EQ(status, 0);
    EXPECT_THAT(test::readFile(folder / "config.xml"), HasSubstr("<ID>5</ID>"));
    EXPECT_EQ(lab("watch --once"), 1);
    EXPECT_THAT(err, HasSubstr("Is tarvik-server running there?"));
}

} // namespace
} // namespace tarvik::lab
