#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"

#include "analysis/extraction/chaincode/RunLengthEncoder.h"
#include "analysis/extraction/chaincode/processors/EmptyPolygonBuilder.h"
#include "analysis/extraction/chaincode/processors/PolygonBuilderRecursive.h"
#include "analysis/extraction/chaincode/processors/PolygonProperties.h"
#include "image/Image.h"

#include <algorithm>
#include <cstring>

namespace tarvik::analysis::extraction::chaincode {

SoftwarePolygonExtractor::Region SoftwarePolygonExtractor::clippedRegion(const image::Image& image,
                                                                         const ROI& roi)
{
    const ROI wanted(roi.x, roi.y, roi.width, roi.height);
    const bool valid = wanted.width > 0 && wanted.height > 0 && wanted.x <= image.width() - 2 &&
                       wanted.y <= image.height() - 2;
    if (!valid) {
        return {0, 0, image.width(), image.height()};
    }
    return {wanted.x, wanted.y, std::min<int>(wanted.width, image.width() - wanted.x),
            std::min<int>(wanted.height, image.height() - wanted.y)};
}

/// Cuts objects open at the region's edge, so that no trace can leave it.
void SoftwarePolygonExtractor::clearFrame(image::Image& image, const Region& region)
{
    const std::size_t stride = image.width();
    std::uint8_t* const first = image.data() + static_cast<std::size_t>(region.y) * stride +
                                static_cast<std::size_t>(region.x);
    const auto width = static_cast<std::size_t>(region.width);
    const auto height = static_cast<std::size_t>(region.height);
    std::memset(first, 0, width);
    std::memset(first + (height - 1) * stride, 0, width);
    for (std::size_t row = 0; row < height; ++row) {
        first[row * stride] = 0;
        first[row * stride + width - 1] = 0;
    }
}

/// The region's pixels, its frame cleared there and in the image.
const image::CompressedBinaryImage& SoftwarePolygonExtractor::pack(image::Image& image)
{
    image::CompressedBinaryImage* const packed = image.packed();
    const bool whole = _region.width == image.width() && _region.height == image.height();
    if (packed != nullptr && whole) {
        packed->clearFrame();
        return *packed;
    }
    clearFrame(image, _region);
    _packed.load(image, static_cast<std::uint16_t>(_region.x),
                 static_cast<std::uint16_t>(_region.y), static_cast<std::uint16_t>(_region.width),
                 static_cast<std::uint16_t>(_region.height));
    return _packed;
}

void SoftwarePolygonExtractor::begin(image::Image& image, const ROI& roi, fp<16, 15> maxError)
{
    end();
    if (image.channels() == 3) {
        _packed.load(image); // says that it cannot
    }
    if (image.width() < 2 || image.height() < 2) {
        std::ranges::fill(image.bytes(), std::uint8_t{0}); // nothing but edge
        return;
    }
    _maxError = maxError;
    _grid = PixelGrid(image.width(), image.height());
    _region = clippedRegion(image, roi);
    const image::CompressedBinaryImage& bits = pack(image);
    _words = bits.words().data();
    _starts.load(bits);
    for (std::size_t code = 0; code < _offsets.size(); ++code) {
        _offsets[code] = PixelGrid::DY[code] * _region.width + PixelGrid::DX[code];
    }
    _byTable = StepTable::suits(_region.width) && _starts.dense();
    if (_byTable) {
        _steps.setWidth(_region.width);
    }
    // What has four steps at most.
    _skipTiny = _grid.longestPolygon(4) < _minLength.raw();
    _active = true;
    findNext(0);
}

void SoftwarePolygonExtractor::end()
{
    _active = false;
    _starts.clear();
    _position = 0;
    _inner = false;
    _words = nullptr;
}

void SoftwarePolygonExtractor::findNext(std::size_t from)
{
    _position = _starts.next(from);
    while (hasNext()) {
        _inner = foreground(_position - static_cast<std::size_t>(_region.width));
        if (!_skipTiny || !passTiny()) {
            return;
        }
        _position = _starts.next(_position);
    }
}

/// Passes over an isolated pixel, or the four pixels around one of background, as a trace would.
/// False when there is more to the current contour.
bool SoftwarePolygonExtractor::passTiny()
{
    const auto width = static_cast<std::size_t>(_region.width);
    if (!_inner && !foreground(_position - width + 1)) {
        return passIsolated();
    }
    // A hole's contour begins above the hole. What counts as an outer one, with foreground at the
    // upper right, begins below a background pixel and goes round that.
    const std::size_t middle = _inner ? _position + width : _position - width;
    const std::array round{middle - width, middle - 1, middle + 1, middle + width};
    if (!std::ranges::all_of(round, [this](std::size_t i) { return foreground(i); })) {
        return false;
    }
    for (const std::size_t i : round) {
        _starts.pass(i);
    }
    return true;
}

bool SoftwarePolygonExtractor::passIsolated()
{
    for (const std::ptrdiff_t offset : _offsets) {
        if (foreground(_position + static_cast<std::size_t>(offset))) {
            return false;
        }
    }
    _starts.pass(_position);
    return true;
}

Complex<16, 14> SoftwarePolygonExtractor::startPoint() const
{
    const auto index = static_cast<int>(_position);
    return _grid.point(_region.x + index % _region.width, _region.y + index / _region.width);
}

/// Hands every step of the current contour to the consumer, then goes on to the next contour.
template <class Consumer>
void SoftwarePolygonExtractor::trace(Consumer& consumer)
{
    if (_byTable) {
        traceByTable(consumer);
    } else {
        traceBySearch(consumer);
    }
    findNext(_position);
}

/// The search at each pixel begins behind the background pixel that ended the previous one, so the
/// states (pixel, background neighbour) follow each other one to one and come back to the first.
template <class Consumer>
void SoftwarePolygonExtractor::traceBySearch(Consumer& consumer)
{
    std::array<std::size_t, 16> offsets; // twice round: a search never waits for a remainder
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        offsets[i] = static_cast<std::size_t>(_offsets[i % 8]);
    }
    std::size_t index = _position;
    std::size_t direction = _inner ? 3 : 7;
    do {
        _starts.pass(index);
        std::size_t tries = 0;
#pragma GCC unroll 8
        for (; tries < 8; ++tries) {
            if (foreground(index + offsets[direction + tries])) {
                break;
            }
        }
        if (tries == 8) {
            return; // an isolated pixel has no chain
        }
        index += offsets[direction + tries];
        consumer.add(static_cast<std::uint8_t>((direction + tries) % 8));
        direction = (direction + tries + 6) % 8;
    } while (index != _position);
}

