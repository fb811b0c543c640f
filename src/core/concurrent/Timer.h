#pragma once

#include <cstdint>

namespace tarvik::concurrent {

/// A stopwatch on the monotonic clock, so that setting the wall clock does not disturb it.
class Timer
{
public:
    void start();

    /// Microseconds since start(); 0 for a null timer.
    [[nodiscard]] std::int64_t timeElapsed() const;

    /// Never started, or reset.
    [[nodiscard]] bool isNull() const { return _startUs == NEVER; }

    void reset() { _startUs = NEVER; }

private:
    static constexpr std::int64_t NEVER = INT64_MIN;

    /// Monotonic microseconds at start().
    std::int64_t _startUs = NEVER;
};

} // namespace tarvik::concurrent
