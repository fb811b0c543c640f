#pragma once

#include "core/serialization/Fields.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace tarvik::analysis {

class FourierDescriptor;

/// The outline of an object or hole: a closed list of points around its own centre.
///
/// Normalised image coordinates: the image centre is 0, half the image width 1.0, y grows
/// downwards. Absolute vertex i = position() + points()[i]; the box edges are relative to
/// position() as well. The last point of a contour's polygon repeats the first.
///
/// Points are owned, or a slice of a pool that outlives the polygon; a copy always owns its points.
class Polygon
{
public:
    /// Most points that a decoded polygon may have: all that one frame has room for.
    static constexpr int MAX_POINTS = 1024;

    Polygon() = default;
    /// Owns n points at 0.
    explicit Polygon(int n);
    Polygon(const Polygon& other);
    Polygon& operator=(const Polygon& other);
    Polygon(Polygon&& other) noexcept;
    Polygon& operator=(Polygon&& other) noexcept;
    ~Polygon() = default;

    /// Takes absolute points and computes the properties. Without copy the polygon adopts the
    /// caller's array, which must outlive it and is made relative in place.
    void setPoints(std::span<Complex<16, 14>> points, bool copy);
    /// Becomes another view of the other polygon's points, with its properties; allocates nothing.
    void borrow(const Polygon& other);
    /// False when there is no point i. The properties are not computed anew.
    bool setPoint(int i, const Complex<16, 14>& p);

    void move(Complex<16, 14> distance) { _position += distance; }

    void moveTo(Complex<16, 14> position) { _position = position; }

    /// Turns the points about the position; positive angles turn from +x towards +y.
    /// The 16-bit sine makes even the turn by 0 shrink points by 2^-15.
    void rotate(fp<32, 15> angleRadians);
    /// Whether the absolute point lies inside the outline: its winding number is not 0.
    [[nodiscard]] bool contains(const Complex<16, 14>& p) const;
    /// Largest squared distance of a point from the position, at least fp<32, 28>::MIN.
    [[nodiscard]] fp<32, 28> computeExtendSq() const;
    /// Rebuilds the outline from the lowest frequencies of a descriptor (all when negative) at
    /// pointCount points (when below 1: 50 per unit of length; at least 3).
    void load(const FourierDescriptor& descriptor, bool ignoreRotation, std::int16_t frequencies,
              std::int16_t pointCount);
    /// Length, position, box and relative points from absolute points.
    void updateProperties();

    [[nodiscard]] Complex<16, 14> position() const { return _position; }

    /// Sum of the distances between consecutive points.
    [[nodiscard]] fp<32, 15> length() const { return _length; }

    [[nodiscard]] fp<16, 14> left() const { return _left; }

    [[nodiscard]] fp<16, 14> top() const { return _top; }

    [[nodiscard]] fp<16, 14> right() const { return _right; }

    [[nodiscard]] fp<16, 14> bottom() const { return _bottom; }

    [[nodiscard]] int pointCount() const { return static_cast<int>(_points.size()); }

    [[nodiscard]] std::span<const Complex<16, 14>> points() const { return _points; }

    [[nodiscard]] bool ownsPoints() const
    {
        return !_points.empty() && _points.data() == _owned.data();
    }

    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    void copyFrom(const Polygon& other);
    void copyProperties(const Polygon& other);
    void own(std::vector<Complex<16, 14>> points);

    Complex<16, 14> _position;
    fp<32, 15> _length;
    fp<16, 14> _left;
    fp<16, 14> _top;
    fp<16, 14> _right;
    fp<16, 14> _bottom;
    std::span<Complex<16, 14>> _points; ///< into _owned, or into somebody's pool
    std::vector<Complex<16, 14>> _owned;
};

template <class S, class Self>
void Polygon::serialize(S& s, Self& self)
{
    using io::serialization::array;
    using io::serialization::field;
    s& field("Position", self._position) & field("Length", self._length) &
        field("Left", self._left) & field("Top", self._top) & field("Right", self._right) &
        field("Bottom", self._bottom);
    if constexpr (S::isEncoder()) {
        const std::span<const Complex<16, 14>> points = self.points();
        s& array("Points", points, 0, MAX_POINTS);
    } else {
        std::vector<Complex<16, 14>> points;
        s& array("Points", points, 0, MAX_POINTS);
        self.own(std::move(points));
    }
}

} // namespace tarvik::analysis
