#include "breakup/CutSearch.h"

#include "analysis/Polygon.h"
#include "math/polar.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace tarvik::breakup {

namespace {

using Points = std::span<const Complex<16, 14>>;
constexpr std::size_t BLOCK = 16;

std::uint32_t squaredDistance(Complex<16, 14> a, Complex<16, 14> b)
{
    return static_cast<std::uint32_t>(squaredNorm(a - b).raw());
}

/// False when none of the points is near. Neither branches nor ends early, so that a vector unit
/// can look at several: the top bit of a difference tells a square below the limit, which is 2^30
/// at most. (It also tells the one square of 2^31 when nothing is near; the caller looks again.)
bool anyMayBeNear(std::span<const Complex<16, 14>, BLOCK> points, Complex<16, 14> origin,
                  std::uint32_t limit)
{
    std::uint32_t below = 0;
    for (const Complex<16, 14>& point : points) {
        below |= squaredDistance(origin, point) - limit;
    }
    return below >> 31 != 0;
}

/// Position of the first point that lies near enough to the origin; their number if none does.
std::size_t nearPoint(Points points, Complex<16, 14> origin, std::uint32_t limit)
{
    std::size_t j = 0;
    while (points.size() - j >= BLOCK &&
           !anyMayBeNear(points.subspan(j).first<BLOCK>(), origin, limit)) {
        j += BLOCK;
    }
    while (j < points.size() && squaredDistance(origin, points[j]) >= limit) {
        ++j;
    }
    return j;
}

} // namespace

std::uint32_t squaredCutLimit(fp<32, 30> maxCutLength)
{
    const fp<32, 28> maxLength = maxCutLength.scale<28>();
    // Longer squares have no shorter roots, so the limit can be searched for by halving.
    std::uint32_t limit = 0;
    for (std::uint32_t step = std::uint32_t{1} << 30; step > 0; step /= 2) {
        const std::uint32_t last = limit + step - 1;
        if (squareRoot(fp<32, 28>(wrapTo<std::int32_t>(last))) < maxLength) {
            limit += step;
        }
    }
    return limit;
}

void findCuts(const analysis::Polygon& polygon, std::int32_t objectIndex, std::uint32_t limit,
              Cuts& cuts)
{
    const Points points = polygon.points();
    const int n = polygon.pointCount();
    const int last = n - 2; // the point after it repeats the first
    int nestedEnd = last;
    for (int i = 0; i <= last && cuts.count() < Cuts::CAPACITY; ++i) {
        const int from = i + 3;
        const int end = std::min(i <= nestedEnd ? nestedEnd : last, i + n - 4);
        if (from > end) {
            continue;
        }
        const auto range = points.subspan(static_cast<std::size_t>(from),
                                          static_cast<std::size_t>(end - from + 1));
        const std::size_t found = nearPoint(range, points[static_cast<std::size_t>(i)], limit);
        if (found < range.size()) {
            const int j = from + static_cast<int>(found);
            cuts.add(Cut(i, polygon.position() + points[static_cast<std::size_t>(i)], j,
                         polygon.position() + range[found], objectIndex));
            nestedEnd = j;
        }
    }
}

} // namespace tarvik::breakup
