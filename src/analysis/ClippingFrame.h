#pragma once

#include "core/serialization/Fields.h"
#include "math/fp.h"

namespace tarvik::analysis {

/// A band along one image border; an object that reaches into it counts as clipped.
struct ClippingArea
{
    fp<16, 14> size{819}; ///< width of the band in normalised units, 0.05
    bool active = true;

    friend bool operator==(const ClippingArea&, const ClippingArea&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Size", self.size) & field("Active", self.active);
    }
};

/// The four bands.
struct ClippingFrame
{
    ClippingArea top;
    ClippingArea right;
    ClippingArea bottom;
    ClippingArea left;

    friend bool operator==(const ClippingFrame&, const ClippingFrame&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Top", self.top) & field("Right", self.right) & field("Bottom", self.bottom) &
            field("Left", self.left);
    }
};

} // namespace tarvik::analysis
