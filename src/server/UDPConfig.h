#pragma once

#include "core/serialization/Fields.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvik::com::server {

/// Who receives the result datagrams. A plain value.
struct UDPConfig
{
    /// Longest address text that a configuration file may hold.
    static constexpr std::size_t MAX_ADDRESS_LENGTH = 255;

    /// Send a datagram for every processed image.
    bool autoDistribute = false;
    std::uint16_t destinationPort = 7455;
    std::string destinationAddress = "127.0.0.1"; ///< IPv4 in dotted form

    friend bool operator==(const UDPConfig&, const UDPConfig&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("AutoDistribute", self.autoDistribute) &
            field("DestinationPort", self.destinationPort) &
            io::serialization::text("DestinationAddress", self.destinationAddress,
                                    MAX_ADDRESS_LENGTH);
    }
};

} // namespace tarvik::com::server
