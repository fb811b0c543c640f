#pragma once

#include "core/serialization/Fields.h"
#include "database/Comparator.h"
#include "math/fp.h"

namespace tarvik::database::comparators {

/// Compares the holes first, as far as the template wants that, and then the outlines.
class AdvancedComparator : public Comparator
{
public:
    using Comparator::compare;

    AdvancedComparator() = default;
    AdvancedComparator(const AdvancedComparator&) = default;
    AdvancedComparator& operator=(const AdvancedComparator&) = default;
    /// Takes the maximum error alone from a comparator of another class.
    AdvancedComparator& operator=(const Comparator& other) noexcept override;
    ~AdvancedComparator() override = default;

    [[nodiscard]] ComparisonResult compare(const ComparedObject& object, const Template& t,
                                           const FrequencyErrors& errors) const override;

    bool compareLengths = true;
    bool compareAngles = false;
    bool compareDistances = false;
    /// Take the rotation from the compared angles of the holes, instead of choosing between the
    /// outline's own one and half a turn more.
    bool correctRotation = false;
    fp<32, 15> lengthsMaxDiff{983};  ///< for each length, 0.03
    fp<32, 28> distMaxDiff{8053064}; ///< for each distance, 0.03
    fp<32, 15> anglesMaxDiff{1716};  ///< for each gap, 0.0524 rad or about 3 degrees

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        Comparator::serialize(s, self);
        s& field("CompareLengths", self.compareLengths) &
            field("CompareAngles", self.compareAngles) &
            field("CompareDistances", self.compareDistances) &
            field("CorrectRotation", self.correctRotation) &
            field("LengthsMaxDiff", self.lengthsMaxDiff) &
            field("AnglesMaxDiff", self.anglesMaxDiff) & field("DistMaxDiff", self.distMaxDiff);
    }

private:
    /// Whether the holes fit; if they tell a rotation, sets it.
    [[nodiscard]] bool matchInnerContours(const ComparedObject& object, const Template& t,
                                          fp<32, 15>& rotation) const;
    [[nodiscard]] bool matchAngles(const ComparedObject& object, const Template& t,
                                   fp<32, 15>& rotation) const;
};

} // namespace tarvik::database::comparators
