#include "ResultJson.h"

#include <cmath>
#include <numbers>

namespace tarvik::lab {

using analysis::Object;
using database::Matching;
using teaching::PictureSize;
using teaching::PixelPoint;

namespace {

constexpr double RAD_TO_DEG = 180 / std::numbers::pi;

/// Decimals that show more than the formats resolve would only be noise.
double rounded(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    return std::round(value * scale) / scale;
}

Json point(double x, double y, int decimals)
{
    return {{"x", rounded(x, decimals)}, {"y", rounded(y, decimals)}};
}

Json objectJson(const Object& object, const Matching& matching, PictureSize size)
{
    const auto centre = object.polygon().position();
    const PixelPoint pixel = teaching::toPixels(centre.re.toDouble(), centre.im.toDouble(), size);
    Json json;
    json["id"] = object.id();
    json["template"] = matching.templateID == -1 ? Json() : Json(matching.templateID);
    json["pixel"] = point(pixel.x, pixel.y, 2);
    json["position"] = point(matching.position.re.toDouble(), matching.position.im.toDouble(), 6);
    json["rotation"] = rounded(matching.rotation.toDouble() * RAD_TO_DEG, 2);
    json["confidence"] = rounded(matching.confidence.toDouble(), 5);
    json["error"] = rounded(matching.error.toDouble(), 5);
    json["holes"] = object.innerContourCount();
    json["clipped"] = object.clipped();
    json["cropped"] = object.cropped();
    return json;
}

/// The value at a place like "/objects/2/rotation"; null when there is none.
Json at(const Json& flat, const std::string& place)
{
    return flat.contains(place) ? flat.at(place) : Json();
}

/// Without what differs from run to run.
Json comparable(Json result)
{
    result.erase("times");
    if (result.contains("objects")) {
        for (Json& object : result["objects"]) {
            object.erase("id");
        }
    }
    return result.flatten();
}

} // namespace

Json resultJson(const std::string& picture, const com::StreamContents& result, PictureSize size)
{
    Json json;
    json["picture"] = picture;
    json["brokenUp"] = result.frame.brokenUp();
    json["objects"] = Json::array();
    const int count = std::min<int>(result.frame.objectCount(), result.matchings.count());
    for (int i = 0; i < count; ++i) {
        json["objects"].push_back(objectJson(result.frame.object(i), result.matchings[i], size));
    }
    json["times"] = {{"analysisUs", result.frame.elapsedTime1stRun()},
                     {"reanalysisUs", result.frame.elapsedTime2ndRun()},
                     {"matchingUs", result.matchings.elapsedTime()},
                     {"breakupUs", result.frame.possibleCuts().elapsedTime()}};
    return json;
}

Json failureJson(const std::string& picture, const std::string& why)
{
    return {{"picture", picture}, {"failure", why}};
}

std::vector<std::string> differences(const Json& expected, const Json& actual)
{
    const Json before = comparable(expected);
    const Json now = comparable(actual);
    std::vector<std::string> lines;
    const auto say = [&](const std::string& place) {
        lines.push_back(place.substr(1) + ": expected " + at(before, place).dump() + ", found " +
                        at(now, place).dump());
    };
    for (const auto& [place, value] : before.items()) {
        if (at(now, place) != value) {
            say(place);
        }
    }
    for (const auto& [place, value] : now.items()) {
        if (!before.contains(place) && !value.is_null()) {
            say(place);
        }
    }
    return lines;
}

} // namespace tarvik::lab
