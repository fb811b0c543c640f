#pragma once

#include "analysis/correction/LCParams.h"
#include "math/Complex.h"

#include <cstdint>

namespace tarvik::analysis::correction {

/// Radial lens correction of the first order, x' = x (1 + K1 r^2) and likewise y', with one
/// coefficient for each image quadrant (the radial term of Brown, "Decentering Distortion of
/// Lenses", Photogrammetric Engineering, 1966).
class LensCorrection
{
public:
    explicit LensCorrection(const LCParams& params) : _params(params) {}

    /// Corrects one absolute point.
    void correct(Complex<16, 14>& point) const;
    /// Corrects count points; none for a count of 0 or less. Always true.
    bool correct(Complex<16, 14>* points, std::int16_t count) const;

    /// Points stay where they are.
    [[nodiscard]] bool isIdentity() const { return _params == LCParams{}; }

private:
    [[nodiscard]] fp<32, 30> coefficientAt(Complex<16, 14> point) const;

    LCParams _params;
};

} // namespace tarvik::analysis::correction
