#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

namespace tarvik::soak {

using Clock = std::chrono::steady_clock;

/// What everybody who takes part shares: when it ends, what has been counted, what has gone wrong,
/// and when the camera was being disturbed, so that an image may be late or lost.
///
/// Threads: any.
class Score
{
public:
    /// `patience` multiplies every time limit: more than 1 for builds that are slow on purpose.
    explicit Score(int patience) : _patience(patience) {}

    [[nodiscard]] std::chrono::milliseconds limit(std::chrono::milliseconds time) const
    {
        return time * _patience;
    }

    /// Waits; false when it is time to end.
    [[nodiscard]] bool pause(Clock::duration time)
    {
        std::unique_lock lock(_mutex);
        return !_changed.wait_for(lock, time, [this] { return _ended; });
    }

    [[nodiscard]] bool goesOn() { return pause({}); }

    /// Waits for the condition; false when it does not come true in this time.
    template <class Condition>
    [[nodiscard]] bool waitFor(Clock::duration time, Condition condition)
    {
        const Clock::time_point end = Clock::now() + time;
        while (!condition()) {
            if (Clock::now() > end || !pause(std::chrono::milliseconds(2))) {
                return condition();
            }
        }
        return true;
    }

    /// Lets the loads run again after an end.
    void begin()
    {
        const std::scoped_lock lock(_mutex);
        _ended = false;
    }

    void end()
    {
        const std::scoped_lock lock(_mutex);
        _ended = true;
        _changed.notify_all();
    }

    /// Reports what must not happen.
    void fail(const std::string& what);

    /// Reports what has gone wrong since then, unless that is a disturbance's doing.
    void failUnlessDisturbed(Clock::time_point since, const std::string& what)
    {
        if (disturbedSince(since)) {
            ++excused;
        } else {
            fail(what);
        }
    }

    [[nodiscard]] int failures() const { return _failures; }

    /// Adds 1 when one begins, -1 when it ends.
    void countDisturbance(int change)
    {
        const std::scoped_lock lock(_mutex);
        _disturbances += change;
        _lastDisturbance = Clock::now();
    }

    [[nodiscard]] bool disturbedSince(Clock::time_point time) const
    {
        const std::scoped_lock lock(_mutex);
        return _disturbances > 0 || _lastDisturbance > time;
    }

    std::atomic<long> numberedImages{0}; ///< of the test client, each with its own result
    std::atomic<long> streamedImages{0}; ///< results that the control client got
    std::atomic<long> datagrams{0};
    std::atomic<long> requests{0}; ///< answered
    std::atomic<long> logEntries{0};
    std::atomic<long> reconnects{0};
    std::atomic<long> resets{0};
    std::atomic<long> modelChanges{0};
    std::atomic<long> faults{0}; ///< survived
    std::atomic<long> clockJumps{0};
    std::atomic<long> excused{0};
    std::atomic<long> longestRecoveryMs{0};

private:
    const int _patience;
    const Clock::time_point _start = Clock::now();
    std::atomic<int> _failures{0};
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    bool _ended = false;
    int _disturbances = 0;
    Clock::time_point _lastDisturbance{};
};

/// For as long as this lives, images may be late or lost.
class Disturbance
{
public:
    explicit Disturbance(Score& score) : _score(score) { _score.countDisturbance(1); }

    Disturbance(const Disturbance&) = delete;
    Disturbance& operator=(const Disturbance&) = delete;

    ~Disturbance() { _score.countDisturbance(-1); }

private:
    Score& _score;
};

} // namespace tarvik::soak
