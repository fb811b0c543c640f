#include "analysis/FourierDescriptor.h"

#include "analysis/Polygon.h"
#include "math/FourierTransform.h"
#include "math/sinPi.h"

#include <cmath>
#include <cstdint>

namespace tarvik::analysis {

namespace {

/// Argument in radians: atan2 in double precision, rounded to single.
fp<32, 15> angleOf(Complex<16, 15> z)
{
    const auto angle = static_cast<float>(std::atan2(z.im.toDouble(), z.re.toDouble()));
    return fp<32, 15>(static_cast<std::int32_t>(static_cast<double>(angle) * 32768.0 + 0.5));
}

} // namespace

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
    const fp<32, 15> sum = angleOf(_frequencies[CENTRE + 1]) + angleOf(_frequencies[CENTRE - 1]);
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
    const fp<32, 15> phase = angleOf(_frequencies[CENTRE + 1]);
    for (int k = 0; k < COUNT; ++k) {
        if (k != CENTRE) {
            const fp<32, 15> angle(wrapTo<std::int32_t>(std::int64_t{CENTRE - k} * phase.raw()));
            auto& frequency = _frequencies[static_cast<std::size_t>(k)];
            frequency = turned(frequency, unitFactor(fractionOfPi(angle)));
        }
    }
}

} // namespace tarvik::analysis
