#include "ReferenceExtractor.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace tarvik::test {

namespace {

using Point = ReferenceExtractor::Point;

constexpr int DX[] = {1, 1, 0, -1, -1, -1, 0, 1};
constexpr int DY[] = {0, 1, 1, 1, 0, -1, -1, -1};

std::int16_t low16(std::int64_t value)
{
    return static_cast<std::int16_t>(value);
}

/// Tall pictures leave the range of fp<32, 28>.
std::int32_t low32(std::int64_t value)
{
    return static_cast<std::int32_t>(value);
}

/// Polygon building from runs.
class Builder
{
public:
    Builder(Point start, std::int64_t step, int capacity)
        : points{start},
          _step(step),
          _capacity(static_cast<std::size_t>(capacity)),
          _x(start.re.raw() * 16384),
          _y(start.im.raw() * 16384)
    {}

    void add(int direction, int length)
    {
        if (points.size() + 1 >= _capacity) {
            return;
        }
        const bool straight = _pending && goesOn(direction, length);
        if (straight) {
            advance(direction, length);
        }
        if (_pending) {
            emitPoint();
        }
        _pending = !straight;
        if (_pending) {
            _direction = direction;
            _length = length;
            advance(direction, length);
        }
    }

    void emitPoint() { points.push_back(Point::fromRaw(low16(_x >> 14), low16(_y >> 14))); }

    std::vector<Point> points;

private:
    /// Whether the pending run and this one are steps of one straight line.
    [[nodiscard]] bool goesOn(int direction, int length) const
    {
        const int turn = std::abs(direction - _direction);
        const int l = _length;
        const int n = length;
        return std::min(turn, 8 - turn) <= 1 && !(l > 2 && n > 2) && !(l > 1 && n > 3) &&
               !(l > 3 && n > 1);
    }

    void advance(int direction, int length)
    {
        _x = low32(_x + DX[direction] * _step * length);
        _y = low32(_y + DY[direction] * _step * length);
    }

    std::int64_t _step;
    std::size_t _capacity;
    std::int32_t _x; ///< fp<32, 28>
    std::int32_t _y;
    bool _pending = false;
    int _direction = 0;
    int _length = 0;
};

bool isCorner(Point before, Point point, Point after, int maxError)
{
    const Point u = after - before;
    const Point v = point - before;
    const std::int64_t ux = u.re.raw();
    const std::int64_t uy = u.im.raw();
    const std::int64_t vx = v.re.raw();
    const std::int64_t vy = v.im.raw();
    const std::int64_t l2 = low32(ux * ux + uy * uy);
    const std::int64_t dot = vx * ux + vy * uy;
    const std::int64_t cross2 = (vx * vx + vy * vy) * l2 - dot * dot;
    const std::int64_t t = std::int64_t{maxError} * 8192 / 16384;
    return l2 != 0 && cross2 > t * l2;
}

/// Reduces the n points from s on; the index behind the last one that stays.
int simplify(Point* points, int s, int n, int maxError)
{
    if (n <= 2) {
        return s + n;
    }
    int w = s + 1;
    int k = s + 1;
    int s0 = s;
    const int last = s + n - 1;
    while (k < last) {
        if (isCorner(points[k - 1], points[k], points[k + 1], maxError)) {
            points[w] = points[k];
            w = simplify(points, s0, w + 1 - s0, maxError);
            s0 = w - 1;
            k = k + 1;
        } else {
            points[w] = points[k + 1];
            w = w + 1;
            k = k + 2;
        }
    }
    if (k == last) {
        points[w] = points[last];
        w = w + 1;
    }
    return simplify(points, s0, w - s0, maxError);
}

} // namespace

void ReferenceExtractor::begin(image::Image& image, const analysis::ROI& roi, int maxError)
{
    _maxError = maxError;
    _imageWidth = image.width();
    _imageHeight = image.height();
    _position = 0;
    chooseRegion(image, roi);
    takeRegion(image);
    find();
}

void ReferenceExtractor::chooseRegion(const image::Image& image, const analysis::ROI& roi)
{
    const analysis::ROI wanted(roi.x, roi.y, roi.width, roi.height);
    _x = wanted.x;
    _y = wanted.y;
    _w = wanted.width;
    _h = wanted.height;
    if (!(_w > 0 && _h > 0 && _x <= image.width() - 2 && _y <= image.height() - 2)) {
        _x = 0;
        _y = 0;
        _w = image.width();
        _h = image.height();
    }
    _w = std::min(_w, image.width() - _x);
    _h = std::min(_h, image.height() - _y);
}

