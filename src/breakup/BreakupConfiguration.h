#pragma once

#include "core/serialization/Fields.h"
#include "math/fp.h"

namespace tarvik::breakup {

/// Whether, and at which necks, touching objects are cut apart. A plain value.
class BreakupConfiguration
{
public:
    [[nodiscard]] bool breakupEnabled() const { return _breakupEnabled; }

    void setBreakupEnabled(bool enabled) { _breakupEnabled = enabled; }

    /// Cuts are shorter than this, in normalised units: 0.05.
    [[nodiscard]] fp<32, 30> maxCutLength() const { return _maxCutLength; }

    void setMaxCutLength(fp<32, 30> length) { _maxCutLength = length; }

    friend bool operator==(const BreakupConfiguration&, const BreakupConfiguration&) = default;

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("Enabled", self._breakupEnabled) & field("MaxCutLength", self._maxCutLength);
    }

private:
    bool _breakupEnabled = false;
    fp<32, 30> _maxCutLength{53687091};
};

} // namespace tarvik::breakup
