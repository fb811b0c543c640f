#pragma once

#include "math/fp.h"

namespace tarvik::database {

/// How well one object fits one template.
struct ComparisonResult
{
    /// Sum of squared differences of the coefficients; the maximum after a failed check of holes.
    fp<32, 30> error = fp<32, 30>::MAX;
    bool match = false;
    /// Radians to add to the object's own rotation: which way round the template lies.
    fp<32, 15> rotation;
};

} // namespace tarvik::database
