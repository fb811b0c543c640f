#pragma once

#include "Json.h"

#include <cstdint>
#include <string>

/// What the API does with templates.
namespace tarvik::desk {

class Desk;

/// {"templates": [...], "capacity": 32}, each as templateJson() with its name.
[[nodiscard]] Json listTemplates(Desk& desk);

/// Teaches an object of an image that the album still has: {"image", "object", "id"?, "name"?,
/// "grip"?: {"x", "y"} in pixels, "height"?, "rotation"? in degrees, "replace"?}.
/// Throws ApiError and TeachingException.
[[nodiscard]] Json teachTemplate(Desk& desk, const Json& request);

/// Changes {"name"?, "id"?, "grip"? in the part's own axes, "height"?, "rotation"?, "gripHeight"?,
/// "gripRotation"?, "considerHoles"?} of one template. Throws ApiError.
[[nodiscard]] Json editTemplate(Desk& desk, std::int32_t id, const Json& request);

void removeTemplate(Desk& desk, std::int32_t id);

/// The database as it stands in config.xml.
[[nodiscard]] std::string exportDatabase(Desk& desk);

/// Replaces the database by that of an export or of a whole config.xml. Throws ApiError.
[[nodiscard]] Json importDatabase(Desk& desk, const std::string& xml);

} // namespace tarvik::desk
