#include <dlfcn.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

// Stands between a program and the system's wall clock: what the program sets it to, it reads from
// then on, and nobody else does. To be preloaded.

namespace {

std::atomic<std::int64_t> offsetSeconds{0};

int realGetTime(clockid_t clock, timespec* time)
{
    using Function = int (*)(clockid_t, timespec*);
    static const auto function = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "clock_gettime"));
    return function(clock, time);
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const int result = realGetTime(clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        time->tv_sec += offsetSeconds;
    }
    return result;
}

int gettimeofday(timeval* time, void* /*zone*/) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return 0;
}

time_t time(time_t* result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

int settimeofday(const timeval* time, const struct timezone* /*zone*/) noexcept
{
    timespec now{};
    if (time == nullptr || realGetTime(CLOCK_REALTIME, &now) != 0) {
        errno = EINVAL;
        return -1;
    }
    offsetSeconds = time->tv_sec - now.tv_sec;
    return 0;
}

} // extern "C"
