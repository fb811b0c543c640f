#pragma once

#include "ocamera/simulated/Turn.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OCamera::simulated {

/// How much of each pixel of a box a figure covers, 0 to 255.
struct Mask
{
    int left = 0; ///< of the box in the picture, pixels
    int top = 0;
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> coverage; ///< row by row; at least width x height

    [[nodiscard]] int at(int x, int y) const
    {
        const bool inside = x >= 0 && y >= 0 && x < width && y < height;
        return inside ? *(coverage.data() + std::ptrdiff_t{y} * width + x) : 0;
    }
};

/// Fills closed contours by the even-odd rule into masks: four scan lines per row of pixels, and
/// exact coverage along them (Foley et al., Computer Graphics, scan conversion of polygons).
class Raster
{
public:
    /// Draws one figure. Contours are in 1/256 pixel; pixel (0, 0) spans 0 to 256 in both
    /// directions. The mask's box is that of the figure within the picture, possibly empty.
    void fill(const std::vector<std::vector<Point>>& contours, int pictureWidth, int pictureHeight,
              Mask& mask);

private:
    void addScanLine(const std::vector<std::vector<Point>>& contours, std::int32_t y, int left,
                     int width);
    void addSpan(std::int32_t from, std::int32_t to);

    std::vector<std::int32_t> _crossings;
    std::vector<std::int32_t> _row; ///< coverage of the row's pixels, 4 x 256 = all of it
};

} // namespace OCamera::simulated
