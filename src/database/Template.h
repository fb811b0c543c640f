#pragma once

#include "analysis/FourierDescriptor.h"
#include "analysis/InnerContour.h"
#include "analysis/Object.h"
#include "analysis/Polygon.h"
#include "core/serialization/Fields.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::database {

/// The taught description of one kind of object. A plain value, large (about 8 kB) and deep.
class Template
{
public:
    static constexpr int MAX_INNER_CONTOURS = analysis::Object::MAX_INNER_CONTOURS;

    /// The empty template, without identity and outline.
    Template() = default;
    /// Teaches the object's outline and its holes, turned to the normalised orientation.
    Template(int id, const analysis::Object& object);
    /// Copies take only the holes that count.
    Template(const Template& other);
    Template& operator=(const Template& other);
    ~Template() = default;

    std::int32_t id = -1;      ///< unique within a database
    fp<32, 15> rotation;       ///< radians, added to every matched rotation
    fp<32, 15> height;         ///< passed on only; 10.0 when taught
    Complex<16, 15> gripPoint; ///< from the centre, in the normalised orientation and image units
    fp<32, 15> gripHeight;     ///< passed on only
    fp<32, 15> gripRotation{51472}; ///< passed on only; pi/2
    /// Whether comparators look at the holes at all.
    bool considerInnerContours = true;

    /// The outline, turned to the normalised orientation.
    [[nodiscard]] const analysis::Polygon& polygon() const { return _polygon; }

    /// Of the outline as it lay when taught, normalised; its rotation is that of the taught object.
    [[nodiscard]] const analysis::FourierDescriptor& fourierDescriptor() const
    {
        return _fourierDescriptor;
    }

    /// The same for the orientation turned by pi, which the outline alone cannot tell apart.
    [[nodiscard]] const analysis::FourierDescriptor& fourierDescriptorRotated() const
    {
        return _fourierDescriptorRotated;
    }

    [[nodiscard]] int innerContourCount() const { return _innerContourCount; }

    /// The holes, turned to the normalised orientation.
    [[nodiscard]] std::span<const analysis::InnerContour> innerContours() const
    {
        return valid(_innerContours);
    }

    /// One flag for each hole, passed on only.
    [[nodiscard]] std::span<const bool> isActive() const { return valid(_isActive); }

    /// Lengths of the holes, ascending. This, distances() and angles() each have an order of their
    /// own: the i-th entry is not that of the i-th hole.
    [[nodiscard]] std::span<const fp<32, 15>> lengths() const { return valid(_lengths); }

    /// Distances of the holes from the centre, ascending.
    [[nodiscard]] std::span<const fp<32, 28>> distances() const { return valid(_distances); }

    /// Gaps in (0, 2 pi] from each hole to the next in the order of their polar angles, from the
    /// one at firstInnerContourAngle() on and round to it.
    [[nodiscard]] std::span<const fp<32, 15>> angles() const { return valid(_angles); }

    [[nodiscard]] fp<32, 15> firstInnerContourAngle() const { return _firstInnerContourAngle; }

    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    static constexpr std::size_t CAPACITY = MAX_INNER_CONTOURS;

    template <class T>
    [[nodiscard]] std::span<T> valid(std::array<T, CAPACITY>& entries)
    {
        return {entries.data(), static_cast<std::size_t>(_innerContourCount)};
    }

    template <class T>
    [[nodiscard]] std::span<const T> valid(const std::array<T, CAPACITY>& entries) const
    {
        return {entries.data(), static_cast<std::size_t>(_innerContourCount)};
    }

    void takeInnerContours(const analysis::Object& object);
    void turn(fp<32, 15> angleRadians);
    void measureInnerContours();
    void copyInnerContours(const Template& other);

    template <class S, class Self>
    static void serializeInnerContours(S& s, Self& self);

    std::int32_t _innerContourCount = 0;
    fp<32, 15> _firstInnerContourAngle;
    // Both descriptors side by side: every comparison reads them.
    analysis::FourierDescriptor _fourierDescriptor;
    analysis::FourierDescriptor _fourierDescriptorRotated;
    std::array<fp<32, 15>, CAPACITY> _lengths;
    std::array<fp<32, 28>, CAPACITY> _distances;
    std::array<fp<32, 15>, CAPACITY> _angles;
    std::array<bool, CAPACITY> _isActive{};
    analysis::Polygon _polygon;
    std::array<analysis::InnerContour, CAPACITY> _innerContours;
};

template <class S, class Self>
void Template::serialize(S& s, Self& self)
{
    using io::serialization::field;
    s& field("ID", self.id) & field("GripPoint", self.gripPoint) &
        field("GripHeight", self.gripHeight) & field("GripRotation", self.gripRotation) &
        field("Rotation", self.rotation) & field("Height", self.height) &
        field("Polygon", self._polygon);
    s.beginElement("InnerContours");
    serializeInnerContours(s, self);
    s.endElement();
    s& field("FourierDescriptor", self._fourierDescriptor) &
        field("FourierDescriptorRotated", self._fourierDescriptorRotated);
}

template <class S, class Self>
void Template::serializeInnerContours(S& s, Self& self)
{
    using io::serialization::field;
    std::int32_t count = self._innerContourCount;
    s& field("ConsiderInnerContours", self.considerInnerContours) &
        field("InnerContourCount", count);
    s.checkCount("InnerContourCount", count, MAX_INNER_CONTOURS);
    if constexpr (!S::isEncoder()) {
        self._innerContourCount = count;
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        s& field("InnerContour", self._innerContours[i]) & field("IsActive", self._isActive[i]) &
            field("Length", self._lengths[i]) & field("Distance", self._distances[i]) &
            field("Angle", self._angles[i]);
    }
    s& field("FirstInnerContourAngle", self._firstInnerContourAngle);
}

} // namespace tarvik::database
