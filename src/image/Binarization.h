#pragma once

#include "image/ByteWindow.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tarvik::image {

class Image;

/// From grey or colour pictures to binary ones, one byte per pixel: 255 foreground, 0 background.
/// Spans of one call have the same length. Nothing is allocated.

/// Foreground is what lies inside the window.
void binarize(std::span<const std::uint8_t> grey, ByteWindow window,
              std::span<std::uint8_t> binary);

/// The three planes of a colour picture.
using Planes = std::array<std::span<const std::uint8_t>, 3>;

/// Foreground is what lies inside all three windows, one for each plane; with `invert` all the
/// rest.
void binarize(const Planes& picture, const std::array<ByteWindow, 3>& windows, bool invert,
              std::span<std::uint8_t> binary);

/// Foreground stays what is foreground in both: binary &= plane.
void intersect(std::span<std::uint8_t> binary, std::span<const std::uint8_t> plane);

/// Foreground becomes what is foreground in either: binary |= plane.
void unite(std::span<std::uint8_t> binary, std::span<const std::uint8_t> plane);

/// Computes contour codes: each foreground pixel on the border of an object gets the set of its
/// eight neighbours that are foreground, bit 0 the upper left one, then clockwise. Background, the
/// inside of objects, lone pixels and the picture's outermost rows and columns get 0.
///
/// Threads: one at a time per object, which keeps three rows between the calls.
class NeighbourEncoder
{
public:
    /// Foreground is what lies inside the window. `codes` takes the size of `grey`; allocates only
    /// when the size changes.
    void encode(const Image& grey, ByteWindow window, Image& codes);

private:
    std::vector<std::uint8_t> _rows; ///< binarized: the row above, the row itself, the row below
};

} // namespace tarvik::image
