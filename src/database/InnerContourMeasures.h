#pragma once

#include "analysis/InnerContour.h"
#include "math/fp.h"

#include <span>

/// What is compared of a set of holes. Teaching and comparing measure with these same functions,
/// so that an object always agrees with a template taught from it.
///
/// Every output has as many entries as its input. Positions are relative to the owning object.
namespace tarvik::database {

/// Lengths of the outlines, ascending.
void sortedLengths(std::span<const analysis::InnerContour> contours, std::span<fp<32, 15>> lengths);

/// Distances of the positions from the object's centre, ascending.
void sortedDistances(std::span<const analysis::InnerContour> contours,
                     std::span<fp<32, 28>> distances);

/// Polar angles of the positions in radians, ascending.
void sortedAngles(std::span<const analysis::InnerContour> contours, std::span<fp<32, 15>> angles);

/// From each ascending angle to the next, from the last one round to the first. Each gap lies in
/// (0, 2 pi]: coincident angles, and a single one with itself, are a full turn apart, not 0.
void angularGaps(std::span<const fp<32, 15>> angles, std::span<fp<32, 15>> gaps);

} // namespace tarvik::database
