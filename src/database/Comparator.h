#pragma once

#include "core/serialization/Fields.h"
#include "database/ComparisonResult.h"
#include "math/fp.h"

namespace tarvik::analysis {
class Object;
}

namespace tarvik::database {

class ComparedObject;
struct FrequencyErrors;
class Template;

/// Decides whether an object is an instance of a template, and how well it fits.
///
/// Made and destroyed by the ComparatorFactory. Comparing changes nothing, so any number of
/// threads may compare as long as nobody changes the settings.
class Comparator
{
public:
    Comparator() = default;
    Comparator(const Comparator&) = default;
    /// Takes over what the two have in common.
    virtual Comparator& operator=(const Comparator& other) noexcept = default;
    virtual ~Comparator() = default;

    /// The errors are those between the object and the template. No comparator matches when the
    /// smaller one exceeds maxError.
    [[nodiscard]] virtual ComparisonResult compare(const ComparedObject& object, const Template& t,
                                                   const FrequencyErrors& errors) const = 0;

    /// For one comparison of an object; for several make a ComparedObject of it first.
    [[nodiscard]] ComparisonResult compare(const analysis::Object& object, const Template& t) const;

    /// The largest error that still is a match: 0.01.
    fp<32, 30> maxError{10737418};

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        s& io::serialization::field("MaxError", self.maxError);
    }
};

} // namespace tarvik::database
