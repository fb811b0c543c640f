#pragma once

#include "ocamera/simulated/Turn.h"

#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace OCamera::simulated {

/// The kinds of parts on the synthetic belt.
enum class Kind : std::uint8_t
{
    TabWasher, ///< disc with a tab and one hole
    Plate,     ///< plate with a chamfered corner and three holes
    Bracket,   ///< L with arms of two lengths and one hole
    Gear,      ///< wheel with three teeth, a flat side and one hole
    Key,       ///< bow with a hole, shaft and bit
    Cam,       ///< egg with two holes of two sizes
    Shard,     ///< broken piece: what a line would want rejected, and the demo leaves untaught
};

constexpr std::array<Kind, 7> KINDS{Kind::TabWasher, Kind::Plate, Kind::Bracket, Kind::Gear,
                                    Kind::Key,       Kind::Cam,   Kind::Shard};

/// All kinds have the same intensity, (R + 2 G + B) / 4 = 208, and look alike to a grey sensor.
struct Colour
{
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
};

/// Outline and holes of a kind, and how it looks.
///
/// Points are in 1/256 unit, where 640 units are the width of the picture. The origin is the
/// centroid of the outline, every edge weighted by its length.
struct Shape
{
    std::string_view name;
    Colour colour;
    std::vector<std::vector<Point>> contours; ///< closed; the outline first, then the holes
    std::int32_t radius = 0;                  ///< of the circle round the origin that holds it
};

[[nodiscard]] const Shape& shapeOf(Kind kind);

/// Two parts that touch: how the second lies in relation to the first.
struct TouchingPair
{
    Kind first{};
    Kind second{};
    std::uint16_t secondRotation = 0;
    Point firstOffset;  ///< origin of the first part from the middle of the pair, 1/256 unit
    Point secondOffset; ///< origin of the second part from there
    std::int32_t radius = 0;
};

/// A bracket whose elbow pokes into the long side of a plate, so that they hang together by a
/// neck of about 6 units: less than the shortest chord across either part.
[[nodiscard]] const TouchingPair& touchingPair();

} // namespace OCamera::simulated
