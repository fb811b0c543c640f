#pragma once

#include "database/Comparator.h"

namespace tarvik::database::comparators {

/// Compares the outlines only.
class StereoComparator : public Comparator
{
public:
    using Comparator::compare;
    using Comparator::operator=;

    [[nodiscard]] ComparisonResult compare(const ComparedObject& object, const Template& t,
                                           const FrequencyErrors& errors) const override;
};

} // namespace tarvik::database::comparators
