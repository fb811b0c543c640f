#pragma once

#include "analysis/FourierDescriptor.h"
#include "analysis/InnerContour.h"
#include "analysis/Polygon.h"
#include "core/serialization/Fields.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::analysis {

/// One object of a frame: its outline, the descriptor of the outline, and its holes.
class Object
{
public:
    static constexpr int MAX_INNER_CONTOURS = 100;

    /// The next identity to give away.
    static std::int32_t currentID;

    Object() = default;
    /// Copies own their points, and take only the holes that count.
    Object(const Object& other);
    Object& operator=(const Object& other);
    ~Object() = default;

    /// Starts over as an object without identity, flags and holes; polygon and descriptor stay.
    void reset();
    /// Becomes another view of the other object: copies scalars and descriptor, borrows the points
    /// of outline and holes; allocates nothing.
    void borrow(const Object& other);

    /// Identity that the object keeps from image to image while it stays in place; -1 for none yet.
    [[nodiscard]] std::int32_t id() const { return _id; }

    void setId(std::int32_t id) { _id = id; }

    /// A part cut out of a larger object.
    [[nodiscard]] bool cropped() const { return _cropped; }

    void setCropped(bool cropped) { _cropped = cropped; }

    /// Reaches into an active band of the clipping frame.
    [[nodiscard]] bool clipped() const { return _clipped; }

    void setClipped(bool clipped) { _clipped = clipped; }

    [[nodiscard]] Polygon& polygon() { return _polygon; }

    [[nodiscard]] const Polygon& polygon() const { return _polygon; }

    [[nodiscard]] FourierDescriptor& fourierDescriptor() { return _fourierDescriptor; }

    [[nodiscard]] const FourierDescriptor& fourierDescriptor() const { return _fourierDescriptor; }

    [[nodiscard]] int innerContourCount() const { return _innerContourCount; }

    [[nodiscard]] std::span<InnerContour> innerContours()
    {
        return {_innerContours.data(), static_cast<std::size_t>(_innerContourCount)};
    }

    [[nodiscard]] std::span<const InnerContour> innerContours() const
    {
        return {_innerContours.data(), static_cast<std::size_t>(_innerContourCount)};
    }

    /// Assigns hole i and counts up to it; ignored outside 0 ... 99.
    void setInnerContour(int i, const InnerContour& contour);
    /// The next free hole, counted from now on, as it was left; null when there are 100.
    [[nodiscard]] InnerContour* addInnerContour();

    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    std::int32_t _id = -1;
    bool _cropped = false;
    bool _clipped = false;
    Polygon _polygon;
    FourierDescriptor _fourierDescriptor;
    std::int32_t _innerContourCount = 0;
    std::array<InnerContour, MAX_INNER_CONTOURS> _innerContours;
};

template <class S, class Self>
void Object::serialize(S& s, Self& self)
{
    using io::serialization::field;
    s& field("ID", self._id) & field("Cropped", self._cropped) & field("Clipped", self._clipped) &
        field("Polygon", self._polygon) & field("FourierDescriptor", self._fourierDescriptor);
    std::int32_t count = self._innerContourCount;
    s& field("InnerContourCount", count);
    s.checkCount("InnerContourCount", count, MAX_INNER_CONTOURS);
    if constexpr (!S::isEncoder()) {
        self._innerContourCount = count;
    }
    for (auto& contour : self.innerContours()) {
        s& field("InnerContour", contour);
    }
}

} // namespace tarvik::analysis
