#pragma once

#include "math/Complex.h"
#include "math/fp.h"

#include <cstdint>
#include <span>

namespace tarvik {

/// Complex Fourier coefficients of closed outlines, and back.
///
/// The forward transforms integrate the piecewise linear curve, parametrised by arc length, in
/// closed form segment by segment (Kuhl and Giardina, "Elliptic Fourier features of a closed
/// contour", Computer Graphics and Image Processing 18, 1982, in complex notation); nothing is
/// sampled. points is closed: the last repeats the first. An odd number M of coefficients stands
/// in order of frequency: index k holds frequency k - (M - 1) / 2, and frequency 0 is the centre.

/// In double precision. Fewer than two different points give zeros beside the centre.
void Fourier_Forward_NonEquidistant_Exact(std::span<const Complex<16, 14>> points,
                                          const Complex<16, 14>& centre,
                                          std::span<Complex<16, 15>> coefficients);

/// In fixed point with sin_PI; length is the outline's total length and not 0. Allocates nothing.
///
/// One division per segment serves the angles of every frequency, one more the weights: the result
/// is that of the plain formula, one 64-bit division per segment, frequency and part, bit for bit.
void Fourier_Forward_NonEquidistant_Fast(std::span<const Complex<16, 14>> points,
                                         const Complex<16, 14>& centre, const fp<32, 15>& length,
                                         std::span<Complex<16, 15>> coefficients);

/// The truncated series at points.size() equally spaced parameters, turned by rotation (radians)
/// about the centre, each part clamped to +-(1 - 2^-15). In double precision.
void Fourier_Backward_Exact(std::span<const Complex<16, 15>> coefficients,
                            const fp<32, 15>& rotation, std::span<Complex<16, 14>> points);

} // namespace tarvik
