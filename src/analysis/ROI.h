#pragma once

#include "core/serialization/Fields.h"
#include "math/fp.h"

#include <cstdint>

namespace tarvik::analysis {

/// A rectangle of pixels; empty (no width or no height) means the whole image.
struct ROI
{
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::int16_t width = 0;
    std::int16_t height = 0;

    constexpr ROI() = default;

    /// Normalises: a negative size turns the rectangle round, then what lies left of or above the
    /// image is cut off.
    constexpr ROI(int left, int top, int w, int h)
    {
        normalizeAxis(left, w);
        normalizeAxis(top, h);
        x = wrapTo<std::int16_t>(left);
        y = wrapTo<std::int16_t>(top);
        width = wrapTo<std::int16_t>(w);
        height = wrapTo<std::int16_t>(h);
    }

    friend constexpr bool operator==(const ROI&, const ROI&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("X", self.x) & field("Y", self.y) & field("Width", self.width) &
            field("Height", self.height);
        if constexpr (!S::isEncoder()) {
            self = ROI(self.x, self.y, self.width, self.height);
        }
    }

private:
    static constexpr void normalizeAxis(int& start, int& size)
    {
        if (size < 0) {
            size = -size;
            start -= size;
        }
        if (start < 0) {
            size += start;
            start = 0;
        }
        size = size < 0 ? 0 : size > INT16_MAX ? INT16_MAX : size;
    }
};

} // namespace tarvik::analysis
