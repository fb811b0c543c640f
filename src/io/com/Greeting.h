#pragma once

#include "core/serialization/Fields.h"

#include <cstdint>

namespace tarvik::io::com {

/// What a server writes before anything else: its version and the size of its images, six
/// little-endian integers.
struct Greeting
{
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t patch = 0;
    std::int32_t build = 0;
    std::int32_t width = 0;  ///< pixels
    std::int32_t height = 0; ///< pixels

    friend bool operator==(const Greeting&, const Greeting&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using serialization::field;
        s& field("Major", self.major) & field("Minor", self.minor) & field("Patch", self.patch) &
            field("Build", self.build) & field("Width", self.width) & field("Height", self.height);
    }
};

} // namespace tarvik::io::com
