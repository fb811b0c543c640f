#pragma once

#include "core/serialization/Fields.h"
#include "database/Matching.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::database {

/// The matchings of one frame, in the order of its objects.
class Matchings
{
public:
    static constexpr std::int16_t CAPACITY = 25;

    [[nodiscard]] std::int16_t count() const { return _count; }

    /// count must lie in 0 ... CAPACITY; the entries keep what they held.
    void setCount(std::int16_t count) { _count = count; }

    [[nodiscard]] std::span<Matching> matchings()
    {
        return {_matchings.data(), static_cast<std::size_t>(_count)};
    }

    [[nodiscard]] std::span<const Matching> matchings() const
    {
        return {_matchings.data(), static_cast<std::size_t>(_count)};
    }

    [[nodiscard]] const Matching& operator[](int i) const
    {
        return _matchings[static_cast<std::size_t>(i)];
    }

    /// Microseconds that matching this frame took, both passes together.
    [[nodiscard]] std::int64_t elapsedTime() const { return _elapsedTime; }

    void setElapsedTime(std::int64_t us) { _elapsedTime = us; }

    template <class S, class Self>
    static void serialize(S& s, Self& self)
    {
        using io::serialization::field;
        s& field("ElapsedTime", self._elapsedTime) & field("Count", self._count);
        s.checkCount("Count", self._count, CAPACITY);
        for (std::size_t i = 0; i < static_cast<std::size_t>(self._count); ++i) {
            s& field("Matching", self._matchings[i]);
        }
    }

private:
    std::int64_t _elapsedTime = 0;
    std::array<Matching, CAPACITY> _matchings;
    std::int16_t _count = 0;
};

} // namespace tarvik::database
