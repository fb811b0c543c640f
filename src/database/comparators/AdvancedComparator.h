#pragma once

#include "core/serialization/Fields.h"
#include "database/Comparator.h"
#include "math/fp.h"

#include <optional>

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

    [[nodiscard]] ComparisonResult compare(const ComparedObject& object,
                                           const Template& t) const override;

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
    /// The rotation that the holes give, 0 when they do not tell; nothing when they do not fit.
    [[nodiscard]] std::optional<fp<32, 15>> matchInnerContours(const ComparedObject& object,
                                                               const Template& t) const;
    [[nodiscard]] std::optional<fp<32, 15>> matchAngles(const ComparedObject& object,
                                                        const Template& t) const;
};

} // namespace tarvik::database::comparators
