#include "OutputTransform.h"

#include "ApiError.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace tarvik::desk {

using database::Transform;

namespace {

constexpr double MAX_OUTPUT = 1024; // positions are reported in this range

/// X = xx x + xy y + x0, Y = yx x + yy y + y0.
struct Affine
{
    double xx = 0;
    double xy = 0;
    double x0 = 0;
    double yx = 0;
    double yy = 0;
    double y0 = 0;

    [[nodiscard]] PlanePoint apply(PlanePoint p) const
    {
        return {xx * p.x + xy * p.y + x0, yx * p.x + yy * p.y + y0};
    }
};

PlanePoint mean(std::span<const ReferencePoint> points, PlanePoint ReferencePoint::*which)
{
    PlanePoint sum;
    for (const ReferencePoint& p : points) {
        sum.x += (p.*which).x;
        sum.y += (p.*which).y;
    }
    const auto n = static_cast<double>(points.size());
    return {sum.x / n, sum.y / n};
}

void placeOffset(Affine& a, PlanePoint seen, PlanePoint robot)
{
    a.x0 = robot.x - a.xx * seen.x - a.xy * seen.y;
    a.y0 = robot.y - a.yx * seen.x - a.yy * seen.y;
}

/// Turn and scale by one complex division.
Affine similarity(const ReferencePoint& p, const ReferencePoint& q)
{
    const double dx = q.seen.x - p.seen.x;
    const double dy = q.seen.y - p.seen.y;
    const double length = dx * dx + dy * dy;
    if (length < 1e-6) {
        throw ApiError(ApiError::Unprocessable, "Both points were seen at the same spot. Choose "
                                                "two that lie far apart.");
    }
    const double rx = q.robot.x - p.robot.x;
    const double ry = q.robot.y - p.robot.y;
    const double c = (rx * dx + ry * dy) / length;
    const double s = (ry * dx - rx * dy) / length;
    Affine a{.xx = c, .xy = -s, .yx = s, .yy = c};
    placeOffset(a, p.seen, p.robot);
    return a;
}

/// The normal equations around the means, which leaves a symmetric 2 x 2 matrix to invert.
Affine affine(std::span<const ReferencePoint> points)
{
    const PlanePoint seen = mean(points, &ReferencePoint::seen);
    const PlanePoint robot = mean(points, &ReferencePoint::robot);
    double sxx = 0;
    double sxy = 0;
    double syy = 0;
    Affine b; // sums of products with the robot's coordinates
    for (const ReferencePoint& p : points) {
        const double x = p.seen.x - seen.x;
        const double y = p.seen.y - seen.y;
        sxx += x * x;
        sxy += x * y;
        syy += y * y;
        b.xx += (p.robot.x - robot.x) * x;
        b.xy += (p.robot.x - robot.x) * y;
        b.yx += (p.robot.y - robot.y) * x;
        b.yy += (p.robot.y - robot.y) * y;
    }
    const double determinant = sxx * syy - sxy * sxy;
    const double spread = sxx + syy;
    if (!(determinant > 1e-4 * spread * spread) || spread < 1e-6) {
        throw ApiError(ApiError::Unprocessable, "The points lie on one line. Add one well beside "
                                                "it.");
    }
    Affine a{.xx = (b.xx * syy - b.xy * sxy) / determinant,
             .xy = (b.xy * sxx - b.xx * sxy) / determinant,
             .yx = (b.yx * syy - b.yy * sxy) / determinant,
             .yy = (b.yy * sxx - b.yx * sxy) / determinant};
    placeOffset(a, seen, robot);
    return a;
}

fp<32, 15> element(double value)
{
    constexpr double MOST = 65535;
    if (!(std::abs(value) <= MOST)) {
        throw ApiError("A matrix element", value, "numbers from -65535 to 65535");
    }
    return fp<32, 15>::fromDouble(value);
}

void checkCorners(const Affine& a)
{
    for (const double x : {-1.0, 1.0}) {
        for (const double y : {-1.0, 1.0}) {
            const PlanePoint p = a.apply({x, y});
            if (!(std::abs(p.x) < MAX_OUTPUT && std::abs(p.y) < MAX_OUTPUT)) {
                throw ApiError("A corner's coordinate",
                               rounded(std::max(std::abs(p.x), std::abs(p.y)), 1),
                               "values within -1024 to 1024, since results wrap beyond; use "
                               "larger units or a nearer origin");
            }
        }
    }
}

Affine inFormat(const Transform::Matrix& m)
{
    return {m.column0.re.toDouble(), m.column0.im.toDouble(), m.column2.re.toDouble(),
            m.column1.re.toDouble(), m.column1.im.toDouble(), m.column2.im.toDouble()};
}

} // namespace

FittedTransform fitTransform(std::span<const ReferencePoint> points)
{
    if (points.size() < 2) {
        throw ApiError("points", points.size(), "two points or more");
    }
    const Affine a = points.size() == 2 ? similarity(points[0], points[1]) : affine(points);
    checkCorners(a);
    FittedTransform fitted;
    fitted.matrix.column0 = {element(a.xx), element(a.xy)};
    fitted.matrix.column1 = {element(a.yx), element(a.yy)};
    fitted.matrix.column2 = {element(a.x0), element(a.y0)};
    fitted.mirrored = a.xx * a.yy - a.xy * a.yx < 0;
    const Affine applied = inFormat(fitted.matrix);
    double sum = 0;
    for (const ReferencePoint& p : points) {
        const PlanePoint put = applied.apply(p.seen);
        const double distance = std::hypot(put.x - p.robot.x, put.y - p.robot.y);
        fitted.residuals.push_back(distance);
        sum += distance * distance;
    }
    fitted.rms = std::sqrt(sum / static_cast<double>(points.size()));
    return fitted;
}

} // namespace tarvik::desk