template <class Consumer>
void SoftwarePolygonExtractor::traceByTable(Consumer& consumer)
{
    std::size_t index = _position;
    std::size_t direction = _inner ? 3 : 7;
    do {
        _starts.pass(index);
        const StepTable::Step step = _steps.next(_words, index, direction);
        if (step.code == 8) {
            return;
        }
        index += static_cast<std::size_t>(std::ptrdiff_t{step.offset});
        consumer.add(step.code);
        direction = step.direction;
    } while (index != _position);
}

bool SoftwarePolygonExtractor::nextPolygon(std::span<Complex<16, 14>> points, int& count)
{
    if (!_active || !hasNext() || points.empty()) {
        return false;
    }
    processors::PolygonBuilderRecursive builder(_grid, startPoint(), points, _maxError);
    RunLengthEncoder encoder(builder);
    trace(encoder);
    encoder.finish();
    count = _grid.longestPolygon(builder.steps()) < _minLength.raw() ? 0 : builder.finish();
    return true;
}

bool SoftwarePolygonExtractor::nextPolygon(Complex<16, 14>* centre, fp<32, 15>* length)
{
    if (!_active || !hasNext()) {
        return false;
    }
    processors::PolygonProperties properties(_grid, startPoint());
    trace(properties);
    if (centre != nullptr) {
        *centre = properties.centre();
    }
    if (length != nullptr) {
        *length = properties.length();
    }
    return true;
}

bool SoftwarePolygonExtractor::skipPolygon()
{
    if (!_active || !hasNext()) {
        return false;
    }
    processors::EmptyPolygonBuilder nobody;
    trace(nobody);
    return true;
}

} // namespace tarvik::analysis::extraction::chaincode