/// Clears the region's frame in the image, too.
void ReferenceExtractor::takeRegion(image::Image& image)
{
    _foreground.clear();
    for (int y = _y; y < _y + _h; ++y) {
        for (int x = _x; x < _x + _w; ++x) {
            std::uint8_t& pixel = image.data()[y * _imageWidth + x];
            if (y == _y || y == _y + _h - 1 || x == _x || x == _x + _w - 1) {
                pixel = 0;
            }
            _foreground.push_back(pixel != 0);
        }
    }
    _visited.assign(_foreground.size(), false);
}

bool ReferenceExtractor::foreground(int index) const
{
    return index >= 0 && index < _w * _h && _foreground[static_cast<std::size_t>(index)];
}

void ReferenceExtractor::find()
{
    for (; hasNext(); ++_position) {
        if (foreground(_position) && !_visited[static_cast<std::size_t>(_position)]) {
            _inner = foreground(_position - _w);
            if (!_inner || !foreground(_position + _w)) {
                return;
            }
        }
    }
}

std::vector<int> ReferenceExtractor::trace()
{
    std::vector<int> codes;
    int current = _position;
    int d = _inner ? 3 : 7;
    do {
        _visited[static_cast<std::size_t>(current)] = true;
        const auto next = [&](int code) { return current + DY[code] * _w + DX[code]; };
        int i = 0;
        while (i < 8 && !foreground(next((d + i) % 8))) {
            ++i;
        }
        if (i == 8) {
            break;
        }
        const int c = (d + i) % 8;
        current = next(c);
        codes.push_back(c);
        d = (c + 6) % 8;
    } while (current != _position);
    return codes;
}

Point ReferenceExtractor::startPoint() const
{
    const int half = _imageWidth / 2;
    const int cx = _x + _position % _w;
    const int cy = _y + _position / _w;
    return Point::fromRaw(low16((cx - half) * 16384 / half),
                          low16((cy - _imageHeight / 2) * 16384 / half));
}

std::int32_t ReferenceExtractor::step() const
{
    return 268435456 / (_imageWidth / 2);
}

std::vector<Point> ReferenceExtractor::nextPolygon(int capacity)
{
    Builder builder(startPoint(), step(), capacity);
    const std::vector<int> codes = trace();
    for (auto run = codes.begin(); run != codes.end();) {
        const auto end = std::find_if(run, codes.end(), [run](int code) { return code != *run; });
        builder.add(*run, static_cast<int>(end - run));
        run = end;
    }
    std::vector<Point>& points = builder.points;
    if (points.size() > 1) {
        builder.emitPoint();
    }
    const int count = simplify(points.data(), 0, static_cast<int>(points.size()), _maxError);
    points.resize(static_cast<std::size_t>(count));
    find();
    return points;
}

ReferenceExtractor::Measure ReferenceExtractor::measure()
{
    const std::int64_t s = step();
    const auto rootOfTwo = static_cast<std::int64_t>(1.4142135623730951 * 268435456 + 0.5);
    const std::int64_t diagonal = s * rootOfTwo >> 28;
    const Point start = startPoint();
    std::int64_t x = start.re.raw() * 16384;
    std::int64_t y = start.im.raw() * 16384;
    std::int64_t mx = 0;
    std::int64_t my = 0;
    std::int64_t length = 0;
    for (const int c : trace()) {
        const std::int64_t previousX = x;
        const std::int64_t previousY = y;
        x = low32(x + DX[c] * s);
        y = low32(y + DY[c] * s);
        const std::int64_t way = c % 2 == 0 ? s : diagonal;
        mx = low32(mx + (low32(previousX + x) * way >> 41));
        my = low32(my + (low32(previousY + y) * way >> 41));
        length = low32(length + (way >> 13));
    }
    const std::int64_t cx = length == 0 ? x >> 13 : mx * 32768 / (2 * length);
    const std::int64_t cy = length == 0 ? y >> 13 : my * 32768 / (2 * length);
    find();
    return {Point::fromRaw(low16(cx >> 1), low16(cy >> 1)), low32(length)};
}

void ReferenceExtractor::skip()
{
    (void)trace();
    find();
}

} // namespace tarvik::test
