#pragma once

#include "analysis/FourierDescriptor.h"
#include "database/FrequencyErrors.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace tarvik::database {

class Template;

/// The coefficients of all templates in both orientations, close together and in vector width:
/// what every object is compared with. The templates themselves lie far apart, and fall on the same
/// lines of the cache.
class DescriptorTable
{
public:
    static constexpr std::size_t MAX_TEMPLATES = 32;

    /// The errors of one object against all templates, in the order of these.
    using Errors = std::array<FrequencyErrors, MAX_TEMPLATES>;

    DescriptorTable() = default;
    explicit DescriptorTable(std::span<const std::shared_ptr<const Template>> templates);

    /// Fills in as many entries as there are templates.
    void compare(const analysis::FourierDescriptor& object, Errors& errors) const;

private:
    /// All coefficients but the centre; the rest is 0.
    struct alignas(64) Lanes
    {
        Lanes() = default;
        explicit Lanes(const analysis::FourierDescriptor& descriptor);

        std::array<std::int16_t, 32> values{};
    };

    static void squaredDistances(const Lanes& object, std::span<const Lanes> taught,
                                 std::int32_t* sums);
    static void squaredDistancesWide(const Lanes& object, std::span<const Lanes> taught,
                                     std::int32_t* sums);

    std::vector<Lanes> _lanes; ///< of each template the straight and then the rotated ones
};

} // namespace tarvik::database
