#pragma once

#include "core/serialization/Fields.h"
#include "math/fp.h"

namespace tarvik::analysis::correction {

/// Coefficients of the lens correction, one per image quadrant (y grows downwards).
struct LCParams
{
    struct Quadrants
    {
        fp<32, 30> q1; ///< x > 0, y <= 0: upper right
        fp<32, 30> q2; ///< x <= 0, y <= 0: upper left
        fp<32, 30> q3; ///< x <= 0, y > 0: lower left
        fp<32, 30> q4; ///< x > 0, y > 0: lower right

        friend bool operator==(const Quadrants&, const Quadrants&) = default;

        template <class S, class Self>
        static void serialize(S& s, Self& self)
        {
            using io::serialization::field;
            s& field("Q1", self.q1) & field("Q2", self.q2) & field("Q3", self.q3) &
                field("Q4", self.q4);
        }
    };

    Quadrants k1;

    friend bool operator==(const LCParams&, const LCParams&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        s& io::serialization::field("K1", self.k1);
    }
};

} // namespace tarvik::analysis::correction
