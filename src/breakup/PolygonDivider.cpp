#include "breakup/PolygonDivider.h"

#include "analysis/Frame.h"
#include "breakup/CutSearch.h"
#include "breakup/Part.h"
#include "database/Matchings.h"

#include <cstddef>
#include <span>

namespace tarvik::breakup {

namespace {

using analysis::Frame;

bool full(const Frame& frame)
{
    return frame.objectCount() >= Frame::MAX_OBJECTS;
}

bool unrecognized(const database::Matchings& matchings, int index)
{
    return matchings[index].templateID == -1;
}

void findCuts(Frame& frame, const database::Matchings& matchings, std::uint32_t squaredCutLimit)
{
    Cuts& cuts = frame.possibleCuts();
    cuts.clear();
    for (int k = 0; k < matchings.count(); ++k) {
        if (unrecognized(matchings, k)) {
            findCuts(frame.object(k).polygon(), k, squaredCutLimit, cuts);
        }
    }
}

} // namespace

PolygonDivider::PolygonDivider()
    : logging::Logging("Polygon Divider"),
      _settings(settingsFor(BreakupConfiguration()))
{}

PolygonDivider::Settings PolygonDivider::settingsFor(const BreakupConfiguration& config)
{
    return {.config = config, .squaredCutLimit = squaredCutLimit(config.maxCutLength())};
}

PolygonDivider::Settings PolygonDivider::settings() const
{
    const concurrent::MutexLock lock(_configMutex);
    return _settings;
}

BreakupConfiguration PolygonDivider::config() const
{
    return settings().config;
}

void PolygonDivider::setConfig(const BreakupConfiguration& config)
{
    const Settings settings = settingsFor(config);
    {
        const concurrent::MutexLock lock(_configMutex);
        _settings = settings;
    }
    log(logging::LogLevel::Info, "Config changed.");
}

void PolygonDivider::onEvent(database::BreakupEvent& event)
{
    const Settings settings = this->settings();
    if (!settings.config.breakupEnabled() || event.frame->reAnalyzed()) {
        FrameProcessedEvent processed{.source = this,
                                      .originalImage = event.originalImage,
                                      .binaryImage = event.binaryImage,
                                      .frame = event.frame,
                                      .matchings = event.matchings,
                                      .sourceId = event.sourceId};
        util::Observable<FrameProcessedEvent>::notify(processed);
        return;
    }
    divide(event, settings.squaredCutLimit);
    ReAnalyzeEvent again{.source = this,
                         .originalImage = event.originalImage,
                         .binaryImage = event.binaryImage,
                         .frame = event.frame,
                         .sourceId = event.sourceId};
    util::Observable<ReAnalyzeEvent>::notify(again);
}

void PolygonDivider::divide(database::BreakupEvent& event, std::uint32_t squaredCutLimit)
{
    _timer.start();
    Frame& frame = *event.frame;
    const database::Matchings& matchings = *event.matchings;
    findCuts(frame, matchings, squaredCutLimit);
    if (frame.possibleCuts().count() > 0) {
        // An object without a cut of its own is rebuilt as well, whole.
        for (int k = 0; k < matchings.count() && !full(frame); ++k) {
            if (unrecognized(matchings, k)) {
                divideObject(frame, k);
            }
        }
        frame.setBrokenUp(true);
    }
    frame.possibleCuts().setElapsedTime(_timer.timeElapsed());
}

void PolygonDivider::divideObject(Frame& frame, int index)
{
    // The first part takes the undivided object's place: look at its points, not at the object.
    _undivided.borrow(frame.object(index));
    _currentIndex = index;
    _nextIndex = index;
    const int distinctPoints = _undivided.polygon().pointCount() - 1;
    if (distinctPoints < 1 || distinctPoints > Part::CAPACITY) {
        return; // nothing that could be divided: the object stays as it is
    }
    breakupPolygon(frame, Part(distinctPoints));
}

void PolygonDivider::breakupPolygon(Frame& frame, const Part& part)
{
    for (const Cut& cut : frame.possibleCuts().cuts()) {
        if (full(frame)) {
            break;
        }
        if (cut.objectIndex == _currentIndex && part.containsCut(cut)) {
            breakupPolygon(frame, part.outer(cut));
            breakupPolygon(frame, part.inner(cut));
            return;
        }
    }
    createObjectFromPart(part, frame);
}

bool PolygonDivider::createObjectFromPart(const Part& part, Frame& frame)
{
    if (full(frame)) {
        return false;
    }
    const std::span<Complex<16, 14>> points = frame.takePartPoints(part.length() + 1);
    if (points.empty()) {
        return false;
    }
    const auto contour = _undivided.polygon().points();
    std::size_t k = 0;
    for (const std::int16_t index : part.indices()) {
        points[k++] = contour[static_cast<std::size_t>(index)];
    }
    points[k] = points.front();

    _newObject.reset();
    _newObject.setCropped(true);
    _newObject.fourierDescriptor() = analysis::FourierDescriptor();
    _newObject.polygon() = analysis::Polygon(); // a part of length 0 must not inherit a position
    _newObject.polygon().setPoints(points, false);
    _newObject.polygon().move(_undivided.polygon().position());
    takeInnerContours();
    frame.borrowObject(_nextIndex, _newObject);
    _nextIndex = frame.objectCount();
    return true;
}

void PolygonDivider::takeInnerContours()
{
    const analysis::Polygon& outline = _newObject.polygon();
    const Complex<16, 14> origin = _undivided.polygon().position();
    for (const analysis::InnerContour& contour : _undivided.innerContours()) {
        if (outline.contains(origin + contour.polygon.position())) {
            // There is room: the undivided object has no more holes than an object may have.
            analysis::Polygon& hole = _newObject.addInnerContour()->polygon;
            hole.borrow(contour.polygon);
            hole.move(origin - outline.position());
        }
    }
}

} // namespace tarvik::breakup
