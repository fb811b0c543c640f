#include "core/Exception.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "core/concurrent/Timer.h"
#include "core/concurrent/WakeUp.h"
#include "support/Eventually.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

using namespace tarvik;
using namespace tarvik::concurrent;
using namespace tarvik::test;

namespace {

class Worker : public Thread
{
public:
    explicit Worker(std::function<void(Worker&)> body) : _body(std::move(body)) {}

    ~Worker() override { join(); }

    void run() override
    {
        ++runs;
        _body(*this);
    }

    std::atomic<int> runs{0};

private:
    std::function<void(Worker&)> _body;
};

} // namespace

TEST(Thread, RunsOnceAtATimeAndCanBeStartedAgain)
{
    WakeUp finish;
    Worker worker([&](Worker& /*self*/) { (void)finish.wait(-1); });
    EXPECT_FALSE(worker.isRunning());
    worker.join();
    worker.start();
    worker.start();
    EXPECT_TRUE(worker.isRunning());
    EXPECT_FALSE(worker.isCurrentThread());
    finish.set();
    worker.join();
    EXPECT_FALSE(worker.isRunning());
    EXPECT_EQ(worker.runs, 1);
    worker.start();
    EXPECT_TRUE(eventually([&] { return !worker.isRunning(); }));
    worker.start(); // over a run that has ended but was not joined
    worker.join();
    EXPECT_EQ(worker.runs, 3);
}

TEST(Thread, CannotJoinItself)
{
    std::string error;
    bool isCurrent = false;
    Worker worker([&](Worker& self) {
        isCurrent = self.isCurrentThread();
        error = thrown<Exception>([&] { self.join(); });
    });
    worker.start();
    worker.join();
    EXPECT_EQ(error, "Current thread cannot join itself.");
    EXPECT_TRUE(isCurrent);
}

TEST(Thread, KeepsAnEscapingExceptionToItself)
{
    for (const bool isStandard : {true, false}) {
        Worker worker([&](Worker& /*self*/) {
            if (isStandard) {
                throw std::runtime_error("expected in this test");
            }
            throw 42; // NOLINT(hicpp-exception-baseclass): a foreign one
        });
        worker.start();
        worker.join();
        EXPECT_FALSE(worker.isRunning());
    }
}

TEST(Thread, CanBeJoinedByTwoAtOnce)
{
    WakeUp finish;
    Worker worker([&](Worker& /*self*/) { (void)finish.wait(-1); });
    worker.start();
    auto first = inBackground([&] { worker.join(); });
    auto second = inBackground([&] { worker.join(); });
    finish.set();
    EXPECT_TRUE(endsInTime(first));
    EXPECT_TRUE(endsInTime(second));
}

TEST(WakeUp, EndsWaitsUntilItIsCleared)
{
    WakeUp wakeUp;
    EXPECT_FALSE(wakeUp.isSet());
    EXPECT_FALSE(wakeUp.wait(1));
    auto waiting = inBackground([&] { return wakeUp.wait(-1); });
    wakeUp.set();
    wakeUp.set();
    ASSERT_TRUE(endsInTime(waiting));
    EXPECT_TRUE(waiting.get());
    EXPECT_TRUE(wakeUp.wait(-1));
    wakeUp.clear();
    EXPECT_FALSE(wakeUp.isSet());
}

TEST(Mutex, IsRecursiveAndItsConditionWakesWaiters)
{
    Mutex mutex;
    Condition condition;
    bool ready = false;
    auto waiting = inBackground([&] {
        const MutexLock lock(mutex);
        condition.wait(mutex, [&] { return ready; });
        return condition.waitFor(mutex, DEADLINE, [&] { return ready; });
    });
    {
        const MutexLock outer(mutex);
        [&mutex] { const MutexLock inner(mutex); }(); // a re-entry, as from another operation
        EXPECT_FALSE(inBackground([&] { return mutex.tryLock(); }).get());
        ready = true;
        condition.notifyAll();
    }
    ASSERT_TRUE(endsInTime(waiting));
    EXPECT_TRUE(waiting.get());
    const MutexLock lock(mutex);
    EXPECT_FALSE(condition.waitFor(mutex, std::chrono::milliseconds(1), [] { return false; }));
}
