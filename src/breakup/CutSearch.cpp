#include "breakup/CutSearch.h"

#include "analysis/Polygon.h"
#include "math/polar.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace tarvik::breakup {

namespace {

using Points = std::span<const Complex<16, 14>>;

std::uint32_t squaredDistance(Complex<16, 14> a, Complex<16, 14> b)
{
    return static_cast<std::uint32_t>(squaredNorm(a - b).raw());
}

/// The first of the points from ... to that lies near enough to the one at start; to + 1 if none.
int nearPoint(Points points, int start, int from, int to, std::uint32_t limit)
{
    const Complex<16, 14> origin = points[static_cast<std::size_t>(start)];
    int j = from;
    while (j <= to && squaredDistance(origin, points[static_cast<std::size_t>(j)]) >= limit) {
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
        const int end = std::min(i <= nestedEnd ? nestedEnd : last, i + n - 4);
        const int j = nearPoint(points, i, i + 3, end, limit);
        if (j <= end) {
            const auto absolute = [&](int k) {
                return polygon.position() + points[static_cast<std::size_t>(k)];
            };
            cuts.add(Cut(i, absolute(i), j, absolute(j), objectIndex));
            nestedEnd = j;
        }
    }
}

} // namespace tarvik::breakup
