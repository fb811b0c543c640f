#pragma once

#include "core/serialization/Fields.h"

#include <cstdint>

namespace tarvik::com::server {

/// The server's own part of the configuration file. A plain value.
struct GeneralConfig
{
    std::uint32_t autoSaveInterval = 3; ///< minutes between automatic saves; 0 for none
    bool requestSysTime = true;         ///< a client may set the clock

    /// Whether this many microseconds without a save are enough, counted in whole minutes.
    [[nodiscard]] bool autoSaveDue(std::int64_t elapsedUs) const
    {
        constexpr std::int64_t US_PER_MINUTE = 60'000'000;
        return autoSaveInterval != 0 && autoSaveInterval <= elapsedUs / US_PER_MINUTE;
    }

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("AutoSaveInterval", self.autoSaveInterval) &
            field("RequestSysTime", self.requestSysTime);
    }
};

} // namespace tarvik::com::server
