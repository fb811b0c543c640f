#include "database/Recognition.h"

#include "analysis/Object.h"
#include "database/ComparedObject.h"
#include "database/DatabaseState.h"
#include "database/Matching.h"
#include "math/polar.h"
#include "math/sinPi.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tarvik::database {

namespace {

/// The template that fits, how well, and how well the next best one does.
struct Decision
{
    const Template* best = nullptr;
    ComparisonResult result;
    fp<32, 30> second = fp<32, 30>::MAX;
};

/// Among several templates; of equally good ones the last wins.
Decision decide(const DatabaseState& state, const ComparedObject& object)
{
    Decision decision;
    const Comparator& comparator = *state.comparator();
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): filled at once
    DescriptorTable::Errors errors;
    state.descriptors().compare(object.object().fourierDescriptor(), errors);
    for (std::size_t i = 0; i < state.templates().size(); ++i) {
        // What does not match, or is worse than two that do, decides nothing.
        if (errors[i].smaller() > std::min(comparator.maxError, decision.second)) {
            continue;
        }
        const Template& t = *state.templates()[i];
        const ComparisonResult r = comparator.compare(object, t, errors[i]);
        if (!r.match) {
            continue;
        }
        if (r.error <= decision.result.error) {
            decision.second = decision.result.error;
            decision.result = r;
            decision.best = &t;
        } else if (r.error <= decision.second) {
            decision.second = r.error;
        }
    }
    return decision;
}

/// 1 - best / second.
fp<16, 15> confidence(fp<32, 30> best, fp<32, 30> second)
{
    if (second == fp<32, 30>::ZERO) {
        return fp<16, 15>::ZERO;
    }
    if (best == fp<32, 30>::ZERO) {
        return fp<16, 15>::MAX;
    }
    constexpr std::int64_t ONE = std::int64_t{1} << 30;
    const std::int64_t margin = std::int64_t{second.raw()} - best.raw();
    return fp<16, 15>(wrapTo<std::int16_t>((margin * ONE / second.raw()) >> 15));
}

/// Identity, rotation and grip position of an object that is an instance of t.
void report(const Template& t, const ComparisonResult& result, const analysis::Object& object,
            const Transform& transform, Matching& matching)
{
    const analysis::FourierDescriptor& descriptor = object.fourierDescriptor();
    const fp<32, 15> turn = descriptor.rotation() + result.rotation;
    const Complex<16, 15> grip = turned(t.gripPoint, unitFactor(fractionOfPi(turn)));
    matching.templateID = wrapTo<std::int16_t>(t.id);
    matching.rotation = turn + t.rotation;
    matching.position = transform.combinedMatrix.apply(grip + descriptor.centre());
}

bool matchSingle(const DatabaseState& state, const ComparedObject& object, Matching& matching)
{
    const Template& t = *state.templates().front();
    const ComparisonResult result = state.comparator()->compare(object.object(), t);
    matching.error = result.error.scaleDown<15>(); // tells how far off, also without a match
    if (!result.match) {
        return false;
    }
    report(t, result, object.object(), state.config().transform(), matching);
    matching.confidence = result.error == fp<32, 30>::ZERO ? fp<16, 15>::MAX : fp<16, 15>::ZERO;
    return true;
}

bool matchSeveral(const DatabaseState& state, const ComparedObject& object, Matching& matching)
{
    const Decision decision = decide(state, object);
    if (decision.best == nullptr) {
        return false;
    }
    const fp<32, 30> error = decision.result.error;
    report(*decision.best, decision.result, object.object(), state.config().transform(), matching);
    matching.error = error.scaleDown<15>();
    matching.confidence = confidence(error, decision.second);
    return true;
}

bool match(const DatabaseState& state, const ComparedObject& object, Matching& matching)
{
    switch (state.numTemplates()) {
    case 0:
        return false;
    case 1:
        return matchSingle(state, object, matching);
    default:
        return matchSeveral(state, object, matching);
    }
}

/// Radians in the output's axes, in [-pi, pi].
fp<32, 15> toOutput(fp<32, 15> rotation, const Transform& transform)
{
    rotation -= polarAngle(transform.combinedMatrix.column0);
    while (rotation < -fp<32, 15>::PI) {
        rotation += fp<32, 15>::PI2;
    }
    while (rotation > fp<32, 15>::PI) {
        rotation -= fp<32, 15>::PI2;
    }
    return rotation;
}

} // namespace

bool recognize(const DatabaseState& state, const analysis::Object& object, Matching& matching)
{
    const Transform& transform = state.config().transform();
    const analysis::FourierDescriptor& descriptor = object.fourierDescriptor();
    matching.templateID = -1;
    matching.error = fp<16, 15>::MAX;
    matching.confidence = fp<16, 15>::ZERO;
    matching.position = transform.combinedMatrix.apply(descriptor.centre());
    matching.rotation = descriptor.rotation();
    if (object.clipped()) {
        return false; // the rotation stays that of the image: it means little anyway
    }
    const bool found = match(state, ComparedObject(object), matching);
    matching.rotation = toOutput(matching.rotation, transform);
    return found;
}

} // namespace tarvik::database
