#include "ReferenceExtractor.h"

#include <algorithm>
#include <cstdlib>

namespace tarvik::test {

namespace {

constexpr std::array<int, 8> DX{1, 1, 0, -1, -1, -1, 0, 1};
constexpr std::array<int, 8> DY{0, 1, 1, 1, 0, -1, -1, -1};

bool bit(const std::vector<std::uint32_t>& words, int index)
{
    return (words[static_cast<std::size_t>(index / 32)] >> (index % 32) & 1U) != 0;
}

void setBit(std::vector<std::uint32_t>& words, int index)
{
    words[static_cast<std::size_t>(index / 32)] |= 1U << (index % 32);
}

std::int16_t low16(std::int64_t value)
{
    return static_cast<std::int16_t>(value);
}

/// Tall pictures leave the range of fp<32, 28>.
std::int32_t low32(std::int64_t value)
{
    return static_cast<std::int32_t>(value);
}

} // namespace

void ReferenceExtractor::begin(image::Image& image, const analysis::ROI& roi, int maxError)
{
    _maxError = maxError;
    _imageWidth = image.width();
    _imageHeight = image.height();
    _position = 0;
    _inner = false;
    chooseRegion(image, roi);
    clearFrame(image);
    pack(image);
    _visited.assign(_packed.size(), 0);
    for (std::size_t code = 0; code < 8; ++code) {
        _offsets[code] = DY[code] * _w + DX[code];
    }
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
    if (_x + _w > image.width()) {
        _w = std::max(image.width() - _x, 0);
    }
    if (_y + _h > image.height()) {
        _h = std::max(image.height() - _y, 0);
    }
}

void ReferenceExtractor::clearFrame(image::Image& image) const
{
    for (int row = _y; row < _y + _h; ++row) {
        for (int column = _x; column < _x + _w; ++column) {
            if (row == _y || row == _y + _h - 1 || column == _x || column == _x + _w - 1) {
                image.data()[row * image.width() + column] = 0;
            }
        }
    }
}

void ReferenceExtractor::pack(const image::Image& image)
{
    _packed.assign(static_cast<std::size_t>((_w * _h + 31) / 32), 0);
    for (int r = 0; r < _h; ++r) {
        for (int c = 0; c < _w; ++c) {
            if (image.data()[(_y + r) * image.width() + _x + c] != 0) {
                setBit(_packed, r * _w + c);
            }
        }
    }
}

bool ReferenceExtractor::foreground(int index) const
{
    return index >= 0 && index < _w * _h && bit(_packed, index);
}

void ReferenceExtractor::find()
{
    if (!hasNext()) {
        return;
    }
    for (std::size_t word = static_cast<std::size_t>(_position / 32); word < _packed.size();
         ++word) {
        if (_packed[word] == 0) {
            continue;
        }
        for (int b = 0; b < 32; ++b) {
            _position = static_cast<int>(word) * 32 + b;
            if (!foreground(_position) || bit(_visited, _position)) {
                continue;
            }
            if (!foreground(_position - _w)) {
                _inner = false;
                return;
            }
            if (!foreground(_position + _w)) {
                _inner = true;
                return;
            }
        }
    }
    _position = _w * _h;
}

std::vector<int> ReferenceExtractor::trace()
{
    std::vector<int> codes;
    const int start = _position;
    int current = start;
    int d = _inner ? 3 : 7;
    do {
        setBit(_visited, current);
        int i = 0;
        while (i < 8 && !foreground(current + _offsets[static_cast<std::size_t>((d + i) % 8)])) {
            ++i;
        }
        if (i == 8) {
            break;
        }
        const int c = (d + i) % 8;
        current += _offsets[static_cast<std::size_t>(c)];
        codes.push_back(c);
        d = (c + 6) % 8;
    } while (current != start);
    return codes;
}

ReferenceExtractor::Point ReferenceExtractor::startPoint() const
{
    const int half = _imageWidth / 2;
    const int cx = _x + _position % _w;
    const int cy = _y + _position / _w;
    return Point::fromRaw(low16((cx - half) * 16384 / half),
                          low16((cy - _imageHeight / 2) * 16384 / half));
}

void ReferenceExtractor::advance(Builder& builder, int direction, int length) const
{
    if (direction > 7) {
        return;
    }
    const int s = 268435456 / (_imageWidth / 2);
    const auto code = static_cast<std::size_t>(direction);
    builder.x = low32(builder.x + std::int64_t{DX[code]} * s * length);
    builder.y = low32(builder.y + std::int64_t{DY[code]} * s * length);
}

void ReferenceExtractor::emitPoint(Builder& builder)
{
    builder.points.push_back(Point::fromRaw(low16(builder.x >> 14), low16(builder.y >> 14)));
}

void ReferenceExtractor::add(Builder& builder, int direction, int length) const
{
    if (static_cast<int>(builder.points.size()) >= builder.capacity - 1) {
        return;
    }
    if (!builder.pending) {
        builder.direction = direction;
        builder.length = length;
        advance(builder, direction, length);
        builder.pending = true;
        return;
    }
    int distance = std::abs(direction - builder.direction);
    if (distance > 4) {
        distance = 8 - distance;
    }
    const int l = builder.length;
    const int n = length;
    if (distance <= 1 && !(l > 2 && n > 2) && !(l > 1 && n > 3) && !(l > 3 && n > 1)) {
        advance(builder, direction, length);
        emitPoint(builder);
        builder.pending = false;
        return;
    }
    emitPoint(builder);
    builder.direction = direction;
    builder.length = length;
    advance(builder, direction, length);
}

std::vector<ReferenceExtractor::Point> ReferenceExtractor::nextPolygon(int capacity)
{
    Builder builder;
    builder.capacity = capacity;
    builder.points = {startPoint()};
    builder.x = builder.points[0].re.raw() * 16384;
    builder.y = builder.points[0].im.raw() * 16384;
    int code = 255;
    int length = 0;
    for (const int c : trace()) {
        if (c == code) {
            ++length;
            continue;
        }
        if (code != 255) {
            add(builder, code, length);
        }
        code = c;
        length = 1;
    }
    add(builder, code, length);
    if (builder.points.size() > 1) {
        emitPoint(builder);
    }
    const int count = simplify(builder.points, 0, static_cast<int>(builder.points.size()));
    builder.points.resize(static_cast<std::size_t>(count));
    find();
    return builder.points;
}

int ReferenceExtractor::simplify(std::vector<Point>& points, int s, int n) const
{
    const auto at = [&](int i) -> Point& { return points[static_cast<std::size_t>(i)]; };
    if (n <= 2) {
        return s + n;
    }
    int w = s + 1;
    int k = s + 1;
    int s0 = s;
    const int last = s + n - 1;
    while (k < last) {
        if (corner(points, k)) {
            at(w) = at(k);
            const int r = simplify(points, s0, w + 1 - s0);
            s0 = r - 1;
            w = r;
            k = k + 1;
        } else {
            at(w) = at(k + 1);
            w = w + 1;
            k = k + 2;
        }
    }
    if (k < s + n) {
        at(w) = at(s + n - 1);
        w = w + 1;
    }
    return simplify(points, s0, w - s0);
}

bool ReferenceExtractor::corner(const std::vector<Point>& points, int k) const
{
    const auto at = [&](int i) { return points[static_cast<std::size_t>(i)]; };
    const Point u = at(k + 1) - at(k - 1);
    const Point v = at(k) - at(k - 1);
    const std::int64_t ux = u.re.raw();
    const std::int64_t uy = u.im.raw();
    const std::int64_t vx = v.re.raw();
    const std::int64_t vy = v.im.raw();
    const std::int64_t l2 = low32(ux * ux + uy * uy);
    if (l2 == 0) {
        return false;
    }
    const std::int64_t dot = vx * ux + vy * uy;
    const std::int64_t cross2 = (vx * vx + vy * vy) * l2 - dot * dot;
    const std::int64_t t = std::int64_t{_maxError} * 8192 / 16384;
    return cross2 > t * l2;
}

ReferenceExtractor::Measure ReferenceExtractor::measure()
{
    const std::int64_t s = 268435456 / (_imageWidth / 2);
    const auto rootOfTwo = static_cast<std::int64_t>(1.4142135623730951 * 268435456 + 0.5);
    const std::int64_t diagonal = s * rootOfTwo >> 28;
    const Point start = startPoint();
    std::int64_t x = start.re.raw() * 16384;
    std::int64_t y = start.im.raw() * 16384;
    std::int64_t mx = 0;
    std::int64_t my = 0;
    std::int64_t length = 0;
    for (const int c : trace()) {
        const auto code = static_cast<std::size_t>(c);
        const std::int64_t previousX = x;
        const std::int64_t previousY = y;
        x = low32(x + DX[code] * s);
        y = low32(y + DY[code] * s);
        const std::int64_t step = c % 2 == 0 ? s : diagonal;
        mx = low32(mx + (low32(previousX + x) * step >> 41));
        my = low32(my + (low32(previousY + y) * step >> 41));
        length = low32(length + (step >> 13));
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
