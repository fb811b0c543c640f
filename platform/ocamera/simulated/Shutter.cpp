#include "ocamera/simulated/Shutter.h"

#include "ocamera/simulated/NamedPipe.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>

namespace OCamera::simulated {

Shutter::Shutter() : _cancelled(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (_cancelled < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

Shutter::~Shutter()
{
    connectTrigger({});
    close(_cancelled);
}

void Shutter::setRate(int framesPerSecond)
{
    _period = framesPerSecond == 0 ? Clock::duration{}
                                   : Clock::duration(std::chrono::seconds(1)) / framesPerSecond;
    _due = {};
}

void Shutter::connectTrigger(const std::filesystem::path& pipe)
{
    if (_pulses >= 0) {
        close(_pulses);
        _pulses = -1;
    }
    _pulses = openNamedPipe("OCAMERA_TRIGGER", pipe, "No pulse will come.");
}

void Shutter::dropPulses() const
{
    std::array<char, 4096> pulses{};
    while (_pulses >= 0 && read(_pulses, pulses.data(), pulses.size()) > 0) {
    }
}

int Shutter::waitForRate(std::chrono::microseconds timeout)
{
    const Clock::time_point now = Clock::now();
    const bool late = _due > now + timeout;
    if (waitUntil(late ? now + timeout : _due, -1) == Woken::Cancelled) {
        return -EINTR;
    }
    if (late) {
        return -ETIME;
    }
    // A program that falls behind by more than an image does not get several at once to catch up.
    const Clock::time_point taken = Clock::now();
    _due = _due + _period > taken ? _due + _period : taken + _period;
    return 0;
}

int Shutter::waitForPulse(std::chrono::microseconds timeout)
{
    const Clock::time_point end = Clock::now() + timeout;
    while (true) {
        switch (waitUntil(end, _pulses)) {
        case Woken::Cancelled:
            return -EINTR;
        case Woken::TimeUp:
            return -ETIME;
        case Woken::Readable:
            char pulse = 0;
            if (read(_pulses, &pulse, 1) == 1) {
                return 0;
            }
        }
    }
}

Shutter::Woken Shutter::waitUntil(Clock::time_point time, int descriptor) const
{
    while (true) {
        const auto left = std::max(time - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        timespec pause{};
        pause.tv_sec = static_cast<std::time_t>(seconds.count());
        pause.tv_nsec = static_cast<long>(std::chrono::nanoseconds(left - seconds).count());
        std::array<pollfd, 2> watched{{{_cancelled, POLLIN, 0}, {descriptor, POLLIN, 0}}};
        const int ready = ppoll(watched.data(), watched.size(), &pause, nullptr);
        if (ready == 0) {
            return Woken::TimeUp;
        }
        if (ready > 0) {
            return watched[0].revents != 0 ? Woken::Cancelled : Woken::Readable;
        } // otherwise a signal came
    }
}

void Shutter::cancel() const
{
    const std::uint64_t one = 1;
    // Fails only when as many as the counter holds are pending, and then it is readable as well.
    [[maybe_unused]] const ssize_t written = write(_cancelled, &one, sizeof one);
}

void Shutter::resume() const
{
    std::uint64_t count = 0;
    // Fails only when nothing was pending.
    [[maybe_unused]] const ssize_t got = read(_cancelled, &count, sizeof count);
}

} // namespace OCamera::simulated
