#include "core/concurrent/WakeUp.h"

#include "core/Exception.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <system_error>

namespace tarvik::concurrent {

WakeUp::WakeUp() : _descriptor(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (_descriptor < 0) {
        throw Exception(std::string("Couldn't create a wake-up. Details: ") +
                        std::generic_category().message(errno));
    }
}

WakeUp::~WakeUp()
{
    ::close(_descriptor);
}

void WakeUp::set() noexcept
{
    const int savedErrno = errno; // a signal handler must leave it alone
    const std::uint64_t one = 1;
    // Fails only when the counter is full, and then the flag is set anyway.
    [[maybe_unused]] const auto written = ::write(_descriptor, &one, sizeof one);
    errno = savedErrno;
}

void WakeUp::clear() noexcept
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto bytes = ::read(_descriptor, &count, sizeof count);
}

bool WakeUp::wait(int timeoutMs) const noexcept
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    int remainingMs = timeoutMs;
    for (;;) {
        pollfd entry{_descriptor, POLLIN, 0};
        const int ready = ::poll(&entry, 1, remainingMs);
        if (ready > 0) {
            return true;
        }
        if (ready == 0) {
            return false;
        }
        if (timeoutMs > 0) { // a signal came between: sleep the rest
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            remainingMs = left.count() > 0 ? static_cast<int>(left.count()) : 0;
        }
    }
}

} // namespace tarvik::concurrent
