#include "Overlay.h"

#include "Canvas.h"
#include "teaching/Teaching.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace tarvik::lab {

using analysis::Object;
using analysis::Polygon;
using database::Matching;
using teaching::PictureSize;

namespace {

constexpr int SCALE = 2;
constexpr Colour UNKNOWN{255, 90, 70};
constexpr Colour CLIPPED{150, 150, 150};
constexpr Colour CUT{255, 60, 255};
constexpr Colour WHITE{255, 255, 255};
constexpr std::array<Colour, 8> TEMPLATES{{{90, 220, 120},
                                           {80, 190, 255},
                                           {255, 210, 70},
                                           {200, 150, 255},
                                           {110, 235, 220},
                                           {255, 160, 90},
                                           {180, 220, 90},
                                           {255, 150, 200}}};

Colour colourOf(const Object& object, const Matching& matching)
{
    if (matching.templateID != -1) {
        return TEMPLATES[static_cast<std::uint16_t>(matching.templateID) % TEMPLATES.size()];
    }
    return object.clipped() ? CLIPPED : UNKNOWN;
}

class Drawing
{
public:
    explicit Drawing(const image::Image& picture)
        : _size{picture.width(), picture.height()},
          _canvas(picture, SCALE)
    {}

    void object(const Object& object, const Matching& matching)
    {
        const Colour colour = colourOf(object, matching);
        const auto centre = object.polygon().position();
        outline(object.polygon(), {}, 1.6, colour);
        for (const auto& hole : object.innerContours()) {
            outline(hole.polygon, centre, 1.0, colour);
        }
        if (matching.templateID != -1) {
            pose(matching, colour);
        }
        const std::string name =
            matching.templateID == -1 ? "?" : std::to_string(matching.templateID);
        _canvas.label(at(centre), name, 14, WHITE);
    }

    void cut(const breakup::Cut& cut) { _canvas.line(at(cut.point1), at(cut.point2), 2, CUT); }

    [[nodiscard]] const image::Image& picture() const { return _canvas.picture(); }

private:
    [[nodiscard]] CanvasPoint at(double x, double y) const
    {
        const auto pixel = teaching::toPixels(x, y, _size);
        return {pixel.x, pixel.y};
    }

    [[nodiscard]] CanvasPoint at(Complex<16, 14> p) const
    {
        return at(p.re.toDouble(), p.im.toDouble());
    }

    void outline(const Polygon& polygon, Complex<16, 14> origin, double width, Colour colour)
    {
        const auto points = polygon.points();
        const auto offset = origin + polygon.position();
        for (std::size_t i = 0; i + 1 < points.size(); ++i) {
            _canvas.line(at(offset + points[i]), at(offset + points[i + 1]), width, colour);
        }
    }

    /// A ring at the reported position and an arrow along the reported rotation.
    void pose(const Matching& matching, Colour colour)
    {
        constexpr double LENGTH = 34;
        constexpr double BARB = 7;
        const double angle = matching.rotation.toDouble();
        const CanvasPoint from =
            at(matching.position.re.toDouble(), matching.position.im.toDouble());
        const auto along = [](CanvasPoint p, double a, double distance) {
            return CanvasPoint{p.x + std::cos(a) * distance, p.y + std::sin(a) * distance};
        };
        const CanvasPoint tip = along(from, angle, LENGTH);
        _canvas.circle(from, 4, 1.4, colour);
        _canvas.line(from, tip, 1.6, colour);
        _canvas.line(tip, along(tip, angle + 2.6, BARB), 1.6, colour);
        _canvas.line(tip, along(tip, angle - 2.6, BARB), 1.6, colour);
    }

    PictureSize _size;
    Canvas _canvas;
};

} // namespace

image::Image overlay(const image::Image& picture, const com::StreamContents& result)
{
    Drawing drawing(picture);
    const int count = std::min<int>(result.frame.objectCount(), result.matchings.count());
    for (int i = 0; i < count; ++i) {
        drawing.object(result.frame.object(i), result.matchings[i]);
    }
    for (const breakup::Cut& cut : result.frame.possibleCuts().cuts()) {
        drawing.cut(cut);
    }
    return drawing.picture();
}

} // namespace tarvik::lab
