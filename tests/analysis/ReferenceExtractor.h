#pragma once

#include "analysis/ROI.h"
#include "image/Image.h"
#include "math/Complex.h"

#include <cstdint>
#include <vector>

namespace tarvik::test {

/// The contour extraction at its plainest: one pixel at a time over a mask of foreground and one
/// of visited pixels. What the fast extractor must agree with to the bit.
class ReferenceExtractor
{
public:
    using Point = Complex<16, 14>;

    struct Measure
    {
        Point centre;
        std::int32_t length; ///< fp<32, 15>
    };

    void begin(image::Image& image, const analysis::ROI& roi, int maxError);

    [[nodiscard]] bool hasNext() const { return _position < _w * _h; }

    [[nodiscard]] bool inner() const { return _inner; }

    [[nodiscard]] std::vector<Point> nextPolygon(int capacity);
    [[nodiscard]] Measure measure();
    void skip();

private:
    void chooseRegion(const image::Image& image, const analysis::ROI& roi);
    void takeRegion(image::Image& image);
    void find();
    [[nodiscard]] std::vector<int> trace();
    [[nodiscard]] Point startPoint() const;
    [[nodiscard]] bool foreground(int index) const;
    [[nodiscard]] std::int32_t step() const; ///< one pixel, fp<32, 28>

    int _maxError = 0;
    int _imageWidth = 0;
    int _imageHeight = 0;
    int _x = 0;
    int _y = 0;
    int _w = 0;
    int _h = 0;
    int _position = 0;
    bool _inner = false;
    std::vector<bool> _foreground;
    std::vector<bool> _visited;
};

} // namespace tarvik::test
