#include "analysis/Polygon.h"

#include "analysis/FourierDescriptor.h"
#include "analysis/measure.h"
#include "math/FourierTransform.h"
#include "math/sinPi.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tarvik::analysis {

namespace {

using Point = Complex<16, 14>;

/// One edge's share of the winding number around p (Sunday, "Inclusion of a Point in a Polygon"):
/// +1 for an edge downwards, -1 for one upwards, when it passes p's row at p or left of it.
int windingOf(Point a, Point b, Point p)
{
    if (std::abs((a - b).im.raw()) <= 4) {
        return 0; // as good as horizontal
    }
    const bool down = a.im <= b.im;
    const Point upper = down ? a : b;
    const Point lower = down ? b : a;
    if (p.im < upper.im || p.im >= lower.im) {
        return 0;
    }
    const Point edge = lower - upper;
    const std::int32_t offset = edge.re.raw() * (p - upper).im.raw() / edge.im.raw();
    if (upper.re.raw() + offset > p.re.raw()) {
        return 0;
    }
    return down ? 1 : -1;
}

} // namespace

Polygon::Polygon(int n)
{
    own(std::vector<Point>(static_cast<std::size_t>(n)));
}

Polygon::Polygon(const Polygon& other)
{
    copyFrom(other);
}

Polygon& Polygon::operator=(const Polygon& other)
{
    if (this != &other) {
        copyFrom(other);
    }
    return *this;
}

Polygon::Polygon(Polygon&& other) noexcept
{
    *this = std::move(other);
}

Polygon& Polygon::operator=(Polygon&& other) noexcept
{
    if (this != &other) {
        copyProperties(other);
        const bool owned = other.ownsPoints();
        _points = std::exchange(other._points, {}); // a moved vector keeps its buffer
        _owned = owned ? std::move(other._owned) : std::vector<Point>{};
        other._owned.clear();
    }
    return *this;
}

void Polygon::copyFrom(const Polygon& other)
{
    copyProperties(other);
    own(std::vector<Point>(other._points.begin(), other._points.end()));
}

void Polygon::copyProperties(const Polygon& other)
{
    _position = other._position;
    _length = other._length;
    _left = other._left;
    _top = other._top;
    _right = other._right;
    _bottom = other._bottom;
}

void Polygon::own(std::vector<Point> points)
{
    _owned = std::move(points);
    _points = _owned;
}

void Polygon::setPoints(std::span<Point> points, bool copy)
{
    if (copy) {
        own(std::vector<Point>(points.begin(), points.end()));
    } else {
        _points = points;
    }
    updateProperties();
}

void Polygon::borrow(const Polygon& other)
{
    copyProperties(other);
    _points = other._points;
}

bool Polygon::setPoint(int i, const Point& p)
{
    if (i < 0 || i >= pointCount()) {
        return false;
    }
    _points[static_cast<std::size_t>(i)] = p;
    return true;
}

void Polygon::rotate(fp<32, 15> angleRadians)
{
    if (_points.empty()) {
        return;
    }
    const Complex<16, 15> factor = unitFactor(fractionOfPi(angleRadians));
    for (Point& point : _points) {
        point = turned(point, factor);
    }
    const auto [left, right] = std::ranges::minmax(_points, {}, &Point::re);
    const auto [top, bottom] = std::ranges::minmax(_points, {}, &Point::im);
    _left = left.re;
    _right = right.re;
    _top = top.im;
    _bottom = bottom.im;
}

bool Polygon::contains(const Point& p) const
{
    if (_points.size() < 2) {
        return false;
    }
    if (p.re < _position.re + _left || p.re > _position.re + _right || p.im < _position.im + _top ||
        p.im > _position.im + _bottom) {
        return false;
    }
    int winding = 0;
    for (std::size_t i = 1; i < _points.size(); ++i) {
        winding += windingOf(_position + _points[i - 1], _position + _points[i], p);
    }
    if (_points.back() != _points.front()) {
        winding += windingOf(_position + _points.back(), _position + _points.front(), p);
    }
    return winding != 0;
}

fp<32, 28> Polygon::computeExtendSq() const
{
    fp<32, 28> extend = fp<32, 28>::MIN;
    for (const Point& point : _points) {
        extend = std::max(extend, squaredNorm(point));
    }
    return extend;
}

void Polygon::load(const FourierDescriptor& descriptor, bool ignoreRotation,
                   std::int16_t frequencies, std::int16_t pointCount)
{
    // 50 points per unit of length.
    const std::int64_t fromLength = std::int64_t{descriptor.polygonLength().raw()} * 1638400 >> 30;
    const int wanted = pointCount >= 1 ? pointCount : wrapTo<std::int16_t>(fromLength);
    const auto n = static_cast<std::size_t>(std::max(wanted, 3));
    own(std::vector<Point>(n));

    std::span<const Complex<16, 15>> coefficients = descriptor.frequencies();
    if (frequencies >= 0 && frequencies < FourierDescriptor::COUNT) {
        const auto first = static_cast<std::size_t>((FourierDescriptor::COUNT - frequencies) / 2);
        // An even count has no middle; the one above has it and the same frequencies.
        coefficients = coefficients.subspan(first, coefficients.size() - 2 * first);
    }
    const auto rotation = ignoreRotation ? fp<32, 15>::ZERO : descriptor.rotation();
    Fourier_Backward_Exact(coefficients, rotation, _points.first(n - 1));
    _points[n - 1] = _points[0];
    updateProperties();
}

void Polygon::updateProperties()
{
    const OutlineMeasure measure = measureOutline(_points);
    _length = measure.length;
    if (!_points.empty()) {
        _left = _right = _points[0].re;
        _top = _bottom = _points[0].im;
    }
    for (const Point& point : _points) {
        _left = std::min(_left, point.re);
        _right = std::max(_right, point.re);
        _top = std::min(_top, point.im);
        _bottom = std::max(_bottom, point.im);
    }
    if (_length == fp<32, 15>::ZERO) {
        return; // the position stays, and the points with it
    }
    _position = measure.centre();
    _left -= _position.re;
    _right -= _position.re;
    _top -= _position.im;
    _bottom -= _position.im;
    for (Point& point : _points) {
        point -= _position;
    }
}

} // namespace tarvik::analysis
