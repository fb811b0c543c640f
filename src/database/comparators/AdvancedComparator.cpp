#include "database/comparators/AdvancedComparator.h"

#include "database/ComparedObject.h"
#include "database/FrequencyErrors.h"
#include "database/Template.h"

#include <algorithm>
#include <cstddef>
#include <span>

namespace tarvik::database::comparators {

namespace {

/// Entry by entry; a difference of the tolerance itself passes.
template <class T>
bool agree(std::span<const T> taught, std::span<const T> found, T tolerance)
{
    return std::equal(taught.begin(), taught.end(), found.begin(), found.end(),
                      [tolerance](T a, T b) { return abs(a - b) <= tolerance; });
}

/// The first cyclic shift by which the found gaps agree with the taught ones.
std::optional<std::size_t> fittingShift(std::span<const fp<32, 15>> taught,
                                        std::span<const fp<32, 15>> found, fp<32, 15> tolerance)
{
    for (std::size_t shift = 0; shift < found.size(); ++shift) {
        const std::size_t untilWrap = found.size() - shift;
        if (agree(taught.first(untilWrap), found.subspan(shift), tolerance) &&
            agree(taught.subspan(untilWrap), found.first(shift), tolerance)) {
            return shift;
        }
    }
    return std::nullopt;
}

} // namespace

AdvancedComparator& AdvancedComparator::operator=(const Comparator& other) noexcept
{
    if (const auto* const advanced = dynamic_cast<const AdvancedComparator*>(&other)) {
        return *this = *advanced;
    }
    Comparator::operator=(other);
    return *this;
}

ComparisonResult AdvancedComparator::compare(const ComparedObject& object, const Template& t) const
{
    ComparisonResult result;
    if (t.considerInnerContours) {
        const auto rotation = matchInnerContours(object, t);
        if (!rotation) {
            return result;
        }
        result.rotation = *rotation;
    }
    const FrequencyErrors errors(object.object().fourierDescriptor(), t);
    result.error = errors.smaller();
    result.match = result.error <= maxError;
    if (errors.rotatedWins() && !correctRotation) {
        result.rotation = fp<32, 15>::PI;
    }
    return result;
}

std::optional<fp<32, 15>> AdvancedComparator::matchInnerContours(const ComparedObject& object,
                                                                 const Template& t) const
{
    const int count = object.object().innerContourCount();
    if (count != t.innerContourCount()) {
        return std::nullopt;
    }
    if (count == 0) {
        return fp<32, 15>::ZERO;
    }
    if (compareLengths && !agree(t.lengths(), object.lengths(), lengthsMaxDiff)) {
        return std::nullopt;
    }
    if (compareDistances && !agree(t.distances(), object.distances(), distMaxDiff)) {
        return std::nullopt;
    }
    return compareAngles ? matchAngles(object, t) : fp<32, 15>::ZERO;
}

std::optional<fp<32, 15>> AdvancedComparator::matchAngles(const ComparedObject& object,
                                                          const Template& t) const
{
    const auto shift = fittingShift(t.angles(), object.gaps(), anglesMaxDiff);
    if (!shift) {
        return std::nullopt;
    }
    if (!correctRotation) {
        return fp<32, 15>::ZERO;
    }
    return object.angles()[*shift] - t.firstInnerContourAngle() -
           object.object().fourierDescriptor().rotation();
}

} // namespace tarvik::database::comparators
