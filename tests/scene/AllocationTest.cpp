#include "support/OperatorNew.h"
#include "support/SceneChain.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>

namespace tarvik::test {
namespace {

std::atomic<std::uint64_t> allocations{0};

} // namespace

void beforeAllocation()
{
    ++allocations;
}

namespace {

/// Allocations of a thousand images after a few to warm up.
std::uint64_t allocationsOf(int parts)
{
    constexpr std::uint32_t WARM_UP = 20;
    constexpr std::uint32_t IMAGES = 1000;
    simulated::SceneOptions options;
    options.parts = parts;
    options.standing = parts > simulated::SceneOptions::MAX_LARGE_PARTS;
    simulated::Scene scene(options);
    SceneChain chain(640, 480);
    chain.teachAll(scene);
    chain.enableBreakup();
    std::uint64_t count = 0;
    for (std::uint32_t n = 0; n < WARM_UP + IMAGES; ++n) {
        scene.grey(n, 640, 480, chain.grey().bytes());
        const std::uint64_t before = allocations;
        const auto result = chain.process();
        if (n >= WARM_UP) {
            count += allocations - before;
        }
        if (options.standing) {
            EXPECT_EQ(result.frame->objectCount(), parts) << "image " << n;
        }
    }
    return count;
}

TEST(Allocation, CountsAtAll)
{
    const std::uint64_t before = allocations;
    ::operator delete(::operator new(sizeof(int)));
    EXPECT_EQ(allocations, before + 1);
}

TEST(Allocation, HappensForNoImage)
{
    EXPECT_EQ(allocationsOf(25), 0U) << "25 objects in every image";
    EXPECT_EQ(allocationsOf(9), 0U) << "pairs that are cut apart";
}

} // namespace
} // namespace tarvik::test
