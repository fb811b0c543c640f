#include "analysis/Analyzer.h"
#include "analysis/extraction/chaincode/ContourStarts.h"
#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"
#include "core/logging/LogManager.h"
#include "image/Binarization.h"
#include "image/CompressedBinaryImage.h"
#include "ocamera/simulated/Scene.h"

#include <benchmark/benchmark.h>

#include <array>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

/// Microseconds per image, stage by stage and for the analyzer's whole pass, over fixed images.

namespace {

using namespace tarvik;
using analysis::extraction::chaincode::ContourStarts;
using analysis::extraction::chaincode::SoftwarePolygonExtractor;

constexpr fp<16, 15> MAX_ERROR{16384};

struct Picture
{
    std::string name;
    image::Image grey;
    image::Image binary;
};

void binarize(Picture& picture)
{
    image::binarize(picture.grey.bytes(), image::ByteWindow::interval(128, 255),
                    picture.binary.bytes());
}

using Draw = std::function<void(image::Image&)>;

void drawScene(int parts, image::Image& image)
{
    OCamera::simulated::Scene scene({.seed = 1, .parts = parts, .standing = true});
    scene.grey(10, image.width(), image.height(), image.bytes());
}

void drawNoise(image::Image& image)
{
    std::mt19937 random(1);
    for (std::uint8_t& pixel : image.bytes()) {
        pixel = static_cast<std::uint8_t>(random() >> 24);
    }
}

void drawCheckerboard(image::Image& image)
{
    for (int i = 0; i < static_cast<int>(image.pixelCount()); ++i) {
        const int field = i % image.width() + i / image.width();
        image.data()[i] = field % 2 == 0 ? 255 : 0;
    }
}

const std::vector<std::unique_ptr<Picture>>& pictures()
{
    static const auto ALL = [] {
        const std::vector<std::pair<std::string, Draw>> kinds{
            {"8 parts", [](image::Image& image) { drawScene(8, image); }},
            {"25 parts", [](image::Image& image) { drawScene(25, image); }},
            {"blank", [](image::Image&) {}},
            {"noise", drawNoise},
            {"checkerboard", drawCheckerboard},
        };
        std::vector<std::unique_ptr<Picture>> result;
        for (const auto& [width, height] : {std::pair(640, 480), {752, 480}, {1280, 1024}}) {
            for (const auto& [name, draw] : kinds) {
                const image::Image empty(static_cast<std::uint16_t>(width),
                                         static_cast<std::uint16_t>(height));
                auto picture = std::make_unique<Picture>(
                    Picture{name + " " + std::to_string(width) + "x" + std::to_string(height),
                            empty, empty});
                draw(picture->grey);
                binarize(*picture);
                result.push_back(std::move(picture));
            }
        }
        return result;
    }();
    return ALL;
}

void threshold(benchmark::State& state, Picture& picture)
{
    for (auto _ : state) {
        binarize(picture);
        benchmark::ClobberMemory();
    }
}

void pack(benchmark::State& state, Picture& picture)
{
    image::CompressedBinaryImage packed;
    for (auto _ : state) {
        packed.load(picture.binary);
        benchmark::ClobberMemory();
    }
}

void contourStarts(benchmark::State& state, Picture& picture)
{
    image::CompressedBinaryImage packed;
    packed.load(picture.binary);
    ContourStarts starts;
    for (auto _ : state) {
        starts.load(packed);
        benchmark::ClobberMemory();
    }
}

/// Everything but the consumers of the chain: packing, starts, tracing.
void trace(benchmark::State& state, Picture& picture)
{
    SoftwarePolygonExtractor extractor;
    for (auto _ : state) {
        extractor.begin(picture.binary, {}, MAX_ERROR);
        while (extractor.skipPolygon()) {
        }
        extractor.end();
    }
}

/// The same with polygons of every contour, reduced.
void extract(benchmark::State& state, Picture& picture)
{
    SoftwarePolygonExtractor extractor;
    std::array<Complex<16, 14>, analysis::Frame::POOL_SIZE> points;
    int contours = 0;
    for (auto _ : state) {
        contours = 0;
        extractor.begin(picture.binary, {}, MAX_ERROR);
        for (int count = 0; extractor.nextPolygon(points, count); ++contours) {
            benchmark::DoNotOptimize(points[0]);
        }
        extractor.end();
    }
    state.counters["contours"] = contours;
}

/// The frame that an analyzer makes of a picture.
class Analysis : private util::Listener<analysis::FrameEvent>
{
public:
    Analysis() { _analyzer.addListener(this); }

    ~Analysis() override { _analyzer.removeListener(this); }

    analysis::Frame& analyze(Picture& picture)
    {
        camera::ImageEvent event{nullptr, &picture.grey, &picture.binary, -1};
        _analyzer.onEvent(event);
        return *_frame;
    }

private:
    void onEvent(analysis::FrameEvent& event) override { _frame = event.frame; }

    analysis::Analyzer _analyzer;
    analysis::Frame* _frame = nullptr;
};

void describe(benchmark::State& state, Picture& picture)
{
    const auto analysis = std::make_unique<Analysis>();
    const analysis::Frame& frame = analysis->analyze(picture);
    analysis::FourierDescriptor descriptor;
    for (auto _ : state) {
        for (const analysis::Object& object : frame.objects()) {
            descriptor.load(object.polygon(), /*normalise*/ true, /*exact*/ false);
            benchmark::DoNotOptimize(descriptor);
        }
    }
    state.counters["objects"] = frame.objectCount();
    state.counters["points"] = frame.poolUsed();
}

void analyze(benchmark::State& state, Picture& picture)
{
    const auto analysis = std::make_unique<Analysis>();
    for (auto _ : state) {
        benchmark::DoNotOptimize(analysis->analyze(picture));
    }
    state.counters["objects"] = analysis->analyze(picture).objectCount();
}

} // namespace

int main(int argc, char** argv)
{
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    using Stage = void (*)(benchmark::State&, Picture&);
    const std::vector<std::pair<std::string, Stage>> stages{
        {"threshold", threshold}, {"pack", pack},       {"starts", contourStarts},
        {"trace", trace},         {"extract", extract}, {"describe", describe},
        {"analyze", analyze},
    };
    for (const auto& [name, stage] : stages) {
        for (const auto& picture : pictures()) {
            benchmark::RegisterBenchmark((name + "/" + picture->name).c_str(), stage,
                                         std::ref(*picture))
                ->Unit(benchmark::kMicrosecond);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
