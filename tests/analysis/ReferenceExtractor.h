#pragma once

#include "analysis/ROI.h"
#include "image/Image.h"
#include "math/Complex.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvik::test {

/// The contour extraction at its plainest: one bit at a time over a packed image and a mask of
/// visited pixels. What the fast extractor must agree with to the bit.
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
    /// Polygon building from runs.
    struct Builder
    {
        std::vector<Point> points;
        int capacity = 0;
        std::int32_t x = 0; ///< fp<32, 28>
        std::int32_t y = 0;
        bool pending = false;
        int direction = 0;
        int length = 0;
    };

    void chooseRegion(const image::Image& image, const analysis::ROI& roi);
    void clearFrame(image::Image& image) const;
    void pack(const image::Image& image);
    void find();
    [[nodiscard]] std::vector<int> trace();
    [[nodiscard]] Point startPoint() const;
    [[nodiscard]] bool foreground(int index) const;

    void add(Builder& builder, int direction, int length) const;
    void advance(Builder& builder, int direction, int length) const;
    static void emitPoint(Builder& builder);
    [[nodiscard]] int simplify(std::vector<Point>& points, int s, int n) const;
    [[nodiscard]] bool corner(const std::vector<Point>& points, int k) const;

    int _maxError = 0;
    int _imageWidth = 0;
    int _imageHeight = 0;
    int _x = 0;
    int _y = 0;
    int _w = 0;
    int _h = 0;
    int _position = 0;
    bool _inner = false;
    std::array<int, 8> _offsets{};
    std::vector<std::uint32_t> _packed;
    std::vector<std::uint32_t> _visited;
};

} // namespace tarvik::test
