#pragma once

#include "analysis/extraction/chaincode/PixelGrid.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <cstdint>

namespace tarvik::analysis::extraction::chaincode::processors {

/// Measures the line of a chain code: its length, and its centroid, each step weighted by its
/// length.
class PolygonProperties
{
public:
    PolygonProperties(const PixelGrid& grid, Complex<16, 14> start)
        : _grid(grid),
          _current(Complex<32, 28>::fromRaw(start.re.raw() * 16384, start.im.raw() * 16384))
    {}

    void add(std::uint8_t code)
    {
        const Complex<32, 28> previous = _current;
        _current += _grid.step(code);
        const fp<32, 28> stepLength = _grid.stepLength(code);
        _momentX += ((previous.re + _current.re) * stepLength).scaleDown<15>();
        _momentY += ((previous.im + _current.im) * stepLength).scaleDown<15>();
        _length += stepLength.scale<15>();
    }

    [[nodiscard]] fp<32, 15> length() const { return _length; }

    /// The start point when the line has no length.
    [[nodiscard]] Complex<16, 14> centre() const
    {
        return Complex<16, 14>::fromRaw(centreOf(_current.re, _momentX),
                                        centreOf(_current.im, _momentY));
    }

private:
    [[nodiscard]] std::int16_t centreOf(fp<32, 28> current, fp<32, 15> moment) const
    {
        const std::int64_t centre =
            _length == fp<32, 15>::ZERO
                ? current.raw() >> 13
                : std::int64_t{moment.raw()} * 32768 / (std::int64_t{2} * _length.raw());
        return wrapTo<std::int16_t>(centre >> 1);
    }

    const PixelGrid& _grid;
    Complex<32, 28> _current;
    fp<32, 15> _length;
    fp<32, 15> _momentX;
    fp<32, 15> _momentY;
};

} // namespace tarvik::analysis::extraction::chaincode::processors
