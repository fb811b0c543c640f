#include "database/FrequencyErrors.h"

#include "database/Template.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace tarvik::database {

namespace {

using analysis::FourierDescriptor;
using Coefficient = Complex<16, 15>;

/// One half of the frequencies and the centre between them: 8 coefficients, 16 lanes of 16 bits.
constexpr std::size_t HALF = FourierDescriptor::CENTRE + 1;
using Lanes = std::array<std::int16_t, 2 * HALF>;
static_assert(sizeof(Lanes) == HALF * sizeof(Coefficient));

std::uint32_t squaredDistance(std::span<const Coefficient, HALF> a,
                              std::span<const Coefficient, HALF> b)
{
    Lanes lanesOfA;
    Lanes lanesOfB;
    std::memcpy(lanesOfA.data(), a.data(), sizeof(Lanes));
    std::memcpy(lanesOfB.data(), b.data(), sizeof(Lanes));
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < lanesOfA.size(); ++i) {
        const std::int32_t difference = wrapTo<std::int16_t>(lanesOfA[i] - lanesOfB[i]);
        sum += static_cast<std::uint32_t>(difference * difference);
    }
    return sum;
}

/// Two halves without rest for a vector unit: twice as quick as leaving the centre out. It is in
/// both, and sums that wrap give it back exactly.
fp<32, 30> error(const FourierDescriptor& object, const FourierDescriptor& taught)
{
    const std::span a(object.frequencies());
    const std::span b(taught.frequencies());
    const auto centre =
        static_cast<std::uint32_t>(squaredNorm(object.centre() - taught.centre()).raw());
    const std::uint32_t sum = squaredDistance(a.first<HALF>(), b.first<HALF>()) +
                              squaredDistance(a.last<HALF>(), b.last<HALF>()) - 2 * centre;
    return fp<32, 30>(wrapTo<std::int32_t>(sum));
}

} // namespace

FrequencyErrors::FrequencyErrors(const FourierDescriptor& object, const Template& t)
    : straight(error(object, t.fourierDescriptor())),
      rotated(error(object, t.fourierDescriptorRotated()))
{}

} // namespace tarvik::database
