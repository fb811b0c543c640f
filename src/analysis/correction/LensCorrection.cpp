#include "analysis/correction/LensCorrection.h"

#include "math/fp.h"

namespace tarvik::analysis::correction {

fp<32, 30> LensCorrection::coefficientAt(Complex<16, 14> point) const
{
    const bool right = point.re.raw() > 0;
    const bool lower = point.im.raw() > 0;
    const LCParams::Quadrants& k1 = _params.k1;
    if (lower) {
        return right ? k1.q4 : k1.q3;
    }
    return right ? k1.q1 : k1.q2;
}

void LensCorrection::correct(Complex<16, 14>& point) const
{
    const std::int64_t q = coefficientAt(point).raw() >> 2; // 28 fractional bits
    const std::int64_t t = (q * squaredNorm(point).raw()) >> 28;
    const auto factor = fp<16, 14>::ONE + fp<16, 14>(wrapTo<std::int16_t>(t >> 14));
    const auto scaled = [factor](fp<16, 14> v) { return (v * factor).scaleDown<14>(); };
    point = {scaled(point.re), scaled(point.im)};
}

bool LensCorrection::correct(Complex<16, 14>* points, std::int16_t count) const
{
    for (std::int16_t i = 0; i < count; ++i) {
        correct(points[i]);
    }
    return true;
}

} // namespace tarvik::analysis::correction
