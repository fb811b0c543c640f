#include "core/sys/DateTime.h"

#include <sys/time.h>

#include <climits>

namespace tarvik::sys {

namespace {

/// The sub-second part's type differs from suseconds_t where a 32-bit system has 64-bit times.
using Microseconds = decltype(timeval::tv_usec);

DateTime fromBrokenDown(const std::tm& time, Microseconds microseconds, bool isUTC)
{
    DateTime result;
    result.milliseconds = static_cast<std::int32_t>(microseconds / 1000);
    result.seconds = time.tm_sec;
    result.minutes = time.tm_min;
    result.hours = time.tm_hour;
    result.day = time.tm_mday;
    result.month = time.tm_mon + 1;
    result.year = time.tm_year + 1900;
    result.isUTC = isUTC;
    return result;
}

} // namespace

DateTime DateTime::localTime()
{
    timeval now{};
    ::gettimeofday(&now, nullptr);
    std::tm time{};
    ::localtime_r(&now.tv_sec, &time);
    return fromBrokenDown(time, now.tv_usec, false);
}

DateTime DateTime::systemTime()
{
    timeval now{};
    ::gettimeofday(&now, nullptr);
    std::tm time{};
    ::gmtime_r(&now.tv_sec, &time);
    return fromBrokenDown(time, now.tv_usec, true);
}

std::optional<std::time_t> DateTime::toEpochSeconds() const
{
    if (month == INT_MIN || year < INT_MIN + 1900) {
        return std::nullopt; // would leave the range of the broken-down fields
    }
    std::tm time{};
    time.tm_sec = seconds;
    time.tm_min = minutes;
    time.tm_hour = hours;
    time.tm_mday = day;
    time.tm_mon = month - 1;
    time.tm_year = year - 1900;
    time.tm_isdst = -1;
    time.tm_wday = -1; // mktime() fills it on success; -1 is also a valid result
    const std::time_t result = ::mktime(&time);
    if (time.tm_wday == -1) {
        return std::nullopt;
    }
    return result;
}

} // namespace tarvik::sys
