#pragma once

#include "analysis/FourierDescriptor.h"
#include "math/fp.h"

namespace tarvik::database {

class Template;

/// Distances between an object's coefficients and those of a template, in either of the two
/// orientations that an outline's own rotation estimate cannot tell apart.
///
/// Each is the sum of squared differences over all frequencies but 0. Differences wrap in 16 bits
/// and sums in 32, so for shapes as unlike as that an error may come out negative.
struct FrequencyErrors
{
    FrequencyErrors() = default;

    FrequencyErrors(fp<32, 30> straightError, fp<32, 30> rotatedError)
        : straight(straightError),
          rotated(rotatedError)
    {}

    /// For one comparison; for several see DescriptorTable.
    FrequencyErrors(const analysis::FourierDescriptor& object, const Template& t);

    /// The turned orientation fits better; a tie goes to the other one.
    [[nodiscard]] bool rotatedWins() const { return rotated < straight; }

    [[nodiscard]] fp<32, 30> smaller() const { return rotatedWins() ? rotated : straight; }

    fp<32, 30> straight;
    fp<32, 30> rotated;
};

} // namespace tarvik::database
