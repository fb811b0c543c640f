#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>

namespace OCamera::simulated {

/// Decides when the sensor takes its next image: at a steady rate, or at a pulse.
///
/// All waiting is one ppoll() on the clock, the trigger pipe and an event descriptor by which any
/// thread ends it.
///
/// Threads: one at a time, except for cancel() and resume(), which any thread may call.
class Shutter
{
public:
    /// Throws std::system_error when the process has no descriptor left.
    Shutter();
    Shutter(const Shutter&) = delete;
    Shutter& operator=(const Shutter&) = delete;
    Shutter(Shutter&&) = delete;
    Shutter& operator=(Shutter&&) = delete;
    ~Shutter();

    /// 0: no pause between images.
    void setRate(int framesPerSecond);

    /// Opens the named pipe whose bytes are pulses, so that writers may come and go. On failure
    /// says on standard error what to do; then no pulse ever comes. An empty path closes.
    void connectTrigger(const std::filesystem::path& pipe);

    /// Forgets the pulses that have come and were not waited for.
    void dropPulses() const;

    /// Waits until the steady rate allows the next image. 0, -ETIME or -EINTR.
    [[nodiscard]] int waitForRate(std::chrono::microseconds timeout);

    /// Waits for a pulse and takes it. 0, -ETIME or -EINTR.
    [[nodiscard]] int waitForPulse(std::chrono::microseconds timeout);

    void cancel() const;
    void resume() const;

private:
    using Clock = std::chrono::steady_clock;

    /// Waits for cancellation, for the descriptor (-1: none) or for the time. Returns what came.
    enum class Woken
    {
        Cancelled,
        Readable,
        TimeUp,
    };
    [[nodiscard]] Woken waitUntil(Clock::time_point time, int descriptor) const;

    int _cancelled = -1; ///< event descriptor; readable while waits are to end
    int _pulses = -1;    ///< the pipe
    Clock::duration _period{};
    Clock::time_point _due{}; ///< of the next image at the steady rate
};

} // namespace OCamera::simulated
