// What an image costs, stage by stage: the program whose instructions scripts/arm-bench counts.
// Usage: image-stages [STAGE [PICTURE]]    only what has these names

#include "analysis/extraction/chaincode/ContourStarts.h"
#include "analysis/extraction/chaincode/SoftwarePolygonExtractor.h"
#include "core/logging/LogManager.h"
#include "image/Binarization.h"
#include "image/CompressedBinaryImage.h"
#include "support/SceneChain.h"

#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// The counter looks for calls of these two.
extern "C" {
[[gnu::noinline]] void count_begin() // NOLINT(readability-identifier-naming)
{
    asm volatile("" ::: "memory");
}

[[gnu::noinline]] void count_end() // NOLINT(readability-identifier-naming)
{
    asm volatile("" ::: "memory");
}
}

namespace {

using namespace tarvik;
using analysis::extraction::chaincode::ContourStarts;
using analysis::extraction::chaincode::SoftwarePolygonExtractor;
using test::SceneChain;

/// What the stages work on, warm: the chain has seen the picture, its six parts are taught.
struct Bench
{
    SceneChain chain{640, 480};
    SceneChain::Result result;
    image::CompressedBinaryImage packed;
    ContourStarts starts;
    SoftwarePolygonExtractor extractor;
    std::array<Complex<16, 14>, analysis::Frame::POOL_SIZE> points;
    analysis::FourierDescriptor descriptor;
};

void binarize(Bench& bench)
{
    image::binarize(bench.chain.grey().bytes(), image::ByteWindow::interval(128, 255),
                    bench.chain.binary().bytes());
}

void binarizePacked(Bench& bench)
{
    bench.packed.load(bench.chain.grey(), image::ByteWindow::interval(128, 255));
}

void trace(Bench& bench)
{
    for (int count = 0; bench.extractor.nextPolygon(bench.points, count);) {
    }
}

void describe(Bench& bench)
{
    for (const analysis::Object& object : bench.result.frame->objects()) {
        bench.descriptor.load(object.polygon(), /*normalise*/ true, /*exact*/ false);
    }
}

void compare(Bench& bench)
{
    analysis::FrameEvent event{.binaryImage = &bench.chain.binary(),
                               .frame = const_cast<analysis::Frame*>(bench.result.frame)};
    bench.chain.database.onEvent(event);
}

using Action = void (*)(Bench&);

struct Stage
{
    const char* name;
    Action prepare;
    Action run;
};

constexpr Stage STAGES[] = {
    {"threshold", [](Bench&) {}, binarize},
    {"pack", [](Bench&) {}, [](Bench& bench) { bench.packed.load(bench.chain.binary()); }},
    {"threshold+pack", [](Bench&) {}, binarizePacked},
    {"starts", [](Bench& bench) { bench.packed.load(bench.chain.binary()); },
     [](Bench& bench) { bench.starts.load(bench.packed); }},
    {"trace+reduce",
     [](Bench& bench) {
         bench.extractor.begin(bench.chain.binary(), {}, SceneChain::maxPolygonErrorFor(640));
     },
     trace},
    {"describe", [](Bench&) {}, describe},
    {"compare", [](Bench&) {}, compare},
    {"whole", [](Bench&) {}, [](Bench& bench) { bench.result = bench.chain.process(); }},
    {"whole, breakup", [](Bench& bench) { bench.chain.enableBreakup(); },
     [](Bench& bench) { bench.result = bench.chain.process(); }},
};

void drawScene(int parts, image::Image& grey)
{
    test::simulated::Scene scene({.seed = 1, .parts = parts, .standing = true});
    scene.grey(10, grey.width(), grey.height(), grey.bytes());
}

void drawNoise(image::Image& grey)
{
    std::mt19937 random(1);
    for (std::uint8_t& pixel : grey.bytes()) {
        pixel = static_cast<std::uint8_t>(random() >> 24);
    }
}

struct Picture
{
    const char* name;
    void (*draw)(image::Image&);
};

constexpr Picture PICTURES[] = {
    {"8 parts", [](image::Image& grey) { drawScene(8, grey); }},
    {"25 parts", [](image::Image& grey) { drawScene(25, grey); }},
    {"blank", [](image::Image& grey) { std::ranges::fill(grey.bytes(), std::uint8_t{0}); }},
    {"noise", drawNoise},
};

void count(Bench& bench, const Stage& stage, const Picture& picture)
{
    stage.prepare(bench);
    count_begin();
    stage.run(bench);
    count_end();
    std::printf("%s\t%s\n", stage.name, picture.name);
}

} // namespace

int main(int argc, char** argv)
{
    logging::LogManager::globalInstance().setConfig({.logToConsole = false});
    const std::string onlyStage = argc > 1 ? argv[1] : "";
    const std::string onlyPicture = argc > 2 ? argv[2] : "";
    const auto bench = std::make_unique<Bench>();
    test::simulated::Scene scene({.seed = 1});
    bench->chain.teachAll(scene);
    for (const Picture& picture : PICTURES) {
        if (!onlyPicture.empty() && onlyPicture != picture.name) {
            continue;
        }
        bench->chain.divider.setConfig({});
        picture.draw(bench->chain.grey());
        bench->result = bench->chain.process();
        for (const Stage& stage : STAGES) {
            if (onlyStage.empty() || onlyStage == stage.name) {
                count(*bench, stage, picture);
            }
        }
    }
    return 0;
}
