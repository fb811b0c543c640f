#include "image/CompressedBinaryImage.h"

#include "core/Exception.h"
#include "support/Pictures.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace tarvik::image {
namespace {

std::vector<std::uint32_t> wordsOf(const CompressedBinaryImage& packed)
{
    return {packed.words().begin(), packed.words().end()};
}

TEST(CompressedBinaryImage, PacksRegionsOfAnyWidthAndPlace)
{
    std::mt19937 random(1);
    CompressedBinaryImage packed; // the same one again and again: nothing of the last may stay
    for (int i = 0; i < 300; ++i) {
        const int width = 1 + static_cast<int>(random() % 100);
        const int height = 1 + static_cast<int>(random() % 6);
        const Image picture = test::randomPicture(random, width, height, 0.5);
        const int x = static_cast<int>(random() % static_cast<unsigned>(width));
        const int y = static_cast<int>(random() % static_cast<unsigned>(height));
        const int w = 1 + static_cast<int>(random() % static_cast<unsigned>(width - x));
        const int h = 1 + static_cast<int>(random() % static_cast<unsigned>(height - y));
        SCOPED_TRACE(testing::Message() << w << " x " << h << " at " << x << ", " << y << " of "
                                        << width << " x " << height);
        std::vector<std::uint32_t> expected(static_cast<std::size_t>((w * h + 31) / 32));
        for (int bit = 0; bit < w * h; ++bit) {
            const bool set = picture.data()[(y + bit / w) * width + x + bit % w] != 0;
            expected[static_cast<std::size_t>(bit / 32)] |= (set ? 1U : 0U) << bit % 32;
        }
        packed.load(picture, static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y),
                    static_cast<std::uint16_t>(w), static_cast<std::uint16_t>(h));
        ASSERT_EQ(wordsOf(packed), expected);
    }
}

TEST(CompressedBinaryImage, ReusesItsWordsForTheSameSize)
{
    Image picture(40, 4);
    CompressedBinaryImage packed;
    packed.load(picture, 0, 0, 33, 2);
    const auto* const words = packed.words().data();
    test::fill(picture, 0, 0, 40, 4);
    packed.load(picture, 5, 1, 33, 2);
    EXPECT_EQ(packed.words().data(), words);
    EXPECT_EQ(wordsOf(packed), (std::vector<std::uint32_t>{~0U, ~0U, 0x3}));
}

TEST(CompressedBinaryImage, HasNoWordsForAnEmptyRegion)
{
    const Image picture(40, 4);
    CompressedBinaryImage packed;
    packed.load(picture, 3, 1, 0, 2);
    EXPECT_EQ(packed.words().size(), 0U);
    packed.load(picture, 3, 1, 2, 0);
    EXPECT_EQ(packed.words().size(), 0U);
}

TEST(CompressedBinaryImage, RefusesColourAndKeepsItsContents)
{
    Image grey(8, 4);
    test::fill(grey, 0, 0, 8, 4);
    CompressedBinaryImage packed;
    packed.load(grey);
    const Image colour(4, 4, 3, Format::Planar, ColorSpace::RGB);
    EXPECT_EQ(test::thrown<Exception>([&] { packed.load(colour); }),
              "Cannot compress color images.");
    EXPECT_EQ(test::thrown<Exception>([&] { packed.load(colour, 1, 1, 2, 2); }),
              "Cannot compress color images.");
    EXPECT_EQ(packed.width(), 8);
    EXPECT_EQ(wordsOf(packed), (std::vector<std::uint32_t>{~0U}));
}

} // namespace
} // namespace tarvik::image
