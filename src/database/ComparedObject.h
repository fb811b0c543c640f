#pragma once

#include "analysis/Object.h"
#include "math/fp.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>

namespace tarvik::database {

/// An object on its way through all templates: what comparators measure of its holes is measured
/// when first asked for, and once.
///
/// Lives on the stack of one recognition; the object must outlive it and stay as it is. One thread.
class ComparedObject
{
public:
    explicit ComparedObject(const analysis::Object& object) : _object(object) {}

    ComparedObject(const ComparedObject&) = delete;
    ComparedObject& operator=(const ComparedObject&) = delete;
    ~ComparedObject() = default;

    [[nodiscard]] const analysis::Object& object() const { return _object; }

    /// Lengths of the holes, ascending.
    [[nodiscard]] std::span<const fp<32, 15>> lengths() const;
    /// Distances of the holes from the centre, ascending.
    [[nodiscard]] std::span<const fp<32, 28>> distances() const;
    /// Polar angles of the holes in radians, ascending.
    [[nodiscard]] std::span<const fp<32, 15>> angles() const;
    /// Gaps from each of angles() to the next, and round to the first.
    [[nodiscard]] std::span<const fp<32, 15>> gaps() const;

private:
    template <class T>
    using Measures = std::array<T, analysis::Object::MAX_INNER_CONTOURS>;

    const analysis::Object& _object;
    mutable std::optional<Measures<fp<32, 15>>> _lengths;
    mutable std::optional<Measures<fp<32, 28>>> _distances;
    mutable std::optional<Measures<fp<32, 15>>> _angles;
    mutable std::optional<Measures<fp<32, 15>>> _gaps;
};

} // namespace tarvik::database
