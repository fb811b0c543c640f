#pragma once

#include "core/concurrent/WakeUp.h"

namespace tarvik::lab {

/// From its construction on, Ctrl-C and SIGTERM ask the program to end cleanly; the second one ends
/// it at once. One at a time.
class Interrupt
{
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    [[nodiscard]] bool requested() const { return _wakeUp.isSet(); }

    /// Waits at most this long; true when the end is asked for.
    [[nodiscard]] bool wait(int timeoutMs) const { return _wakeUp.wait(timeoutMs); }

private:
    concurrent::WakeUp _wakeUp;
};

} // namespace tarvik::lab
