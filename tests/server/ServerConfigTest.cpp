#include "ServerFixture.h"
#include "core/sys/DateTime.h"
#include "server/GeneralConfig.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace tarvik::com::server {
namespace {

using test::readFile;
using test::writeFile;

class ServerConfigTest : public test::ServerFixture
{};

TEST_F(ServerConfigTest, StartsWithDefaultsWithoutAFileAndCreatesItOnTheFirstSave)
{
    _server = std::make_unique<Server>(_options);
    _server->telnet().setConfig({.port = 0, .timeout = 0});
    _server->start();
    EXPECT_EQ(_log.count("Server (FATAL): Couldn't load configuration. Couldn't open file."), 1U);
    EXPECT_EQ(_log.count("Server (WARNING): Using default configuration."), 1U);
    EXPECT_TRUE(_server->camera().isOpen());
    _server->saveConfig();
    EXPECT_EQ(_log.count("Server (INFO): Config saved."), 1U);
    EXPECT_EQ(_folder.fileCount(), 1U) << "config.xml and nothing beside it";
}

TEST_F(ServerConfigTest, KeepsEverySettingOverARestart)
{
    Server& first = start();
    database::Template taught;
    taught.id = 5;
    ASSERT_TRUE(first.database().addTemplate(taught));
    analysis::AnalyzerConfiguration analyzer;
    analyzer.allowNestedObjects = true;
    first.analyzer().setConfig(analyzer);
    breakup::BreakupConfiguration breakup;
    breakup.setBreakupEnabled(true);
    first.divider().setConfig(breakup);
    first.udpSender().setConfig({.autoDistribute = true, .destinationPort = 1234});
    first.saveConfig();
    const std::string saved = readFile(configPath());
    stop();

    Server& second = start();
    EXPECT_EQ(_log.count("Server (FINE): Config loaded."), 2U);
    EXPECT_EQ(second.database().numTemplates(), 1);
    EXPECT_TRUE(second.analyzer().config().allowNestedObjects);
    EXPECT_TRUE(second.divider().config().breakupEnabled());
    EXPECT_EQ(second.udpSender().config().destinationPort, 1234);
    second.saveConfig();
    EXPECT_EQ(readFile(configPath()), saved);
}

TEST_F(ServerConfigTest, RefusesBrokenFilesAndLosesNothing)
{
    struct BrokenCase
    {
        const char* what;
        std::string file;
        std::string reason; ///< what the log must name
    };

    const BrokenCase cases[] = {
        {"empty", "", ""},
        {"cut off", defaultConfig().substr(0, 2000), ""},
        {"wrong root content", "<?xml version=\"1.0\" ?><Data><Other/></Data>",
         "Invalid element. Expected: <Tarvik> Found: <Other>."},
        {"a missing element", configWith("<Server>", "<RequestSysTime>1</RequestSysTime>", ""),
         "Element <RequestSysTime> not found inside <Server>."},
        {"a port that fits no port", configWith("<UDPSender>", ">7455<", ">70000<"),
         "DestinationPort"},
        {"an unknown camera", configWith("<Camera>", "R1C Grayscale (640x480)", "Polaroid"),
         "Polaroid"},
        {"more templates than fit",
         configWith("<Database>", "<TemplateCount>0<", "<TemplateCount>33<"), "TemplateCount"},
        {"templates that are not there",
         configWith("<Database>", "<TemplateCount>0<", "<TemplateCount>1<"), "Template"},
    };
    for (const BrokenCase& c : cases) {
        SCOPED_TRACE(c.what);
        const test::TemporaryFolder folder;
        _options.directory = folder.path().string();
        writeFile(folder / "config.xml", c.file);
        _log.clear();
        Server server(_options);
        server.telnet().setConfig({.port = 0, .timeout = 0});
        server.start();
        const std::vector<std::string> lines = _log.lines("Server");
        ASSERT_GE(lines.size(), 3U);
        EXPECT_TRUE(lines[1].starts_with("Server (FATAL): Couldn't load configuration. "));
        EXPECT_NE(lines[1].find(c.reason), std::string::npos) << lines[1];
        EXPECT_EQ(lines[2], "Server (WARNING): Using default configuration.");
        EXPECT_TRUE(server.camera().isOpen());
        EXPECT_EQ(readFile(folder / "config.xml"), c.file) << "untouched";
        EXPECT_TRUE(test::eventually([&] { return server.telnet().localPort() != 0; }));

        server.saveConfig();
        EXPECT_EQ(readFile(folder / "config.xml.bad"), c.file) << "kept";
        server.saveConfig();
        EXPECT_EQ(folder.fileCount(), 2U) << "once";
        server.stop();
    }
}

TEST_F(ServerConfigTest, KeepsWhatComesBeforeAFailure)
{
    writeFile(configPath(), configWith("<UDPSender>", ">7455<", ">4711<"));
    std::string config = readFile(configPath());
    const std::string size = ">0.047302<";
    writeFile(configPath(), config.replace(config.find(size), size.size(), ">small<"));
    EXPECT_EQ(start().udpSender().config().destinationPort, 4711);
    EXPECT_EQ(_server->analyzer().config(), analysis::AnalyzerConfiguration());
}

TEST_F(ServerConfigTest, LoadsTheTemplatesThoughTheCameraFails)
{
    Server& first = start();
    ASSERT_TRUE(first.database().addTemplate({}));
    first.saveConfig();
    stop();

    using namespace OCamera::simulated;
    failCall(Operation::Open, 1, EIO, Repeat::UntilCleared);
    Server& second = start();
    EXPECT_FALSE(second.camera().isOpen());
    EXPECT_EQ(second.database().numTemplates(), 1);
    EXPECT_EQ(_log.count("Server (WARNING): Using default configuration."), 1U);

    // The sensor answers again when somebody wants to talk about it.
    resetSimulation();
    const auto peer = desk();
    EXPECT_TRUE(second.camera().isOpen());
}

TEST_F(ServerConfigTest, ReportsAFileThatCannotBeWritten)
{
    start();
    std::filesystem::remove(configPath());
    std::filesystem::create_directory(configPath());
    _server->saveConfig();
    EXPECT_EQ(_log.count("Server (WARNING): Couldn't save configuration. Couldn't save file."), 1U);
}

TEST_F(ServerConfigTest, SavesByItselfOnlyWhenTouchedAndDue)
{
    struct DueCase
    {
        const char* what;
        std::uint32_t interval;
        std::int64_t seconds;
        bool due;
    };

    constexpr DueCase cases[] = {
        {"whole minutes count", 3, 179, false},
        {"the third is over", 3, 180, true},
        {"long ago", 3, 100'000, true},
        {"off", 0, 100'000, false},
        {"the longest interval", 0xFFFFFFFF, 100'000, false},
    };
    for (const DueCase& c : cases) {
        SCOPED_TRACE(c.what);
        const GeneralConfig config{.autoSaveInterval = c.interval, .requestSysTime = true};
        EXPECT_EQ(config.autoSaveDue(c.seconds * 1'000'000), c.due);
    }

    start();
    desk()->sendHex("D0 48 0F 04"); // TestConnection touches it
    ASSERT_TRUE(_log.saw("Server (FINE): Disconnected from TarvikDesk."));
    _log.clear();
    ConnectionTester::Tick tick;
    _server->onEvent(tick); // not due
    EXPECT_EQ(_log.count("Server (INFO): Config saved."), 0U);
}

TEST_F(ServerConfigTest, SetsTheClockAndSaysHowItWent)
{
    struct ClockCase
    {
        const char* what;
        sys::DateTime time;
        int error;
        const char* outcome;
    };

    const sys::DateTime noon{250, 30, 15, 12, 24, 12, 2011, true};
    const sys::DateTime tooLate{1000, 30, 15, 12, 24, 12, 2011, false};
    const ClockCase cases[] = {
        {"fine", noon, 0, "Server (FINE): System time set successfully."},
        {"not root", noon, EPERM,
         "Server (WARNING): System time could no be set: permission denied."},
        {"refused", noon, EINVAL, "Server (WARNING): System time could not be set: invalid time."},
        {"other", noon, ENOSYS, "Server (WARNING): System time could not be set: invalid time."},
        {"no such millisecond", tooLate, 0,
         "Server (WARNING): System time could not be set: invalid time."},
    };
    start();
    for (const ClockCase& c : cases) {
        SCOPED_TRACE(c.what);
        _log.clear();
        _clockError = c.error;
        _server->setSysTime(c.time);
        EXPECT_EQ(_log.lines("Server"),
                  (std::vector<std::string>{"Server (FINE): Received system time from TarvikDesk.",
                                            "Server (FINE): Trying to set new system time...",
                                            c.outcome}));
    }
    EXPECT_EQ(_clock.tv_usec, 250'000);
    EXPECT_EQ(_clock.tv_sec, *noon.toEpochSeconds());
}

TEST_F(ServerConfigTest, LeavesTheClockAloneWhenConfigured)
{
    writeFile(configPath(), configWith("<Server>", "<RequestSysTime>1", "<RequestSysTime>0"));
    start();
    _log.clear();
    _server->setSysTime({});
    EXPECT_EQ(_log.lines("Server"),
              (std::vector<std::string>{"Server (FINE): Received system time from TarvikDesk.",
                                        "Server (FINE): Ignoring system time from TarvikDesk."}));
    EXPECT_EQ(_clock.tv_sec, 0);
}

} // namespace
} // namespace tarvik::com::server
