#include "analysis/Analyzer.h"

#include "analysis/ContourProperties.h"
#include "analysis/correction/LensCorrection.h"
#include "image/Image.h"

#include <optional>

namespace tarvik::analysis {

namespace {

using extraction::PolygonExtractorFactory;

/// With this many points of the pool in use a further outline would hardly find room.
constexpr int POOL_ALMOST_FULL = 1020;

/// Whether an object reaches into an active band of the frame; h is the normalised height of half
/// the image, so that the image spans -1 ... 1 and -h ... h.
bool isClipped(const Polygon& polygon, const ClippingFrame& frame, fp<16, 14> h)
{
    using Coordinate = fp<16, 14>;
    const Complex<16, 14> position = polygon.position();
    const auto reaches = [](const ClippingArea& band, std::int32_t depth) {
        return band.active && depth > -band.size.raw();
    };
    const auto sum = [](Coordinate a, Coordinate b) { return std::int32_t{(a + b).raw()}; };
    return reaches(frame.top, -h.raw() - sum(position.im, polygon.top())) ||
           reaches(frame.right, sum(position.re, polygon.right()) - Coordinate::ONE.raw()) ||
           reaches(frame.bottom, sum(position.im, polygon.bottom()) - h.raw()) ||
           reaches(frame.left, -Coordinate::ONE.raw() - sum(position.re, polygon.left()));
}

/// Normalised y of the image's bottom edge; 0 for an image without pixels.
fp<16, 14> halfHeight(const image::Image& image)
{
    if (image.width() == 0) {
        return fp<16, 14>::ZERO;
    }
    const double ratio = static_cast<double>(image.height()) / image.width();
    return fp<16, 14>(wrapTo<std::int16_t>(static_cast<std::int32_t>(ratio * 16384.0 + 0.5)));
}

void describe(Object& object)
{
    object.fourierDescriptor().load(object.polygon(), /*normalise*/ true, /*exact*/ false);
}

} // namespace

/// One extraction of one image into the frame, under the analyzer's configuration.
class Analyzer::Extraction
{
public:
    Extraction(Frame& frame, extraction::PolygonExtractor& extractor,
               const AnalyzerConfiguration& config, const image::Image& image,
               bool extractInnerContours)
        : _frame(frame),
          _extractor(extractor),
          _config(config),
          _halfHeight(halfHeight(image)),
          _extractInnerContours(extractInnerContours)
    {
        const correction::LensCorrection correction(config.lensCorrectionParams);
        if (config.performLensCorrection && !correction.isIdentity()) {
            _lensCorrection = correction;
        }
        // The correction may yet lengthen an outline.
        extractor.setMinLength(_lensCorrection ? fp<32, 15>::ZERO : config.minPolygonSize);
    }

    void run()
    {
        while (_extractor.hasNext() && takeContour()) {
        }
    }

private:
    /// False when the extractor gives no more, for lack of contours or of points.
    bool takeContour()
    {
        if (!_extractor.innerContour()) {
            const bool full =
                _frame.objectCount() == Frame::MAX_OBJECTS || _frame.poolUsed() > POOL_ALMOST_FULL;
            return full ? _extractor.skipPolygon() : takeObject();
        }
        return _extractInnerContours ? takeInnerContour() : _extractor.skipPolygon();
    }

    bool takeObject()
    {
        Object& object = _frame.object(_frame.objectCount());
        object.reset();
        const auto points = nextPoints();
        if (!points) {
            return false;
        }
        Polygon& polygon = object.polygon();
        polygon.setPoints(*points, /*copy*/ false);
        if (!isWanted(polygon)) {
            return true; // slot and points serve the next contour
        }
        _frame.usePoints(polygon.pointCount());
        object.setClipped(isClipped(polygon, _config.clippingFrame, _halfHeight));
        describe(object);
        _frame.setObjectCount(_frame.objectCount() + 1);
        return true;
    }

    bool takeInnerContour()
    {
        const auto points = nextPoints();
        if (!points) {
            return false;
        }
        const ContourProperties hole(*points);
        if (!hasWantedLength(hole.length())) {
            return true;
        }
        _frame.usePoints(static_cast<int>(points->size()));
        Object* const owner = _frame.findObject(hole.centre());
        InnerContour* const contour = owner == nullptr ? nullptr : owner->addInnerContour();
        if (contour != nullptr) {
            contour->polygon.setPoints(*points, /*copy*/ false);
            contour->polygon.move(-owner->polygon().position());
        }
        return true;
    }

