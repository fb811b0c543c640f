#pragma once

#include "Json.h"

namespace tarvik::desk {

class Snapshot;

/// How well each template of the snapshot fits each of its objects, by the comparator and the
/// tolerances that the camera uses: the error in both orientations, whether the holes agree,
/// whether it is a match, and how much of the permitted error is left (1: all, below 0: too much).
[[nodiscard]] Json retest(const Snapshot& snapshot);

} // namespace tarvik::desk
