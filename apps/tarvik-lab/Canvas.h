#pragma once

#include "image/Image.h"

#include <array>
#include <cstdint>
#include <string>

namespace tarvik::lab {

using Colour = std::array<std::uint8_t, 3>;

struct CanvasPoint
{
    double x = 0;
    double y = 0;
};

/// Smooth lines and figures over a picture; pixels from its upper left corner.
class Canvas
{
public:
    /// Takes the picture, grey or colour, this many times as large, and a little darker so that
    /// what is drawn stands out. Coordinates stay those of the picture.
    Canvas(const image::Image& picture, int scale);

    void line(CanvasPoint from, CanvasPoint to, double width, Colour colour);
    void circle(CanvasPoint centre, double radius, double width, Colour colour);
    /// Figures, minus and question mark, centred, with a dark rim.
    void label(CanvasPoint centre, const std::string& text, double height, Colour colour);

    [[nodiscard]] const image::Image& picture() const { return _picture; }

private:
    void stroke(CanvasPoint from, CanvasPoint to, double width, Colour colour);
    void glyph(char c, CanvasPoint corner, double unit, double width, Colour colour);
    void blend(int x, int y, double opacity, Colour colour);

    int _scale;
    image::Image _picture;
};

} // namespace tarvik::lab
