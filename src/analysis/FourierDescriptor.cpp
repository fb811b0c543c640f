#include "analysis/FourierDescriptor.h"

#include "analysis/Polygon.h"
#include "math/FourierTransform.h"
#include "math/polar.h"
#include "math/sinPi.h"

#include <cstdint>

namespace tarvik::analysis {

void FourierDescriptor::load(const Polygon& polygon, bool normalise, bool exact)
{
    _rotation = fp<32, 15>::ZERO;
    _polygonLength = polygon.length();
    if (polygon.length() == fp<32, 15>::ZERO) {
        return;
    }
    if (exact) {
        Fourier_Forward_NonEquidistant_Exact(polygon.points(), polygon.position(), _frequencies);
    } else {
        Fourier_Forward_NonEquidistant_Fast(polygon.points(), polygon.position(), polygon.length(),
                                            _frequencies);
    }
    estimateRotation();
    if (normalise) {
        normalize();
    }
}

void FourierDescriptor::move(Complex<16, 15> distance)
{
    _frequencies[CENTRE] += distance;
}

void FourierDescriptor::rotate(fp<32, 15> angleRadians, bool normalise)
{
    _rotation += angleRadians;
    if (normalise) {
        normalize();
    }
    while (_rotation < -fp<32, 15>::PI) {
        _rotation += fp<32, 15>::PI2;
    }
    while (_rotation > fp<32, 15>::PI) {
        _rotation -= fp<32, 15>::PI2;
    }
}

void FourierDescriptor::estimateRotation()
{
    const fp<32, 15> sum =
        polarAngle(_frequencies[CENTRE + 1]) + polarAngle(_frequencies[CENTRE - 1]);
    _rotation = fp<32, 15>(static_cast<std::int32_t>(sum.raw() >> 1)); // half of it
}

void FourierDescriptor::normalize()
{
    normalizeRotation();
    normalizeStartingPoint();
}

void FourierDescriptor::normalizeRotation()
{
    const Complex<16, 15> factor = unitFactor(fractionOfPi(-_rotation));
    for (int k = 0; k < COUNT; ++k) {
        if (k != CENTRE) {
            auto& frequency = _frequencies[static_cast<std::size_t>(k)];
            frequency = turned(frequency, factor);
        }
    }
}

void FourierDescriptor::normalizeStartingPoint()
{
    const fp<32, 15> phase = polarAngle(_frequencies[CENTRE + 1]);
    for (int k = 0; k < COUNT; ++k) {
        if (k != CENTRE) {
            const fp<32, 15> angle(wrapTo<std::int32_t>(std::int64_t{CENTRE - k} * phase.raw()));
            auto& frequency = _frequencies[static_cast<std::size_t>(k)];
            frequency = turned(frequency, unitFactor(fractionOfPi(angle)));
        }
    }
}

} // namespace tarvik::analysis
