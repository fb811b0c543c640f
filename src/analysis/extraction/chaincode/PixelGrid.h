#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <array>
#include <cstdint>

namespace tarvik::analysis::extraction::chaincode {

/// Where the pixels of an image lie in normalised coordinates, and how long a step of the chain
/// code is: what every consumer of a chain needs, worked out once per image.
///
/// Codes count clockwise on the screen from 0, right, by eighths of a turn: 2 is down.
class PixelGrid
{
public:
    /// The image is at least 2 pixels wide.
    PixelGrid(int width, int height)
        : _halfWidth(width / 2),
          _halfHeight(height / 2),
          _step(268435456 / (width / 2)),
          _diagonal((std::int64_t{_step} * ROOT_OF_TWO) >> 28)
    {
        for (std::size_t code = 0; code < _steps.size(); ++code) {
            _steps[code] = Complex<32, 28>::fromRaw(DX[code] * _step, DY[code] * _step);
        }
    }

    /// Centre of pixel (column, row); both divisions truncate.
    [[nodiscard]] Complex<16, 14> point(int column, int row) const
    {
        return Complex<16, 14>::fromRaw(
            wrapTo<std::int16_t>((column - _halfWidth) * 16384 / _halfWidth),
            wrapTo<std::int16_t>((row - _halfHeight) * 16384 / _halfWidth));
    }

    [[nodiscard]] Complex<32, 28> step(std::uint8_t code) const { return _steps[code]; }

    /// Length of a step: one pixel, or the square root of two of them for an odd code.
    [[nodiscard]] fp<32, 28> stepLength(std::uint8_t code) const
    {
        return fp<32, 28>(code % 2 == 0 ? _step : static_cast<std::int32_t>(_diagonal));
    }

    /// No polygon of this many steps of a chain is longer, in fp<32, 15> raw units.
    ///
    /// Its sides are not longer than the steps between their ends. Rounding the ends down adds less
    /// than 2 sqrt(2) to a side, rounding the side less than 1/8, and a diagonal is rounded here by
    /// less than 1. In pictures more than twice as high as wide, coordinates wrap: no bound.
    [[nodiscard]] std::int64_t longestPolygon(std::int64_t steps) const
    {
        return _halfHeight <= _halfWidth ? steps * ((_diagonal >> 13) + 4) : INT64_MAX;
    }

    static constexpr std::array<int, 8> DX{1, 1, 0, -1, -1, -1, 0, 1};
    static constexpr std::array<int, 8> DY{0, 1, 1, 1, 0, -1, -1, -1};

private:
    static constexpr auto ROOT_OF_TWO =
        static_cast<std::int64_t>(1.4142135623730951 * 268435456 + 0.5);

    int _halfWidth;
    int _halfHeight;
    std::int32_t _step;     ///< fp<32, 28>
    std::int64_t _diagonal; ///< fp<32, 28>
    std::array<Complex<32, 28>, 8> _steps;
};

} // namespace tarvik::analysis::extraction::chaincode
