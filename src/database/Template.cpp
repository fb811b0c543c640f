#include "database/Template.h"

#include "database/InnerContourMeasures.h"
#include "math/sinPi.h"

#include <algorithm>

namespace tarvik::database {

Template::Template(int newId, const analysis::Object& object)
    : id(newId),
      height(10 * fp<32, 15>::ONE.raw()),
      _polygon(object.polygon())
{
    takeInnerContours(object);
    _fourierDescriptor.load(_polygon, true, false);
    _fourierDescriptorRotated.load(_polygon, false, false);
    _fourierDescriptorRotated.rotate(fp<32, 15>::PI, true);
    turn(-_fourierDescriptor.rotation());
    measureInnerContours();
}

Template::Template(const Template& other)
{
    *this = other;
}

Template& Template::operator=(const Template& other)
{
    if (this == &other) {
        return *this;
    }
    id = other.id;
    rotation = other.rotation;
    height = other.height;
    gripPoint = other.gripPoint;
    gripHeight = other.gripHeight;
    gripRotation = other.gripRotation;
    considerInnerContours = other.considerInnerContours;
    _fourierDescriptor = other._fourierDescriptor;
    _fourierDescriptorRotated = other._fourierDescriptorRotated;
    _polygon = other._polygon;
    copyInnerContours(other);
    return *this;
}

void Template::copyInnerContours(const Template& other)
{
    _innerContourCount = other._innerContourCount;
    _firstInnerContourAngle = other._firstInnerContourAngle;
    std::ranges::copy(other.innerContours(), _innerContours.begin());
    std::ranges::copy(other.isActive(), _isActive.begin());
    std::ranges::copy(other.lengths(), _lengths.begin());
    std::ranges::copy(other.distances(), _distances.begin());
    std::ranges::copy(other.angles(), _angles.begin());
}

void Template::takeInnerContours(const analysis::Object& object)
{
    const auto contours = object.innerContours();
    _innerContourCount = static_cast<std::int32_t>(contours.size());
    std::ranges::copy(contours, _innerContours.begin());
    std::ranges::fill(valid(_isActive), true);
}

void Template::turn(fp<32, 15> angleRadians)
{
    _polygon.rotate(angleRadians);
    const Complex<16, 15> factor = unitFactor(fractionOfPi(angleRadians));
    for (analysis::InnerContour& contour : valid(_innerContours)) {
        contour.polygon.rotate(angleRadians);
        contour.polygon.moveTo(turned(contour.polygon.position(), factor));
    }
}

void Template::measureInnerContours()
{
    if (_innerContourCount == 0) {
        return;
    }
    const auto contours = innerContours();
    sortedLengths(contours, valid(_lengths));
    sortedDistances(contours, valid(_distances));

    std::array<fp<32, 15>, CAPACITY> buffer;
    const auto angles = valid(buffer);
    sortedAngles(contours, angles);
    _firstInnerContourAngle = angles.front();
    angularGaps(angles, valid(_angles));
}

} // namespace tarvik::database
