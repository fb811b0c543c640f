#pragma once

#include "analysis/extraction/chaincode/ChainCodePolygonExtractor.h"
#include "analysis/extraction/chaincode/ContourStarts.h"
#include "analysis/extraction/chaincode/PixelGrid.h"
#include "analysis/extraction/chaincode/StepTable.h"
#include "image/CompressedBinaryImage.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tarvik::analysis::extraction::chaincode {

/// Follows contours pixel by pixel in software (Moore neighbourhood tracing, as in Gonzalez and
/// Woods, Digital Image Processing), and looks for the next one 32 pixels at a time.
///
/// A trace ends at its first return to the start pixel, also where a line one pixel wide passes
/// through the start twice; what remains of such a figure may start further contours.
class SoftwarePolygonExtractor : public ChainCodePolygonExtractor
{
public:
    void begin(image::Image& image, const ROI& roi, fp<16, 15> maxError) override;
    void end() override;

    void setMinLength(fp<32, 15> length) override { _minLength = length; }

    bool nextPolygon(std::span<Complex<16, 14>> points, int& count) override;
    bool nextPolygon(Complex<16, 14>* centre, fp<32, 15>* length) override;
    bool skipPolygon() override;

    [[nodiscard]] bool hasNext() const override { return _position < _starts.size(); }

    [[nodiscard]] bool innerContour() const override { return _inner; }

private:
    /// The part of the image that is scanned, in pixels.
    struct Region
    {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    };

    [[nodiscard]] static Region clippedRegion(const image::Image& image, const ROI& roi);
    static void clearFrame(image::Image& image, const Region& region);
    [[nodiscard]] const image::CompressedBinaryImage& pack(image::Image& image);
    void findNext(std::size_t from);
    [[nodiscard]] bool passTiny();
    [[nodiscard]] bool passIsolated();
    template <class Consumer>
    void trace(Consumer& consumer);
    template <class Consumer>
    void traceByTable(Consumer& consumer);
    template <class Consumer>
    void traceBySearch(Consumer& consumer);
    [[nodiscard]] Complex<16, 14> startPoint() const;

    [[nodiscard]] bool foreground(std::size_t index) const
    {
        return (_words[index / 32] >> index % 32 & 1U) != 0;
    }

    bool _active = false;
    PixelGrid _grid{2, 2};
    Region _region;
    fp<16, 15> _maxError;
    fp<32, 15> _minLength;
    image::CompressedBinaryImage _packed;
    ContourStarts _starts;

    /// The region's pixels, one bit each, between begin() and end(): in _packed, or in the image.
    const std::uint32_t* _words = nullptr;
    std::array<std::ptrdiff_t, 8> _offsets{}; ///< of the neighbours' indices
    StepTable _steps;
    bool _byTable = false;
    bool _skipTiny = false; ///< pass over isolated pixels and holes of one pixel

    std::size_t _position = 0; ///< index of the next contour's start in the region
    bool _inner = false;
};

} // namespace tarvik::analysis::extraction::chaincode
