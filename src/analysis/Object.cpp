#include "analysis/Object.h"

#include <algorithm>

namespace tarvik::analysis {

std::int32_t Object::currentID = 0;

Object::Object(const Object& other)
{
    *this = other;
}

Object& Object::operator=(const Object& other)
{
    if (this != &other) {
        _id = other._id;
        _cropped = other._cropped;
        _clipped = other._clipped;
        _polygon = other._polygon;
        _fourierDescriptor = other._fourierDescriptor;
        _innerContourCount = other._innerContourCount;
        std::ranges::copy(other.innerContours(), _innerContours.begin());
    }
    return *this;
}

void Object::reset()
{
    _id = -1;
    _cropped = false;
    _clipped = false;
    _innerContourCount = 0;
}

void Object::borrow(const Object& other)
{
    _id = other._id;
    _cropped = other._cropped;
    _clipped = other._clipped;
    _polygon.borrow(other._polygon);
    _fourierDescriptor = other._fourierDescriptor;
    _innerContourCount = other._innerContourCount;
    for (std::size_t i = 0; i < static_cast<std::size_t>(_innerContourCount); ++i) {
        _innerContours[i].polygon.borrow(other._innerContours[i].polygon);
    }
}

void Object::setInnerContour(int i, const InnerContour& contour)
{
    if (i < 0 || i >= MAX_INNER_CONTOURS) {
        return;
    }
    _innerContours[static_cast<std::size_t>(i)] = contour;
    _innerContourCount = std::max(_innerContourCount, i + 1);
}

InnerContour* Object::addInnerContour()
{
    if (_innerContourCount >= MAX_INNER_CONTOURS) {
        return nullptr;
    }
    return &_innerContours[static_cast<std::size_t>(_innerContourCount++)];
}

} // namespace tarvik::analysis
