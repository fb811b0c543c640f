#pragma once

#include "core/serialization/Fields.h"

#include <cstdint>

namespace tarvik::com::server {

/// Where the telnet server listens and how patient it is. A plain value.
struct TelnetConfig
{
    std::uint16_t port = 9999;
    /// Seconds without a command after which a client is sent away; 0 for never.
    std::uint32_t timeout = 0;

    friend bool operator==(const TelnetConfig&, const TelnetConfig&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Port", self.port) & field("Timeout", self.timeout);
    }
};

} // namespace tarvik::com::server
