#include "database/comparators/AdvancedComparator.h"

#include "database/ComparedObject.h"
#include "database/FrequencyErrors.h"
#include "database/Template.h"

#include <algorithm>
#include <cstddef>
#include <optional>
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

ComparisonResult AdvancedComparator::compare(const ComparedObject& object, const Template& t,
                                             const FrequencyErrors& errors) const
{
    fp<32, 15> rotation;
    if (t.considerInnerContours && !matchInnerContours(object, t, rotation)) {
        return {};
    }
    if (errors.rotatedWins() && !correctRotation) {
        rotation = fp<32, 15>::PI;
    }
    return {.error = errors.smaller(), .match = errors.smaller() <= maxError, .rotation = rotation};
}

bool AdvancedComparator::matchInnerContours(const ComparedObject& object, const Template& t,
                                            fp<32, 15>& rotation) const
{
    const int count = object.object().innerContourCount();
    if (count != t.innerContourCount()) {
        return false;
    }
    if (count == 0) {
        return true;
    }
    return (!compareLengths || agree(t.lengths(), object.lengths(), lengthsMaxDiff)) &&
           (!compareDistances || agree(t.distances(), object.distances(), distMaxDiff)) &&
           (!compareAngles || matchAngles(object, t, rotation));
}

bool AdvancedComparator::matchAngles(const ComparedObject& object, const Template& t,
                                     fp<32, 15>& rotation) const
{
    const auto shift = fittingShift(t.angles(), object.gaps(), anglesMaxDiff);
    if (!shift) {
        return false;
    }
    if (correctRotation) {
        rotation = object.angles()[*shift] - t.firstInnerContourAngle() -
                   object.object().fourierDescriptor().rotation();
    }
    return true;
}

} // namespace tarvik::database::comparators
