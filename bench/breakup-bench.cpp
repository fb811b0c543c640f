// Looking for cuts on one contour that has none: every pair of points is looked at.

#include "analysis/Polygon.h"
#include "breakup/CutSearch.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace tarvik;

namespace {

void searchCircle(benchmark::State& state)
{
    const auto count = static_cast<int>(state.range(0));
    std::vector<Complex<16, 14>> points;
    for (int i = 0; i < count - 1; ++i) {
        const double angle = 2 * std::numbers::pi * i / (count - 1);
        points.emplace_back(fp<16, 14>::fromDouble(0.9 * std::cos(angle)),
                            fp<16, 14>::fromDouble(0.9 * std::sin(angle)));
    }
    points.push_back(points.front());
    analysis::Polygon polygon;
    polygon.setPoints(points, true);
    const std::uint32_t limit = breakup::squaredCutLimit(fp<32, 30>(1 << 22));
    for (auto _ : state) {
        breakup::Cuts cuts;
        breakup::findCuts(polygon, 0, limit, cuts);
        benchmark::DoNotOptimize(cuts);
    }
}

void deriveLimit(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(breakup::squaredCutLimit(fp<32, 30>(53687091)));
    }
}

} // namespace

BENCHMARK(searchCircle)->Arg(50)->Arg(200)->Arg(1024);
BENCHMARK(deriveLimit);
