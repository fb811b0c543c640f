#include "image/BinaryImage.h"

#include "image/Binarization.h"
#include "support/Pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace tarvik::image {
namespace {

/// What the kernel for bytes makes of it.
Image binarized(const Image& grey, ByteWindow window)
{
    Image binary(grey.width(), grey.height());
    binarize(grey.bytes(), window, binary.bytes());
    return binary;
}

struct Case
{
    const char* what;
    ByteWindow window;
};

constexpr Case CASES[] = {
    {"a threshold in the upper half", ByteWindow::interval(128, 255)},
    {"a threshold in the lower half", ByteWindow::interval(100, 255)},
    {"everything but 0", ByteWindow::interval(1, 255)},
    {"everything", ByteWindow::interval(0, 255)},
    {"nothing", ByteWindow::interval(9, 8)},
    {"an interval", ByteWindow::interval(60, 200)},
    {"outside of an interval", ByteWindow::interval(60, 200).inverted(true)},
    {"past 255 and on at 0", ByteWindow::wrapping(230, 20)},
};

TEST(BinaryImage, HoldsWhatThresholdingTheBytesGives)
{
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): repeatable
    BinaryImage binary;
    for (const Case& c : CASES) {
        for (const auto& [width, height] : {std::pair(640, 8), {33, 5}, {7, 3}, {752, 9}}) {
            SCOPED_TRACE(testing::Message() << c.what << ", " << width << " x " << height);
            const Image grey = test::randomGrey(random, width, height);
            const Image expected = binarized(grey, c.window);
            CompressedBinaryImage packed;
            packed.load(expected);
            binary.binarize(grey, c.window);
            ASSERT_NE(binary.packed(), nullptr);
            EXPECT_TRUE(std::ranges::equal(binary.packed()->words(), packed.words()));
            EXPECT_TRUE(std::ranges::equal(binary.bytes(), expected.bytes()));
            EXPECT_EQ(binary.packed(), nullptr) << "the bytes may have been changed";
        }
    }
}

TEST(CompressedBinaryImage, ClearsTheOutermostPixels)
{
    for (const auto& [width, height] : {std::pair(64, 5), {33, 4}, {1, 3}, {70, 1}, {3, 3}}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        Image picture(static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height));
        test::fill(picture, 0, 0, width, height);
        CompressedBinaryImage packed;
        packed.load(picture);
        packed.clearFrame();
        Image expected(picture.width(), picture.height());
        test::fill(expected, 1, 1, width - 2, height - 2);
        packed.unpack(picture.bytes());
        EXPECT_TRUE(std::ranges::equal(picture.bytes(), expected.bytes()));
    }
}

} // namespace
} // namespace tarvik::image
