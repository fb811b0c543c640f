#pragma once

#include "analysis/ROI.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <span>

namespace tarvik::image {
class Image;
}

namespace tarvik::analysis::extraction {

/// Finds the contours of a binary image, one per call, in scan order.
///
/// begin(), then any mix of innerContour(), nextPolygon() and skipPolygon() while hasNext(), then
/// end(). Coordinates are normalised: image centre 0, half the image width 1.0, y downwards.
class PolygonExtractor
{
public:
    PolygonExtractor() = default;
    PolygonExtractor(const PolygonExtractor&) = delete;
    PolygonExtractor& operator=(const PolygonExtractor&) = delete;
    virtual ~PolygonExtractor() = default;

    /// Prepares a scan of the region, an empty or invalid one being the whole image, and clears the
    /// region's outermost pixels in the image itself. Throws Exception for a colour image.
    virtual void begin(image::Image& image, const ROI& roi, fp<16, 15> maxError) = 0;
    virtual void end() = 0;

    /// A hint before begin() that a polygon shorter than this is of no use: contours that cannot
    /// reach it may be passed over, and nextPolygon() may give no points for one. 0, as at the
    /// start, asks for every polygon.
    virtual void setMinLength(fp<32, 15> length) = 0;

    /// Traces the current contour into at most points.size() reduced points, absolute and closed,
    /// and goes on to the next. False, and nothing happens, when there is none or no room at all.
    virtual bool nextPolygon(std::span<Complex<16, 14>> points, int& count) = 0;
    /// Measures the current contour instead: centroid of its line, and length. Either may be null.
    virtual bool nextPolygon(Complex<16, 14>* centre, fp<32, 15>* length) = 0;
    /// Passes over the current contour. False when there is none.
    virtual bool skipPolygon() = 0;

    [[nodiscard]] virtual bool hasNext() const = 0;
    /// The current contour is that of a hole.
    [[nodiscard]] virtual bool innerContour() const = 0;
};

} // namespace tarvik::analysis::extraction
