#include "core/concurrent/Timer.h"

#include <chrono>

namespace tarvik::concurrent {

namespace {

std::int64_t monotonicUs()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

void Timer::start()
{
    _startUs = monotonicUs();
}

std::int64_t Timer::timeElapsed() const
{
    return isNull() ? 0 : monotonicUs() - _startUs;
}

} // namespace tarvik::concurrent
