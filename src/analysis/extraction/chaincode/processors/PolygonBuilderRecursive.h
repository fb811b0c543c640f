#pragma once

#include "analysis/extraction/chaincode/PixelGrid.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <cstdint>
#include <cstdlib>
#include <span>

namespace tarvik::analysis::extraction::chaincode::processors {

/// Builds a polygon from the runs of a chain code and drops the vertices that lie close to the
/// chord of their neighbours.
class PolygonBuilderRecursive
{
public:
    /// Room for at least one point, which becomes the start.
    PolygonBuilderRecursive(const PixelGrid& grid, Complex<16, 14> start,
                            std::span<Complex<16, 14>> points, fp<16, 15> maxError);

    /// Advances by a run. Where the room for points ends, further runs are ignored.
    void add(std::uint8_t direction, std::uint16_t length)
    {
        _steps += length;
        if (_count < static_cast<int>(_points.size()) - 1) {
            addRun(direction, length);
        }
    }

    /// Length of all runs together, those included that found no room.
    [[nodiscard]] std::int64_t steps() const { return _steps; }

    /// Closes the polygon and reduces it; the number of points left.
    [[nodiscard]] int finish();

private:
    void addRun(std::uint8_t direction, std::uint16_t length);
    void advance(std::uint8_t direction, std::uint16_t length);
    void emitPoint();
    [[nodiscard]] bool formsStraightPiece(std::uint8_t direction, std::uint16_t length) const;
    [[nodiscard]] bool corner(std::int16_t k) const;
    [[nodiscard]] std::int16_t simplify(std::int16_t s, std::int16_t n);

    [[nodiscard]] Complex<16, 14>& at(int i) { return _points[static_cast<std::size_t>(i)]; }

    [[nodiscard]] const Complex<16, 14>& at(int i) const
    {
        return _points[static_cast<std::size_t>(i)];
    }

    const PixelGrid& _grid;
    std::span<Complex<16, 14>> _points;
    int _count = 1;
    std::int64_t _steps = 0;
    std::int64_t _threshold; ///< half the maximum error, raw
    Complex<32, 28> _current;
    bool _pending = false;
    std::uint8_t _pendingDirection = 0;
    std::uint16_t _pendingLength = 0;
};

// The trace's loop takes these in: the processor works on them while it waits for the next pixel.

inline void PolygonBuilderRecursive::advance(std::uint8_t direction, std::uint16_t length)
{
    if (length == 0) {
        return; // the run of an isolated pixel, which has no direction either
    }
    const Complex<32, 28> step = _grid.step(direction);
    const auto times = [length](fp<32, 28> part) {
        return wrapTo<std::int32_t>(static_cast<std::uint32_t>(part.raw()) * length);
    };
    _current += Complex<32, 28>::fromRaw(times(step.re), times(step.im));
}

inline void PolygonBuilderRecursive::emitPoint()
{
    at(_count++) = {_current.re.scaleDown<14>(), _current.im.scaleDown<14>()};
}

/// A straight line on the grid alternates between two neighbouring directions, one of which comes
/// in runs of about one (Freeman's criteria of straightness).
inline bool PolygonBuilderRecursive::formsStraightPiece(std::uint8_t direction,
                                                        std::uint16_t length) const
{
    const int difference = std::abs(direction - _pendingDirection);
    const int distance = difference > 4 ? 8 - difference : difference;
    return distance <= 1 && !(_pendingLength > 2 && length > 2) &&
           !(_pendingLength > 1 && length > 3) && !(_pendingLength > 3 && length > 1);
}

inline void PolygonBuilderRecursive::addRun(std::uint8_t direction, std::uint16_t length)
{
    if (_pending && formsStraightPiece(direction, length)) {
        advance(direction, length);
        emitPoint();
        _pending = false;
        return;
    }
    if (_pending) {
        emitPoint();
    }
    _pendingDirection = direction;
    _pendingLength = length;
    _pending = true;
    advance(direction, length);
}

} // namespace tarvik::analysis::extraction::chaincode::processors
