#pragma once

#include "ocamera/OCamera.h"

#include <cstdint>
#include <span>

/// What the camera's FPGA does to a picture, as functions from picture to picture.
namespace OCamera::simulated {

/// 255 where low <= grey <= high, 0 elsewhere; the other way round when inverted.
/// `out` may be `in`.
void threshold(std::span<const std::uint8_t> in, const BinarizationParameters& parameters,
               std::span<std::uint8_t> out);

/// The contour code of FILTER_NEIGHBOURHOOD; `out` must not overlap `in`.
void neighbours(std::span<const std::uint8_t> in, int width, int height,
                const NeighbourhoodParameters& parameters, std::span<std::uint8_t> out);

/// What a colour sensor sees of a picture with red, green and blue of each pixel in turn: one
/// colour per pixel, in the sensor's pattern BAYER_PATTERN_GRGR.
void mosaic(std::span<const std::uint8_t> rgb, int width, int height, std::span<std::uint8_t> out);

/// The Bayer converter: one byte per pixel from a mosaic. Each pixel comes from the square of four
/// that it begins, which holds red and blue once and green twice; in the last column and row from
/// the square before. Pictures are at least 2 x 2; `out` must not overlap `in`.
void convertBayer(std::span<const std::uint8_t> in, int width, int height, eBayerOutput output,
                  eBayerPattern pattern, std::span<std::uint8_t> out);

} // namespace OCamera::simulated
