#pragma once

#include "core/serialization/Fields.h"

namespace tarvik::com {

/// Which parts of a result a client wants to see; none by default.
struct StreamingSettings
{
    bool originalImage = false;
    bool binarizedImage = false;
    bool frame = false;
    bool matchings = false;

    friend bool operator==(const StreamingSettings&, const StreamingSettings&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("StreamOriginalImage", self.originalImage) &
            field("StreamBinarizedImage", self.binarizedImage) & field("StreamFrame", self.frame) &
            field("StreamMatchings", self.matchings);
    }
};

} // namespace tarvik::com
