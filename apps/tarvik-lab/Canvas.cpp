#include "Canvas.h"

#include "PictureFile.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string_view>

namespace tarvik::lab {

namespace {

constexpr Colour RIM{0, 0, 0};

/// Strokes of the characters on a grid of 3 columns and 5 rows, as pairs of column and row; a blank
/// lifts the pen.
constexpr std::string_view strokes(char c)
{
    constexpr std::array<std::string_view, 10> FIGURES{
        "0020240400",   "011014 0424",     "002022020424", "00202404 0222",   "000222 2024",
        "200002222404", "2000042422 2202", "002014",       "0020240400 0222", "0424200002 0222"};
    if (c >= '0' && c <= '9') {
        return FIGURES[static_cast<std::size_t>(c - '0')];
    }
    return c == '-' ? "0222" : "0100202112 1314"; // the latter: a question mark
}

double distanceToSegment(CanvasPoint p, CanvasPoint a, CanvasPoint b)
{
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double squared = dx * dx + dy * dy;
    const double t =
        squared == 0 ? 0 : std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / squared, 0.0, 1.0);
    return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

} // namespace

Canvas::Canvas(const image::Image& picture, int scale)
    : _scale(scale),
      _picture(scaled(toRgb(picture), static_cast<std::uint16_t>(picture.width() * scale),
                      static_cast<std::uint16_t>(picture.height() * scale)))
{
    for (std::uint8_t& value : _picture.bytes()) {
        value = static_cast<std::uint8_t>(value * 3 / 4);
    }
}

void Canvas::blend(int x, int y, double opacity, Colour colour)
{
    if (x < 0 || y < 0 || x >= _picture.width() || y >= _picture.height() || opacity <= 0) {
        return;
    }
    const std::size_t offset =
        3 * (static_cast<std::size_t>(y) * _picture.width() + static_cast<std::size_t>(x));
    for (std::size_t i = 0; i < colour.size(); ++i) {
        std::uint8_t& value = _picture.data()[offset + i];
        value = static_cast<std::uint8_t>(std::lround(value + opacity * (colour[i] - value)));
    }
}

void Canvas::stroke(CanvasPoint from, CanvasPoint to, double width, Colour colour)
{
    const CanvasPoint a{from.x * _scale, from.y * _scale};
    const CanvasPoint b{to.x * _scale, to.y * _scale};
    const double radius = width * _scale / 2;
    // Coordinates of foreign results may lie far outside.
    const auto clampX = [this](double x) {
        return static_cast<int>(std::clamp(x, -1.0, static_cast<double>(_picture.width())));
    };
    const auto clampY = [this](double y) {
        return static_cast<int>(std::clamp(y, -1.0, static_cast<double>(_picture.height())));
    };
    const int right = clampX(std::max(a.x, b.x) + radius + 1);
    const int bottom = clampY(std::max(a.y, b.y) + radius + 1);
    for (int y = clampY(std::min(a.y, b.y) - radius - 1); y <= bottom; ++y) {
        for (int x = clampX(std::min(a.x, b.x) - radius - 1); x <= right; ++x) {
            const double distance = distanceToSegment({x + 0.5, y + 0.5}, a, b);
            blend(x, y, std::clamp(radius + 0.5 - distance, 0.0, 1.0), colour);
        }
    }
}

void Canvas::line(CanvasPoint from, CanvasPoint to, double width, Colour colour)
{
    stroke(from, to, width, colour);
}

void Canvas::circle(CanvasPoint centre, double radius, double width, Colour colour)
{
    constexpr int CORNERS = 32;
    const auto corner = [&](int i) {
        const double a = 2 * std::numbers::pi * i / CORNERS;
        return CanvasPoint{centre.x + radius * std::cos(a), centre.y + radius * std::sin(a)};
    };
    for (int i = 0; i < CORNERS; ++i) {
        stroke(corner(i), corner(i + 1), width, colour);
    }
}

void Canvas::glyph(char c, CanvasPoint corner, double unit, double width, Colour colour)
{
    const std::string_view pen = strokes(c);
    const auto at = [&](std::size_t i) {
        return CanvasPoint{corner.x + (pen[i] - '0') * unit, corner.y + (pen[i + 1] - '0') * unit};
    };
    for (std::size_t i = 0; i + 3 < pen.size(); i += 2) {
        if (pen[i + 2] == ' ') {
            ++i; // to the first point behind the blank
            continue;
        }
        stroke(at(i), at(i + 2), width, colour);
    }
}

void Canvas::label(CanvasPoint centre, const std::string& text, double height, Colour colour)
{
    const double unit = height / 4;
    const double advance = 3.2 * unit;
    const double left = centre.x - (static_cast<double>(text.size()) * advance - 1.2 * unit) / 2;
    for (const bool rim : {true, false}) {
        CanvasPoint corner{left, centre.y - height / 2};
        for (const char c : text) {
            glyph(c, corner, unit, rim ? unit * 1.6 : unit * 0.75, rim ? RIM : colour);
            corner.x += advance;
        }
    }
}

} // namespace tarvik::lab
