#pragma once

#include "Json.h"
#include "analysis/Polygon.h"
#include "database/Template.h"
#include "database/Transform.h"
#include "teaching/Teaching.h"

namespace tarvik::desk {

class Snapshot;

/// What was found in an image. Lengths in pixels from the upper left corner and angles in degrees
/// from +x towards +y, but for "position" and "rotation", which are the reported ones.
[[nodiscard]] Json frameJson(const Snapshot& snapshot);

/// x, y, x, y, ... in pixels, from the polygon's points moved by its own position and another one.
[[nodiscard]] Json outlineJson(const analysis::Polygon& polygon, Complex<16, 14> origin,
                               teaching::PictureSize size);

/// A template for people: outline and holes as x, y, x, y, ... in half image widths around its own
/// centre, which grip points count from.
[[nodiscard]] Json templateJson(const database::Template& t);

} // namespace tarvik::desk
