#pragma once

#include "analysis/Polygon.h"

#include <cstdint>
#include <vector>

namespace tarvik::test {

/// The point with these raw coordinates.
inline Complex<16, 14> at(long x, long y)
{
    return Complex<16, 14>::fromRaw(static_cast<std::int16_t>(x), static_cast<std::int16_t>(y));
}

/// The corners of a square, the first one once more at the end.
inline std::vector<Complex<16, 14>> square(int x, int y, int half)
{
    return {at(x - half, y - half), at(x + half, y - half), at(x + half, y + half),
            at(x - half, y + half), at(x - half, y - half)};
}

/// Owns its points.
inline analysis::Polygon polygonOf(std::vector<Complex<16, 14>> absolute)
{
    analysis::Polygon polygon;
    polygon.setPoints(absolute, /*copy*/ true);
    return polygon;
}

} // namespace tarvik::test
