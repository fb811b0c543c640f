#include "ocamera/simulated/Shape.h"

#include <algorithm>
#include <cstddef>

namespace OCamera::simulated {

namespace {

using Contour = std::vector<Point>;

/// Drawn in 1/14 unit, which is fine enough for round numbers.
constexpr std::int32_t DRAWN = 14;
constexpr std::int32_t FRACTION = 256;

constexpr std::uint16_t degrees(int tenths)
{
    return static_cast<std::uint16_t>(tenths * FULL_TURN / 3600);
}

std::int64_t squareRoot(std::int64_t value)
{
    std::int64_t root = 0;
    for (std::int64_t bit = std::int64_t{1} << 31; bit != 0; bit >>= 1) {
        if ((root + bit) * (root + bit) <= value) {
            root += bit;
        }
    }
    return root;
}

std::int64_t length(Point p)
{
    return squareRoot(std::int64_t{p.x} * p.x + std::int64_t{p.y} * p.y);
}

Point drawn(int x, int y)
{
    return {x * FRACTION / DRAWN, y * FRACTION / DRAWN};
}

/// Appends an arc of `steps` edges; from and to in tenths of a degree, the rest in 1/14 unit.
void appendArc(Contour& contour, int centreX, int centreY, int radius, int from, int to, int steps)
{
    for (int i = 0; i <= steps; ++i) {
        const Rotation turned(degrees(from + (to - from) * i / steps));
        const Point onCircle = turned(drawn(radius, 0));
        const Point centre = drawn(centreX, centreY);
        contour.push_back({centre.x + onCircle.x, centre.y + onCircle.y});
    }
}

Contour circle(int centreX, int centreY, int radius)
{
    Contour contour;
    appendArc(contour, centreX, centreY, radius, 0, 3600, 24);
    contour.pop_back();
    return contour;
}

Contour polygon(std::initializer_list<Point> points)
{
    Contour contour;
    for (const Point& p : points) {
        contour.push_back(drawn(p.x, p.y));
    }
    return contour;
}

Point outlineCentroid(const Contour& outline)
{
    std::int64_t sumX = 0;
    std::int64_t sumY = 0;
    std::int64_t sum = 0;
    Point previous = outline.back();
    for (const Point& p : outline) {
        const std::int64_t edge = length({p.x - previous.x, p.y - previous.y});
        sumX += (p.x + previous.x) * edge;
        sumY += (p.y + previous.y) * edge;
        sum += edge;
        previous = p;
    }
    if (sum == 0) {
        return outline.front();
    }
    return {static_cast<std::int32_t>(sumX / (2 * sum)),
            static_cast<std::int32_t>(sumY / (2 * sum))};
}

Shape centred(std::string_view name, Colour colour, std::vector<Contour> contours)
{
    const Point centroid = outlineCentroid(contours.front());
    std::int64_t radius = 0;
    for (Contour& contour : contours) {
        for (Point& p : contour) {
            p.x -= centroid.x;
            p.y -= centroid.y;
            radius = std::max(radius, length(p) + 1);
        }
    }
    return {name, colour, std::move(contours), static_cast<std::int32_t>(radius)};
}

Shape tabWasher()
{
    Contour outline;
    appendArc(outline, 0, 0, 416, 226, 3600 - 226, 30); // the tab is 23 units wide
    outline.push_back(drawn(720, -160));
    outline.push_back(drawn(720, 160));
    return centred("tab-washer", {255, 240, 97}, {outline, circle(0, 0, 192)});
}

Shape plate()
{
    return centred("plate", {151, 213, 255},
                   {polygon({{-592, -304}, {592, -304}, {592, 112}, {400, 304}, {-592, 304}}),
                    circle(-384, -128, 104), circle(344, -112, 104), circle(-96, 112, 128)});
}

Shape bracket()
{
    return centred("bracket", {162, 254, 162},
                   {polygon({{0, 0}, {1040, 0}, {1040, 304}, {304, 304}, {304, 640}, {0, 640}}),
                    circle(832, 152, 92)});
}

Shape gear()
{
    constexpr int PLACES = 5; // for teeth; the two next to the flat stay empty
    constexpr int TEETH = 3;
    Contour outline;
    for (int tooth = 0; tooth < TEETH; ++tooth) {
        const int middle = tooth * 3600 / PLACES;
        appendArc(outline, 0, 0, 432, middle - 220, middle - 220, 1);
        outline.pop_back();
        appendArc(outline, 0, 0, 624, middle - 120, middle + 120, 2);
        appendArc(outline, 0, 0, 432, middle + 220, middle + 500, 3);
        outline.pop_back();
    }
    appendArc(outline, 0, 0, 432, 1940, 2020, 1);
    appendArc(outline, 0, 0, 432, 3140, 3380, 3); // a straight line leads here
    outline.pop_back();
    return centred("gear", {250, 175, 232}, {outline, circle(0, 0, 160)});
}

Shape key()
{
    Contour outline;
    appendArc(outline, -304, 0, 312, 275, 3600 - 275, 24); // the shaft is 21 units thick
    for (const Point p : {Point{624, -144}, {624, 352}, {336, 352}, {336, 144}}) {
        outline.push_back(drawn(p.x, p.y));
    }
    return centred("key", {118, 238, 238}, {outline, circle(-304, 0, 152)});
}

Shape cam()
{
    Contour outline; // two circles and their common tangents
    appendArc(outline, -224, 0, 352, 748, 3600 - 748, 20);
    appendArc(outline, 448, 0, 176, -748, 748, 10);
    return centred("cam", {255, 205, 167}, {outline, circle(-240, 0, 160), circle(440, 0, 96)});
}

Shape shard()
{
    return centred("shard", {210, 209, 204},
                   {polygon({{-480, -192},
                             {-128, -480},
                             {416, -320},
                             {544, 128},
                             {96, 256},
                             {-64, 512},
                             {-416, 320}})});
}

} // namespace

const Shape& shapeOf(Kind kind)
{
    static const std::array<Shape, KINDS.size()> SHAPES{tabWasher(), plate(), bracket(), gear(),
                                                        key(),       cam(),   shard()};
    return SHAPES[static_cast<std::size_t>(kind)];
}

const TouchingPair& touchingPair()
{
    static const TouchingPair PAIR = [] {
        constexpr std::int32_t DEPTH = 13 * FRACTION / 4; // of the elbow inside the plate
        TouchingPair pair{Kind::Plate, Kind::Bracket, degrees(3600 - 1350), {}, {}, 0};
        const Shape& plate = shapeOf(pair.first);
        const Shape& bracket = shapeOf(pair.second);
        const Rotation turned(pair.secondRotation);
        // Corner 0 of the bracket is its elbow, corners 0 and 1 of the plate end its long side.
        const Point elbow = turned(bracket.contours[0][0]);
        const Point left = plate.contours[0][0];
        const Point right = plate.contours[0][1];
        const Point touch{(left.x + right.x) / 2, left.y + DEPTH};
        const Point apart{touch.x - elbow.x, touch.y - elbow.y};
        pair.firstOffset = {-apart.x / 2, -apart.y / 2};
        pair.secondOffset = {apart.x + pair.firstOffset.x, apart.y + pair.firstOffset.y};

        std::int64_t radius = 0;
        for (const Point& p : plate.contours[0]) {
            radius =
                std::max(radius, length({p.x + pair.firstOffset.x, p.y + pair.firstOffset.y}) + 1);
        }
        for (const Point& p : bracket.contours[0]) {
            const Point q = turned(p);
            radius = std::max(radius,
                              length({q.x + pair.secondOffset.x, q.y + pair.secondOffset.y}) + 1);
        }
        pair.radius = static_cast<std::int32_t>(radius);
        return pair;
    }();
    return PAIR;
}

} // namespace OCamera::simulated
