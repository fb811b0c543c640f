#include "core/Exception.h"
#include "core/logging/LogManager.h"
#include "core/logging/Logging.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace tarvik;
using namespace tarvik::logging;
using namespace tarvik::test;

namespace {

void write(Log& log, const std::string& message, std::int32_t priority = 1)
{
    log.log(std::make_unique<LogEntry>(LogEntry{{}, priority, message}).release());
}

class Watcher : public util::Listener<LogEvent>
{
public:
    explicit Watcher(LogManager& manager) : _manager(manager) { _manager.addListener(this); }

    ~Watcher() override { _manager.removeListener(this); }

    void onEvent(LogEvent& event) override
    {
        seen.push_back(*event.logName + "[" + std::to_string(event.logIndex) +
                       "]: " + event.entry->message);
        if (then) {
            then();
        }
    }

    std::vector<std::string> seen;
    std::function<void()> then;

private:
    LogManager& _manager;
};

/// A manager that does not print.
class QuietManager : public LogManager
{
public:
    QuietManager() { setConfig({.logToConsole = false}); }
};

class Component : public Logging
{
public:
    Component() : Logging("Component under test") {}

    void work() const { log(LogLevel::Warning, "too hot"); }
};

} // namespace

TEST(Log, KeepsItsLast512Entries)
{
    QuietManager manager;
    Log& log = *manager.getLog("Server");
    for (int made = 0; made <= 1100; ++made) {
        const int kept = std::min(made, 512);
        if (made == 0 || made == 511 || made == 512 || made == 513 || made == 1100) {
            SCOPED_TRACE(made);
            ASSERT_EQ(log.entryCount(), kept);
            if (kept > 0) {
                EXPECT_EQ(log.getEntry(0).message, std::to_string(made - kept));
                EXPECT_EQ(log.getEntry(kept - 1).message, std::to_string(made - 1));
                EXPECT_EQ(log.entries().front().message, log.getEntry(0).message);
                EXPECT_EQ(log.entries().size(), static_cast<std::size_t>(kept));
            }
            for (const int index : {-1, kept}) {
                EXPECT_EQ(thrown<Exception>([&] { (void)log.getEntry(index); }),
                          "Invalid log entry index.");
            }
        }
        write(log, std::to_string(made));
    }
    log.clearLog();
    EXPECT_EQ(log.entryCount(), 0);
    log.log(nullptr);
    EXPECT_EQ(log.entryCount(), 0);
}

TEST(Log, EchoesToTheConsoleWhenConfigured)
{
    LogManager manager;
    Log& log = *manager.getLog("Server");
    testing::internal::CaptureStdout();
    write(log, "Config saved.", 1);
    write(log, "100%s", 7);
    write(log, "below", -1);
    manager.setConfig({.logToConsole = false});
    write(log, "unseen", 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Server (INFO): Config saved.\n"
                                                      "Server (UNKNOWN): 100%s\n"
                                                      "Server (UNKNOWN): below\n");
    EXPECT_STREQ(levelName(0), "FINE");
    EXPECT_STREQ(levelName(2), "WARNING");
    EXPECT_STREQ(levelName(3), "FATAL");
    EXPECT_STREQ(levelName(4), "UNKNOWN");
}

TEST(Log, TellsListenersAlsoOnesThatLogThemselves)
{
    QuietManager manager;
    Log& log = *manager.getLog("Server");
    Watcher watcher(manager);
    watcher.then = [&] {
        if (watcher.seen.size() < 2) {
            write(log, "nested");
        }
    };
    write(log, "first");
    EXPECT_EQ(watcher.seen, (std::vector<std::string>{"Server[0]: first", "Server[0]: nested"}));
    EXPECT_EQ(log.entryCount(), 2);
}

TEST(Log, AListenerThatWaitsKeepsNobodyElseFromLogging)
{
    QuietManager manager;
    Log& log = *manager.getLog("Server");
    Watcher watcher(manager);
    watcher.then = [&] {
        watcher.then = nullptr;
        std::thread other([&] { EXPECT_EQ(log.entryCount(), 1); });
        other.join(); // would wait for ever if this thread held the log's mutex
    };
    write(log, "first");
}

TEST(Log, SurvivesEntriesFromManyThreads)
{
    QuietManager manager;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&manager, t] {
            Log& log = *manager.getLog(t % 2 == 0 ? "even" : "odd");
            for (int i = 0; i < 300; ++i) {
                write(log, "entry");
            }
            (void)manager.snapshot();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(manager.snapshot().logs.size(), 2U);
    EXPECT_EQ(manager.getLog("even")->entryCount(), 512);
}

TEST(Logging, SurvivesAListenerThatFails)
{
    LogManager& manager = LogManager::globalInstance();
    manager.setConfig({.logToConsole = false});
    Watcher watcher(manager);
    watcher.then = [] { throw Exception("expected in this test"); };
    const Component component;
    EXPECT_NO_THROW(component.work());
}
