#include "support/SceneChain.h"

#include <gtest/gtest.h>

#include <concepts>
#include <cstdint>
#include <random>

namespace tarvik::test {
namespace {

/// FNV-1a over every integer of the results, so that one number tells whether two builds agree.
class Digest
{
public:
    void add(std::integral auto value)
    {
        auto bits = static_cast<std::uint64_t>(value);
        for (std::size_t i = 0; i < sizeof bits; ++i) {
            _hash = (_hash ^ (bits & 0xFF)) * 0x100000001B3U;
            bits >>= 8;
        }
    }

    template <int W, int F>
    void add(fp<W, F> value)
    {
        add(value.raw());
    }

    template <int W, int F>
    void add(Complex<W, F> value)
    {
        addAll(value.re, value.im);
    }

    void add(const analysis::Polygon& p)
    {
        addAll(p.position(), p.length(), p.left(), p.top(), p.right(), p.bottom());
        for (const auto& point : p.points()) {
            add(point);
        }
    }

    void add(const analysis::Object& object)
    {
        add(object.id());
        add(static_cast<int>(object.cropped()) + 2 * static_cast<int>(object.clipped()));
        add(object.polygon());
        for (const auto& frequency : object.fourierDescriptor().frequencies()) {
            add(frequency);
        }
        add(object.fourierDescriptor().rotation());
        for (const auto& hole : object.innerContours()) {
            add(hole.polygon);
        }
    }

    void add(const SceneChain::Result& result)
    {
        add(result.frame->objectCount());
        for (const auto& object : result.frame->objects()) {
            add(object);
        }
        for (const auto& cut : result.frame->possibleCuts().cuts()) {
            addAll(cut.point1Index, cut.point2Index, cut.objectIndex);
        }
        for (const auto& m : result.matchings->matchings()) {
            addAll(m.templateID, m.position, m.rotation, m.confidence, m.error);
        }
    }

    [[nodiscard]] std::uint64_t value() const { return _hash; }

private:
    void addAll(const auto&... values) { (add(values), ...); }

    std::uint64_t _hash = 0xCBF29CE484222325U;
};

struct CorpusCase
{
    const char* what;
    int width;
    int height;
    int parts;
    std::uint32_t images;
};

void addScene(const CorpusCase& c, Digest& digest)
{
    simulated::SceneOptions options;
    options.parts = c.parts;
    simulated::Scene scene(options);
    SceneChain chain(c.width, c.height);
    chain.teachAll(scene);
    chain.enableBreakup();
    for (std::uint32_t n = 0; n < c.images; ++n) {
        digest.add(chain.process(scene, 7 * n));
    }
}

/// Random dots of every density: thin figures, tiny holes, full pools.
void addNoise(Digest& digest)
{
    SceneChain chain(640, 480);
    auto config = chain.analyzer.config();
    config.minPolygonSize = fp<32, 15>(300);
    chain.analyzer.setConfig(config);
    std::minstd_rand random(11); // NOLINT(cert-msc51-cpp): the same on every machine
    for (unsigned percent = 5; percent < 100; percent += 10) {
        for (std::uint8_t& pixel : chain.binary().bytes()) {
            pixel = random() % 100 < percent ? 255 : 0;
        }
        digest.add(chain.processBinary());
    }
}

/// Compilers, optimisation levels, sanitizers and processors have to agree to the last bit.
TEST(Corpus, GivesTheSameIntegersOnEveryMachine)
{
    constexpr CorpusCase cases[] = {
        {"the demo", 640, 480, 9, 40},
        {"rows that end within a word of pixels", 752, 480, 9, 10},
        {"many parts on a large sensor", 1280, 1024, 25, 6},
        {"many parts", 640, 480, 25, 10},
    };
    analysis::Object::currentID = 0;
    Digest digest;
    for (const CorpusCase& c : cases) {
        addScene(c, digest);
    }
    addNoise(digest);
    EXPECT_EQ(digest.value(), 17623322529682779729U);
}

} // namespace
} // namespace tarvik::test
