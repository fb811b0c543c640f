#include "database/comparators/StereoComparator.h"

#include "database/FrequencyErrors.h"

namespace tarvik::database::comparators {

ComparisonResult StereoComparator::compare(const ComparedObject& /*object*/, const Template& /*t*/,
                                           const FrequencyErrors& errors) const
{
    return {.error = errors.smaller(),
            .match = errors.smaller() <= maxError,
            .rotation = errors.rotatedWins() ? fp<32, 15>::PI : fp<32, 15>::ZERO};
}

} // namespace tarvik::database::comparators
