#include "database/InnerContourMeasures.h"

#include "math/Complex.h"
#include "math/polar.h"

#include <algorithm>
#include <cstddef>

namespace tarvik::database {

namespace {

fp<32, 15> gap(fp<32, 15> difference)
{
    fp<32, 15> result = difference + fp<32, 15>::PI2;
    while (result > fp<32, 15>::PI2) {
        result -= fp<32, 15>::PI2;
    }
    return result;
}

/// Equal values are interchangeable, so an unstable sort, which allocates nothing, will do.
template <class T, class Measure>
void sortedMeasures(std::span<const analysis::InnerContour> contours, std::span<T> out,
                    Measure measure)
{
    std::transform(contours.begin(), contours.end(), out.begin(),
                   [measure](const analysis::InnerContour& c) { return measure(c.polygon); });
    std::sort(out.begin(), out.end());
}

} // namespace

void sortedLengths(std::span<const analysis::InnerContour> contours, std::span<fp<32, 15>> lengths)
{
    sortedMeasures(contours, lengths, [](const analysis::Polygon& p) { return p.length(); });
}

void sortedDistances(std::span<const analysis::InnerContour> contours,
                     std::span<fp<32, 28>> distances)
{
    sortedMeasures(contours, distances, [](const analysis::Polygon& p) {
        return squareRoot(squaredNorm(p.position()));
    });
}

void sortedAngles(std::span<const analysis::InnerContour> contours, std::span<fp<32, 15>> angles)
{
    sortedMeasures(contours, angles,
                   [](const analysis::Polygon& p) { return polarAngle(p.position()); });
}

void angularGaps(std::span<const fp<32, 15>> angles, std::span<fp<32, 15>> gaps)
{
    for (std::size_t k = 0; k < angles.size(); ++k) {
        gaps[k] = gap(angles[(k + 1) % angles.size()] - angles[k]);
    }
}

} // namespace tarvik::database
