#include "FrameJson.h"

#include "Snapshot.h"
#include "math/polar.h"

#include <algorithm>
#include <cmath>

namespace tarvik::desk {

using analysis::Object;
using analysis::Polygon;
using database::Matching;
using database::Template;
using teaching::PictureSize;
using teaching::PixelPoint;

double rounded(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return std::round(value * scale) / scale;
}

namespace {

Json point(PixelPoint p)
{
    return {{"x", rounded(p.x, 1)}, {"y", rounded(p.y, 1)}};
}

PixelPoint pixel(Complex<16, 14> p, PictureSize size)
{
    return teaching::toPixels(p.re.toDouble(), p.im.toDouble(), size);
}

/// The part's own axis as it lies in the picture, without what the template adds to it.
double axisInPicture(const Matching& matching, const Template& t, const database::Transform& to)
{
    const auto& column = to.combinedMatrix.column0;
    return matching.rotation.toDouble() - t.rotation.toDouble() +
           std::atan2(column.im.toDouble(), column.re.toDouble());
}

PixelPoint gripInPicture(const Object& object, const Template& t, double axis, PictureSize size)
{
    const auto centre = object.fourierDescriptor().centre();
    const double gx = t.gripPoint.re.toDouble();
    const double gy = t.gripPoint.im.toDouble();
    return teaching::toPixels(centre.re.toDouble() + gx * std::cos(axis) - gy * std::sin(axis),
                              centre.im.toDouble() + gx * std::sin(axis) + gy * std::cos(axis),
                              size);
}

Json box(const Polygon& p, PictureSize size)
{
    const double half = size.width / 2.0;
    const PixelPoint at = pixel(p.position(), size);
    return {rounded(at.x + p.left().toDouble() * half, 1),
            rounded(at.y + p.top().toDouble() * half, 1),
            rounded(at.x + p.right().toDouble() * half, 1),
            rounded(at.y + p.bottom().toDouble() * half, 1)};
}

void addShape(Json& json, const Object& object, PictureSize size)
{
    json["length"] = rounded(object.polygon().length().toDouble() * size.width / 2, 1);
    json["box"] = box(object.polygon(), size);
    json["outline"] = outlineJson(object.polygon(), {}, size);
    json["holes"] = Json::array();
    for (const auto& hole : object.innerContours()) {
        json["holes"].push_back(outlineJson(hole.polygon, object.polygon().position(), size));
    }
}

/// Whether an end of a cut is a corner of the outline; the flag "cropped" alone stands at every
/// unrecognised object of a frame in which something was cut.
bool isCutOff(const Object& object, const analysis::Frame& frame)
{
    constexpr double NEAR = 0.004;
    const auto atCorner = [&](Complex<16, 14> end) {
        const auto at = object.polygon().position();
        return std::ranges::any_of(object.polygon().points(), [&](const auto& p) {
            return std::hypot((at.re + p.re - end.re).toDouble(),
                              (at.im + p.im - end.im).toDouble()) < NEAR;
        });
    };
    return object.cropped() && frame.brokenUp() &&
           std::ranges::any_of(frame.possibleCuts().cuts(), [&](const breakup::Cut& cut) {
               return atCorner(cut.point1) && atCorner(cut.point2);
           });
}

Json objectJson(const Object& object, const Matching& matching, const Snapshot& snapshot)
{
    const PictureSize size = snapshot.size();
    const auto t = snapshot.database().findTemplateById(matching.templateID);
    const bool recognised = matching.templateID != -1;
    double axis = object.fourierDescriptor().rotation().toDouble();
    Json json;
    json["id"] = object.id();
    json["template"] = recognised ? Json(matching.templateID) : Json();
    json["pixel"] = point(pixel(object.polygon().position(), size));
    json["position"] = {{"x", rounded(matching.position.re.toDouble(), 5)},
                        {"y", rounded(matching.position.im.toDouble(), 5)}};
    json["rotation"] = rounded(matching.rotation.toDouble() * RAD_TO_DEG, 2);
    json["confidence"] = rounded(matching.confidence.toDouble(), 4);
    json["error"] = rounded(matching.error.toDouble(), 5);
    json["clipped"] = object.clipped();
    json["cropped"] = object.cropped();
    json["cut"] = isCutOff(object, snapshot.result().frame);
    if (recognised && t != nullptr) {
        axis = axisInPicture(matching, *t, snapshot.database().config().transform());
        json["grip"] = point(gripInPicture(object, *t, axis, size));
    }
    json["axis"] = rounded(axis * RAD_TO_DEG, 2);
    addShape(json, object, size);
    return json;
}

Json cutsJson(const analysis::Frame& frame, PictureSize size)
{
    Json cuts = Json::array();
    if (!frame.brokenUp()) {
        return cuts;
    }
    for (const breakup::Cut& cut : frame.possibleCuts().cuts()) {
        const PixelPoint a = pixel(cut.point1, size);
        const PixelPoint b = pixel(cut.point2, size);
        cuts.push_back({rounded(a.x, 1), rounded(a.y, 1), rounded(b.x, 1), rounded(b.y, 1)});
    }
    return cuts;
}

} // namespace

Json outlineJson(const Polygon& polygon, Complex<16, 14> origin, PictureSize size)
{
    Json flat = Json::array();
    const PixelPoint at = pixel(polygon.position(), size);
    const double half = size.width / 2.0;
    for (const auto& p : polygon.points()) {
        flat.push_back(rounded(at.x + (p.re.toDouble() + origin.re.toDouble()) * half, 1));
        flat.push_back(rounded(at.y + (p.im.toDouble() + origin.im.toDouble()) * half, 1));
    }
    return flat;
}

Json frameJson(const Snapshot& snapshot)
{
    const com::StreamContents& result = snapshot.result();
    Json json;
    json["image"] = snapshot.number();
    json["time"] = snapshot.epochMs();
    json["width"] = snapshot.size().width;
    json["height"] = snapshot.size().height;
    json["brokenUp"] = result.frame.brokenUp();
    json["objects"] = Json::array();
    const int count = std::min<int>(result.frame.objectCount(), result.matchings.count());
    for (int i = 0; i < count; ++i) {
        json["objects"].push_back(
            objectJson(result.frame.object(i), result.matchings[i], snapshot));
    }
    json["cuts"] = cutsJson(result.frame, snapshot.size());
    json["times"] = {{"analysisUs", result.frame.elapsedTime1stRun()},
                     {"matchingUs", result.matchings.elapsedTime()},
                     {"breakupUs", result.frame.possibleCuts().elapsedTime()},
                     {"reanalysisUs", result.frame.elapsedTime2ndRun()}};
    return json;
}

namespace {

/// From the outline's own position, around which its points lie, to the descriptor's centre, around
/// which grip points lie; in the template's axes.
PixelPoint centreOf(const Template& t)
{
    const auto& descriptor = t.fourierDescriptor();
    const double x = descriptor.centre().re.toDouble() - t.polygon().position().re.toDouble();
    const double y = descriptor.centre().im.toDouble() - t.polygon().position().im.toDouble();
    const double angle = descriptor.rotation().toDouble();
    return {x * std::cos(angle) + y * std::sin(angle), y * std::cos(angle) - x * std::sin(angle)};
}

Json ownOutline(const Polygon& polygon, PixelPoint position, PixelPoint centre)
{
    Json flat = Json::array();
    for (const auto& p : polygon.points()) {
        flat.push_back(rounded(p.re.toDouble() + position.x - centre.x, 4));
        flat.push_back(rounded(p.im.toDouble() + position.y - centre.y, 4));
    }
    return flat;
}

} // namespace

Json templateJson(const Template& t)
{
    const PixelPoint centre = centreOf(t);
    Json json;
    json["id"] = t.id;
    json["grip"] = {{"x", rounded(t.gripPoint.re.toDouble(), 5)},
                    {"y", rounded(t.gripPoint.im.toDouble(), 5)}};
    json["height"] = rounded(t.height.toDouble(), 4);
    json["rotation"] = rounded(t.rotation.toDouble() * RAD_TO_DEG, 3);
    json["gripHeight"] = rounded(t.gripHeight.toDouble(), 4);
    json["gripRotation"] = rounded(t.gripRotation.toDouble() * RAD_TO_DEG, 3);
    json["considerHoles"] = t.considerInnerContours;
    json["length"] = rounded(t.polygon().length().toDouble(), 4);
    json["outline"] = ownOutline(t.polygon(), {}, centre);
    json["holes"] = Json::array();
    for (const auto& hole : t.innerContours()) {
        const auto at = hole.polygon.position();
        json["holes"].push_back(
            ownOutline(hole.polygon, {at.re.toDouble(), at.im.toDouble()}, centre));
    }
    return json;
}

} // namespace tarvik::desk
