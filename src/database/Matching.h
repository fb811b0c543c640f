#pragma once

#include "core/serialization/Fields.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <cstdint>

namespace tarvik::database {

/// What was recognised of one object.
struct Matching
{
    std::int16_t templateID = -1;       ///< low 16 bits of the template's ID, -1 for none
    Complex<32, 21> position;           ///< output coordinates
    fp<32, 15> rotation;                ///< output radians in [-pi, pi]
    fp<16, 15> confidence;              ///< of the decision, 0 to just under 1
    fp<16, 15> error = fp<16, 15>::MAX; ///< of the best template
    std::int16_t possibleCuts = -1;     ///< part of the result format; no stage changes it

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("TemplateID", self.templateID) & field("Position", self.position) &
            field("Rotation", self.rotation) & field("Confidence", self.confidence) &
            field("Error", self.error) & field("PossibleCuts", self.possibleCuts);
    }
};

} // namespace tarvik::database
