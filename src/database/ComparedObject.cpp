#include "database/ComparedObject.h"

#include "database/InnerContourMeasures.h"

namespace tarvik::database {

namespace {

/// The first count entries of the cache, filled on the first call.
template <class Array, class Fill>
std::span<const typename Array::value_type> cached(std::optional<Array>& cache, int count,
                                                   Fill fill)
{
    const auto size = static_cast<std::size_t>(count);
    if (!cache) {
        cache.emplace();
        fill(std::span(*cache).first(size));
    }
    return std::span(*cache).first(size);
}

} // namespace

std::span<const fp<32, 15>> ComparedObject::lengths() const
{
    return cached(_lengths, _object.innerContourCount(),
                  [this](auto out) { sortedLengths(_object.innerContours(), out); });
}

std::span<const fp<32, 28>> ComparedObject::distances() const
{
    return cached(_distances, _object.innerContourCount(),
                  [this](auto out) { sortedDistances(_object.innerContours(), out); });
}

std::span<const fp<32, 15>> ComparedObject::angles() const
{
    return cached(_angles, _object.innerContourCount(),
                  [this](auto out) { sortedAngles(_object.innerContours(), out); });
}

std::span<const fp<32, 15>> ComparedObject::gaps() const
{
    return cached(_gaps, _object.innerContourCount(),
                  [this](auto out) { angularGaps(angles(), out); });
}

} // namespace tarvik::database
