// Matching the fullest frame: 25 objects against 31 templates. Times are per frame.

#include "analysis/Frame.h"
#include "core/logging/LogManager.h"
#include "database/Database.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

using namespace tarvik;

namespace {

constexpr int HOLES = 6;

using Point = Complex<16, 14>;

Point pointAt(double radius, double angle)
{
    return {fp<16, 14>::fromDouble(radius * std::cos(angle)),
            fp<16, 14>::fromDouble(radius * std::sin(angle))};
}

/// A star-like outline with holes around its centre, different for every number.
analysis::Object makeObject(int number)
{
    constexpr int POINTS = 40;
    std::vector<Point> points;
    for (int i = 0; i < POINTS; ++i) {
        const double angle = 2 * std::numbers::pi * i / POINTS;
        points.push_back(pointAt(0.1 + 0.02 * std::cos((2 + number % 5) * angle) +
                                     0.01 * std::sin((1 + number % 3) * angle),
                                 angle));
    }
    points.push_back(points.front());
    analysis::Object object;
    object.polygon().setPoints(points, true);
    object.fourierDescriptor().load(object.polygon(), true, false);
    for (int i = 0; i < HOLES; ++i) {
        std::array<Point, 4> hole = {pointAt(0.01, 0), pointAt(0.01, 2), pointAt(0.01, 4),
                                     pointAt(0.01, 0)};
        analysis::Polygon& polygon = object.addInnerContour()->polygon;
        polygon.setPoints(hole, true);
        polygon.moveTo(pointAt(0.05, i + 0.1 * number));
    }
    return object;
}

void matchFullFrame(benchmark::State& state, const char* comparatorName, bool everyCheck)
{
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    database::DatabaseState stored;
    database::DatabaseConfiguration config;
    config.setComparatorImpl(database::ComparatorFactory::instance().find(comparatorName));
    stored.setConfig(config);
    database::comparators::AdvancedComparator settings;
    settings.compareAngles = everyCheck;
    settings.compareDistances = everyCheck;
    stored.setComparator(settings);
    for (int i = 0; i < 31; ++i) {
        stored.addTemplate(std::make_shared<const database::Template>(i, makeObject(i)));
    }
    database::Database database;
    database.setState(stored);

    const auto frame = std::make_unique<analysis::Frame>();
    for (int i = 0; i < analysis::Frame::MAX_OBJECTS; ++i) {
        frame->setObject(i, makeObject(i));
    }
    analysis::FrameEvent event{.frame = frame.get()};
    for (auto _ : state) {
        database.onEvent(event);
    }
}

void bareComparison(benchmark::State& state)
{
    const analysis::Object object = makeObject(1);
    const auto t = std::make_unique<database::Template>(1, makeObject(2));
    t->considerInnerContours = false;
    const database::comparators::AdvancedComparator comparator;
    for (auto _ : state) {
        benchmark::DoNotOptimize(comparator.compare(object, *t));
    }
}

} // namespace

BENCHMARK(bareComparison);
BENCHMARK_CAPTURE(matchFullFrame, outer, "Outer contours", false);
BENCHMARK_CAPTURE(matchFullFrame, outerAndLengths, "Outer and inner contours", false);
BENCHMARK_CAPTURE(matchFullFrame, everyCheck, "Outer and inner contours", true);
