#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <span>

namespace tarvik {

/// The fixed-point forward transform for frequencies -7 ... 7, all of them side by side in vector
/// registers: Fourier_Forward_NonEquidistant_Fast() bit for bit, which calls it.
///
/// False, with nothing written, on a processor without such vectors, for another number of
/// coefficients, and for outlines beyond what its arithmetic holds exactly: 16 units of length,
/// segments of 1 unit.
[[nodiscard]] bool transformInLanes(std::span<const Complex<16, 14>> points, fp<32, 15> length,
                                    std::span<Complex<16, 15>> coefficients);

} // namespace tarvik
