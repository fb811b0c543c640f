#pragma once

#include "breakup/Cut.h"
#include "core/serialization/Fields.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::breakup {

/// The cut candidates of one frame, at most 25.
class Cuts
{
public:
    static constexpr std::int16_t CAPACITY = 25;

    /// False, and nothing changes, when the list is full.
    bool add(const Cut& cut)
    {
        if (_count >= CAPACITY) {
            return false;
        }
        _cuts[static_cast<std::size_t>(_count++)] = cut;
        return true;
    }

    void clear() { _count = 0; }

    [[nodiscard]] std::int16_t count() const { return _count; }

    [[nodiscard]] std::span<const Cut> cuts() const
    {
        return {_cuts.data(), static_cast<std::size_t>(_count)};
    }

    /// Microseconds that the search and the division took.
    [[nodiscard]] std::int64_t elapsedTime() const { return _elapsedTime; }

    void setElapsedTime(std::int64_t us) { _elapsedTime = us; }

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("ElapsedTime", self._elapsedTime) & field("Count", self._count);
        s.checkCount("Count", self._count, CAPACITY);
        for (std::size_t i = 0; i < static_cast<std::size_t>(self._count); ++i) {
            s& field("Cut", self._cuts[i]);
        }
    }

private:
    std::int64_t _elapsedTime = 0;
    std::array<Cut, CAPACITY> _cuts;
    std::int16_t _count = 0;
};

} // namespace tarvik::breakup
