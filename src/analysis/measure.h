#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <span>

namespace tarvik::analysis {

/// Length and first moments of the line through a list of points.
struct OutlineMeasure
{
    fp<32, 15> length;
    fp<32, 15> momentX; ///< sum of (x at both ends) x segment length
    fp<32, 15> momentY;

    /// Centroid of the line; the length must not be 0.
    [[nodiscard]] Complex<16, 14> centre() const;
};

/// Measures the line through the points as they stand, not closed.
[[nodiscard]] OutlineMeasure measureOutline(std::span<const Complex<16, 14>> points);

} // namespace tarvik::analysis
