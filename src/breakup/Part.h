#pragma once

#include "analysis/Polygon.h"
#include "breakup/Cut.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::breakup {

/// One side of some cuts: the points of the divided contour that belong to it, by their indices and
/// in the contour's order. The closing point is not among them.
///
/// Fixed storage of about 2 kB, so that dividing allocates nothing; recursion holds two per level.
class Part
{
public:
    static constexpr int CAPACITY = analysis::Polygon::MAX_POINTS;

    /// Indices 0 ... n - 1. n must lie in 0 ... CAPACITY.
    explicit Part(int n);

    [[nodiscard]] int length() const { return _length; }

    [[nodiscard]] std::span<const std::int16_t> indices() const
    {
        return {_indices.data(), static_cast<std::size_t>(_length)};
    }

    /// The last position that holds v; -1 when none does.
    [[nodiscard]] int index(int v) const;

    [[nodiscard]] bool contains(int v) const { return index(v) >= 0; }

    /// Both ends belong to the part, in the cut's order and not next to each other, be it from the
    /// last position round to the first.
    [[nodiscard]] bool containsCut(const Cut& cut) const;

    /// Copies count indices from position from on to the other's position to. False, and nothing is
    /// copied, when they overrun either part.
    bool copyTo(Part& destination, int from, int to, int count) const;

    /// The part up to the cut's first end and from its second end on. The cut must be contained.
    [[nodiscard]] Part outer(const Cut& cut) const;
    /// The part from the cut's first end to its second. The cut must be contained.
    [[nodiscard]] Part inner(const Cut& cut) const;

private:
    std::array<std::int16_t, CAPACITY> _indices; ///< the first _length of them
    std::int32_t _length;
};

} // namespace tarvik::breakup
