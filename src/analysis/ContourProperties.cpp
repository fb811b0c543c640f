#include "analysis/ContourProperties.h"

#include "analysis/measure.h"

namespace tarvik::analysis {

ContourProperties::ContourProperties(std::span<const Complex<16, 14>> points)
{
    const OutlineMeasure measure = measureOutline(points);
    _length = measure.length;
    if (_length != fp<32, 15>::ZERO) {
        _centre = measure.centre();
    }
}

} // namespace tarvik::analysis
