#pragma once

#include "core/serialization/Fields.h"
#include "math/Complex.h"

#include <cstdint>

namespace tarvik::breakup {

/// A chord between two points of one contour that are close to each other in the image but far
/// apart along the contour: the neck between two touching objects.
struct Cut
{
    Complex<16, 14> point1;        ///< absolute, normalised image coordinates
    std::int32_t point1Index = -1; ///< in the object's polygon
    Complex<16, 14> point2;
    std::int32_t point2Index = -1; ///< greater than point1Index
    std::int32_t objectIndex = -1; ///< of the divided object in its frame

    Cut() = default;

    Cut(std::int32_t index1, Complex<16, 14> p1, std::int32_t index2, Complex<16, 14> p2,
        std::int32_t object)
        : point1(p1),
          point1Index(index1),
          point2(p2),
          point2Index(index2),
          objectIndex(object)
    {}

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Point1", self.point1) & field("Point1Index", self.point1Index) &
            field("Point2", self.point2) & field("Point2Index", self.point2Index) &
            field("ObjectIndex", self.objectIndex);
    }
};

} // namespace tarvik::breakup
