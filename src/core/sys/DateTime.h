#pragma once

#include "core/serialization/Fields.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace tarvik::sys {

/// A broken-down calendar time with milliseconds; every number 0 and local time by default.
struct DateTime
{
    std::int32_t milliseconds = 0;
    std::int32_t seconds = 0;
    std::int32_t minutes = 0;
    std::int32_t hours = 0;
    std::int32_t day = 0;
    std::int32_t month = 0; ///< counted from 1
    std::int32_t year = 0;  ///< in full
    bool isUTC = false;

    [[nodiscard]] static DateTime localTime();
    /// Coordinated Universal Time.
    [[nodiscard]] static DateTime systemTime();

    /// Seconds since the epoch of this value read as local time, whatever isUTC says; daylight
    /// saving is the C library's to find out. Nothing when the fields make no representable time.
    [[nodiscard]] std::optional<std::time_t> toEpochSeconds() const;

    friend bool operator==(const DateTime&, const DateTime&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Milliseconds", self.milliseconds) & field("Seconds", self.seconds) &
            field("Minutes", self.minutes) & field("Hours", self.hours) & field("Day", self.day) &
            field("Month", self.month) & field("Year", self.year) & field("IsUTC", self.isUTC);
    }
};

} // namespace tarvik::sys
