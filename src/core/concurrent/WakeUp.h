#pragma once

namespace tarvik::concurrent {

/// A flag that a thread can sleep on, alone or together with sockets: what makes every blocking
/// wait endable.
///
/// Threads: every operation from any thread; set() from a signal handler as well.
class WakeUp
{
public:
    /// Throws Exception when the system has no descriptor left.
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Ends every wait, now and later, until clear().
    void set() noexcept;
    void clear() noexcept;

    [[nodiscard]] bool isSet() const noexcept { return wait(0); }

    /// Sleeps at most timeoutMs milliseconds, for ever when negative; true as soon as the flag is
    /// set.
    [[nodiscard]] bool wait(int timeoutMs) const noexcept;

    /// Readable (POLLIN) while the flag is set; for poll() beside a socket.
    [[nodiscard]] int descriptor() const noexcept { return _descriptor; }

private:
    int _descriptor = -1;
};

} // namespace tarvik::concurrent
