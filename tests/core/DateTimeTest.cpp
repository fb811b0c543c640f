#include "core/sys/DateTime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>

using tarvik::sys::DateTime;

namespace {

/// The process's time zone for one test.
class TimeZone
{
public:
    explicit TimeZone(const char* zone) { set(zone); }

    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

    ~TimeZone() { set("UTC0"); }

private:
    static void set(const char* zone)
    {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }
};

DateTime at(int year, int month, int day, int hours, int minutes, int seconds)
{
    DateTime result;
    result.year = year;
    result.month = month;
    result.day = day;
    result.hours = hours;
    result.minutes = minutes;
    result.seconds = seconds;
    return result;
}

constexpr const char* CENTRAL_EUROPE = "CET-1CEST,M3.5.0,M10.5.0/3";

} // namespace

TEST(DateTime, ReadsTheClockBothWays)
{
    const TimeZone zone("TST-5:30"); // five and a half hours ahead, all year
    const std::time_t before = std::time(nullptr);
    const DateTime local = DateTime::localTime();
    const DateTime utc = DateTime::systemTime();
    const std::time_t after = std::time(nullptr);
    EXPECT_FALSE(local.isUTC);
    EXPECT_TRUE(utc.isUTC);
    const auto expectNow = [&](std::optional<std::time_t> seconds, std::time_t ahead) {
        ASSERT_TRUE(seconds.has_value());
        EXPECT_TRUE(before <= *seconds + ahead && *seconds + ahead <= after) << *seconds;
    };
    expectNow(local.toEpochSeconds(), 0);
    expectNow(utc.toEpochSeconds(), 5 * 3600 + 1800); // read as local time
    EXPECT_TRUE(local.milliseconds >= 0 && local.milliseconds <= 999);
}

TEST(DateTime, ConvertsToEpochSecondsAsLocalTime)
{
    struct Case
    {
        const char* what;
        DateTime time;
        std::optional<std::time_t> seconds;
    };

    constexpr int MAX = std::numeric_limits<std::int32_t>::max();
    constexpr int MIN = std::numeric_limits<std::int32_t>::min();
    const Case cases[] = {
        {"winter", at(2011, 12, 27, 1, 0, 0), 1324944000},
        {"summer: daylight saving is found out", at(2011, 7, 1, 2, 0, 0), 1309478400},
        {"the last second of 1969 in UTC is a time", at(1970, 1, 1, 0, 59, 59), -1},
        {"month 13 is next January", at(2010, 13, 27, 1, 0, 0), 1296086400},
        {"day 0 is the last of November", at(2011, 12, 0, 1, 0, 0), 1322611200},
        {"year beyond the system's range", at(MAX, MAX, 31, 23, 59, 59), std::nullopt},
        {"year below the fields' range", at(MIN, 1, 1, 0, 0, 0), std::nullopt},
        {"month below the fields' range", at(2011, MIN, 1, 0, 0, 0), std::nullopt},
    };
    const TimeZone zone(CENTRAL_EUROPE);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.time.toEpochSeconds(), c.seconds);
    }
}
