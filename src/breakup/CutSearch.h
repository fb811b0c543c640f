#pragma once

#include "breakup/Cuts.h"
#include "math/fp.h"

#include <cstdint>

namespace tarvik::analysis {
class Polygon;
}

namespace tarvik::breakup {

/// The smallest squared length (raw fp<32, 28>, unsigned) of a chord that is too long to be a cut.
/// Comparing squares with it says exactly what comparing rounded lengths with maxCutLength would,
/// without a square root for every pair of points.
[[nodiscard]] std::uint32_t squaredCutLimit(fp<32, 30> maxCutLength);

/// Appends the cuts across one contour, at most one from each point, until the list is full.
///
/// Both ends lie at least three points apart along the contour in either direction. After a cut,
/// one that starts before its end also ends there or before, so that it nests and does not cross.
void findCuts(const analysis::Polygon& polygon, std::int32_t objectIndex, std::uint32_t limit,
              Cuts& cuts);

} // namespace tarvik::breakup
