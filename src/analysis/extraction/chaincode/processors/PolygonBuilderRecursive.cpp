#include "analysis/extraction/chaincode/processors/PolygonBuilderRecursive.h"

namespace tarvik::analysis::extraction::chaincode::processors {

PolygonBuilderRecursive::PolygonBuilderRecursive(const PixelGrid& grid, Complex<16, 14> start,
                                                 std::span<Complex<16, 14>> points,
                                                 fp<16, 15> maxError)
    : _grid(grid),
      _points(points),
      _threshold(maxError.raw() * 8192 / 16384),
      _current(Complex<32, 28>::fromRaw(start.re.raw() * 16384, start.im.raw() * 16384))
{
    _points[0] = start;
}

int PolygonBuilderRecursive::finish()
{
    if (_count > 1) {
        emitPoint(); // the start again, when every run found room
    }
    return simplify(0, static_cast<std::int16_t>(_count));
}

/// Whether the squared distance of point k from the chord of its neighbours exceeds the threshold.
inline bool PolygonBuilderRecursive::corner(std::int16_t k) const
{
    const Complex<16, 14> chord = at(k + 1) - at(k - 1);
    const Complex<16, 14> side = at(k) - at(k - 1);
    const std::int32_t ux = chord.re.raw();
    const std::int32_t uy = chord.im.raw();
    const std::int32_t vx = side.re.raw();
    const std::int32_t vy = side.im.raw();
    const std::int64_t chordSquared = squaredNorm(chord).raw();
    if (chordSquared == 0) {
        return false;
    }
    if (chordSquared < 0) { // 2^31 has wrapped: the identity of Lagrange below does not hold then
        const std::int64_t dot = std::int64_t{vx * ux} + vy * uy;
        const std::int64_t sideSquared = std::int64_t{vx * vx} + vy * vy;
        return sideSquared * chordSquared - dot * dot > _threshold * chordSquared;
    }
    const std::int64_t cross = std::int64_t{vx * uy} - vy * ux;
    return cross * cross > _threshold * chordSquared;
}

/// Reduces the n points from s on in place; the index behind the last one kept. Every pass confirms
/// corners, which end a stretch, or drops points, so the recursion ends.
std::int16_t PolygonBuilderRecursive::simplify(std::int16_t s, std::int16_t n)
{
    if (n <= 2) {
        return static_cast<std::int16_t>(s + n);
    }
    auto write = static_cast<std::int16_t>(s + 1);
    auto read = static_cast<std::int16_t>(s + 1);
    std::int16_t stretch = s; // first point of the open stretch
    const auto last = static_cast<std::int16_t>(s + n - 1);
    while (read < last) {
        if (corner(read)) {
            at(write) = at(read);
            write = simplify(stretch, static_cast<std::int16_t>(write + 1 - stretch));
            stretch = static_cast<std::int16_t>(write - 1);
            ++read;
        } else {
            at(write) = at(read + 1);
            ++write;
            read = static_cast<std::int16_t>(read + 2);
        }
    }
    if (read < s + n) {
        at(write) = at(last);
        ++write;
    }
    return simplify(stretch, static_cast<std::int16_t>(write - stretch));
}

} // namespace tarvik::analysis::extraction::chaincode::processors