    /// The reduced, corrected, absolute points of the next contour, in the pool but not yet in use.
    std::optional<std::span<Complex<16, 14>>> nextPoints()
    {
        const std::span<Complex<16, 14>> room = _frame.freePoints();
        int count = 0;
        if (!_extractor.nextPolygon(room, count)) {
            return std::nullopt;
        }
        if (_lensCorrection) {
            _lensCorrection->correct(room.data(), static_cast<std::int16_t>(count));
        }
        return room.first(static_cast<std::size_t>(count));
    }

    [[nodiscard]] bool hasWantedLength(fp<32, 15> length) const
    {
        return length >= _config.minPolygonSize && length <= _config.maxPolygonSize;
    }

    [[nodiscard]] bool isWanted(const Polygon& polygon) const
    {
        return hasWantedLength(polygon.length()) &&
               (_config.allowNestedObjects || _frame.findObject(polygon.position()) == nullptr);
    }

    Frame& _frame;
    extraction::PolygonExtractor& _extractor;
    const AnalyzerConfiguration& _config;
    fp<16, 14> _halfHeight;
    bool _extractInnerContours;
    std::optional<correction::LensCorrection> _lensCorrection;
};

Analyzer::Analyzer()
    : Logging("Analysis"),
      _extractor(PolygonExtractorFactory::instance().create(_config.polygonExtractor()))
{}

Analyzer::~Analyzer()
{
    PolygonExtractorFactory::instance().destroy(_extractor);
}

AnalyzerConfiguration Analyzer::config() const
{
    const concurrent::MutexLock lock(_configMutex);
    return _config;
}

void Analyzer::setConfig(const AnalyzerConfiguration& config)
{
    {
        const concurrent::MutexLock lock(_configMutex);
        if (config.polygonExtractor() != _config.polygonExtractor()) {
            auto& factory = PolygonExtractorFactory::instance();
            factory.destroy(_extractor);
            _extractor = factory.create(config.polygonExtractor());
        }
        _config = config;
    }
    log(logging::LogLevel::Info, "Config changed.");
}

void Analyzer::onEvent(database::ComparatorNotificationEvent& event)
{
    const concurrent::MutexLock lock(_configMutex);
    _extractInnerContours = event.advanced;
}

void Analyzer::onEvent(camera::ImageEvent& event)
{
    const concurrent::MutexLock frameLock(_frameMutex);
    {
        const concurrent::MutexLock configLock(_configMutex);
        _timer.start();
        analyze(*event.binaryImage);
        _frame.setElapsedTime1stRun(_timer.timeElapsed());
    }
    FrameEvent result{this, event.originalImage, event.binaryImage, &_frame, event.sourceId};
    notify(result);
}

void Analyzer::analyze(image::Image& image)
{
    _frame.beginImage();
    Extraction extraction(_frame, *_extractor, _config, image, _extractInnerContours);
    _extractor->begin(image, _config.roi, _config.maxPolygonError);
    extraction.run();
    _extractor->end();
    if (!_frame.brokenUp()) { // parts of the previous image have nothing to hand on
        _frame.matchObjectIDs();
    }
    _frame.setBrokenUp(false);
    _frame.possibleCuts().clear();
    _frame.setReAnalyzed(false);
    _frame.setElapsedTime2ndRun(0);
}

void Analyzer::onEvent(breakup::ReAnalyzeEvent& event)
{
    Frame& frame = *event.frame;
    if (!frame.reAnalyzed()) {
        frame.setReAnalyzed(true);
        if (frame.brokenUp()) {
            _timer.start();
            describeParts(frame, *event.binaryImage);
            frame.matchObjectIDs();
            frame.setElapsedTime2ndRun(_timer.timeElapsed());
        }
    }
    FrameEvent result{this, event.originalImage, event.binaryImage, event.frame, event.sourceId};
    notify(result);
}

void Analyzer::describeParts(Frame& frame, const image::Image& image) const
{
    const AnalyzerConfiguration config = this->config();
    const fp<16, 14> h = halfHeight(image);
    for (int i = 0; i < frame.objectCount(); ++i) {
        while (i < frame.objectCount() && frame.object(i).cropped() &&
               frame.object(i).polygon().length() < config.minPolygonSize) {
            const int last = frame.objectCount() - 1;
            frame.setObjectCount(last);
            if (i < last) {
                frame.borrowObject(i, frame.object(last));
            }
        }
        if (i < frame.objectCount() && frame.object(i).cropped()) {
            Object& part = frame.object(i);
            describe(part);
            part.setClipped(isClipped(part.polygon(), config.clippingFrame, h));
        }
    }
}

} // namespace tarvik::analysis
