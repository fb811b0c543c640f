#pragma once

#include "analysis/Frame.h"
#include "image/Image.h"

#include <cstdint>
#include <optional>

/// Pictures that carry a number in their pixels: a row of 18 square blocks, the outermost always
/// there and one for each bit that is set between them. The number can be read from whatever the
/// camera makes of the picture, so that every result shows of which picture it is.
namespace tarvik::test {

/// 16 bits.
using PictureNumber = std::uint16_t;

/// At least 640 x 480, grey or planar HSV. Binarization has to keep 200 and drop 0; of a colour
/// picture hue 100, saturation 150 and value 150, and drop 0 in each.
[[nodiscard]] image::Image numberedPicture(PictureNumber number, std::uint16_t width,
                                           std::uint16_t height, bool coloured);

/// Of the picture itself, or of its binary image or contour codes; none when it has no such row.
[[nodiscard]] std::optional<PictureNumber> numberOf(const image::Image& picture);

/// From the places of the objects in a picture of this size. None when one lies anywhere else.
[[nodiscard]] std::optional<PictureNumber> numberOf(const analysis::Frame& frame,
                                                    std::uint16_t width, std::uint16_t height);

} // namespace tarvik::test
