#include "database/FrequencyErrors.h"

#include "database/Template.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace tarvik::database {

namespace {

using analysis::FourierDescriptor;

/// Real and imaginary parts in turn: a compiler sees 16-bit lanes whose squares it adds in pairs.
using Parts = std::array<std::int16_t, std::size_t{2} * FourierDescriptor::COUNT>;

std::uint32_t squaredDifference(std::int16_t a, std::int16_t b)
{
    const std::int32_t d = wrapTo<std::int16_t>(a - b);
    return static_cast<std::uint32_t>(d * d);
}

fp<32, 30> error(const Parts& object, const FourierDescriptor& descriptor)
{
    const auto taught = std::bit_cast<Parts>(descriptor.frequencies());
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < object.size(); ++i) {
        sum += squaredDifference(object[i], taught[i]);
    }
    // One loop over everything is quicker than one with a hole; sums that wrap take back exactly.
    constexpr std::size_t CENTRE = std::size_t{2} * FourierDescriptor::CENTRE;
    sum -= squaredDifference(object[CENTRE], taught[CENTRE]);
    sum -= squaredDifference(object[CENTRE + 1], taught[CENTRE + 1]);
    return fp<32, 30>(wrapTo<std::int32_t>(sum));
}

} // namespace

FrequencyErrors::FrequencyErrors(const FourierDescriptor& object, const Template& t)
{
    const auto parts = std::bit_cast<Parts>(object.frequencies());
    straight = error(parts, t.fourierDescriptor());
    rotated = error(parts, t.fourierDescriptorRotated());
}

} // namespace tarvik::database
