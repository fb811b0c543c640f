#include "ocamera/simulated/Raster.h"

#include <algorithm>
#include <cstddef>

namespace OCamera::simulated {

namespace {

constexpr std::int32_t PIXEL = 256;
constexpr int LINES_PER_ROW = 4;

struct Box
{
    std::int32_t left = INT32_MAX;
    std::int32_t top = INT32_MAX;
    std::int32_t right = INT32_MIN;
    std::int32_t bottom = INT32_MIN;
};

Box boxOf(const std::vector<Point>& outline)
{
    Box box;
    for (const Point& p : outline) {
        box.left = std::min(box.left, p.x);
        box.right = std::max(box.right, p.x);
        box.top = std::min(box.top, p.y);
        box.bottom = std::max(box.bottom, p.y);
    }
    return box;
}

} // namespace

void Raster::fill(const std::vector<std::vector<Point>>& contours, int pictureWidth,
                  int pictureHeight, Mask& mask)
{
    const Box box = boxOf(contours.front());
    const auto pixel = [](std::int32_t v, int limit) { return std::clamp(v >> 8, 0, limit); };
    mask.left = pixel(box.left, pictureWidth);
    mask.top = pixel(box.top, pictureHeight);
    mask.width = std::max(pixel(box.right + PIXEL, pictureWidth) - mask.left, 0);
    mask.height = std::max(pixel(box.bottom + PIXEL, pictureHeight) - mask.top, 0);

    const auto width = static_cast<std::size_t>(mask.width);
    mask.coverage.resize(width * static_cast<std::size_t>(mask.height));
    _row.resize(width);
    for (int y = 0; y < mask.height; ++y) {
        std::fill(_row.begin(), _row.end(), 0);
        for (int line = 0; line < LINES_PER_ROW; ++line) {
            const std::int32_t within = (2 * line + 1) * PIXEL / (2 * LINES_PER_ROW);
            addScanLine(contours, (mask.top + y) * PIXEL + within, mask.left, mask.width);
        }
        std::uint8_t* out = mask.coverage.data() + static_cast<std::size_t>(y) * width;
        for (std::size_t x = 0; x < width; ++x) {
            out[x] =
                static_cast<std::uint8_t>(std::min(_row[x] / LINES_PER_ROW, std::int32_t{255}));
        }
    }
}

void Raster::addScanLine(const std::vector<std::vector<Point>>& contours, std::int32_t y, int left,
                         int width)
{
    _crossings.clear();
    for (const std::vector<Point>& contour : contours) {
        Point a = contour.back();
        for (const Point& b : contour) {
            if ((a.y <= y) != (b.y <= y)) {
                const std::int64_t run = std::int64_t{b.x - a.x} * (y - a.y) / (b.y - a.y);
                _crossings.push_back(a.x + static_cast<std::int32_t>(run));
            }
            a = b;
        }
    }
    std::sort(_crossings.begin(), _crossings.end());
    const std::int32_t origin = left * PIXEL;
    const auto clipped = [&](std::int32_t x) { return std::clamp(x - origin, 0, width * PIXEL); };
    for (std::size_t i = 0; i + 1 < _crossings.size(); i += 2) {
        addSpan(clipped(_crossings[i]), clipped(_crossings[i + 1]));
    }
}

void Raster::addSpan(std::int32_t from, std::int32_t to)
{
    if (from >= to) {
        return;
    }
    const auto first = static_cast<std::size_t>(from / PIXEL);
    const auto last = static_cast<std::size_t>(to / PIXEL);
    if (first == last) {
        _row[first] += to - from;
        return;
    }
    _row[first] += PIXEL - from % PIXEL;
    for (std::size_t x = first + 1; x < last; ++x) {
        _row[x] += PIXEL;
    }
    if (to % PIXEL != 0) {
        _row[last] += to % PIXEL;
    }
}

} // namespace OCamera::simulated
