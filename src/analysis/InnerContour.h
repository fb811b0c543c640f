#pragma once

#include "analysis/Polygon.h"
#include "core/serialization/Fields.h"

namespace tarvik::analysis {

/// A hole of an object. Its polygon's position is relative to the object's position.
struct InnerContour
{
    Polygon polygon;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        s& io::serialization::field("Polygon", self.polygon);
    }
};

} // namespace tarvik::analysis
