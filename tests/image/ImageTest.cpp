#include "image/Image.h"

#include "image/ImageException.h"
#include "io/serialization/BinaryDecoder.h"
#include "io/stream/MemoryInputStream.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <numeric>
#include <span>
#include <utility>

namespace tarvik::image {

namespace {

using test::thrown;
using testing::Each;
using testing::ElementsAre;

TEST(ImageTest, ChecksItsDescription)
{
    struct Case
    {
        const char* what;
        std::uint8_t channels;
        Format format;
        ColorSpace colorSpace;
        const char* error;
    };

    constexpr const char* FORMAT = "Color images must have format 'Interleaved' or 'Planar'.";
    constexpr const char* COLOR_SPACE = "Color images must have color space 'RGB' or 'HSV'.";
    constexpr const char* NONE = "(nothing thrown)";
    const Case cases[] = {
        {"planar without colour space", 3, Format::Planar, ColorSpace::None, COLOR_SPACE},
        {"the format comes first", 3, Format::None, ColorSpace::None, FORMAT},
        {"no format", 3, Format::None, ColorSpace::HSV, FORMAT},
        {"colour", 3, Format::Interleaved, ColorSpace::RGB, NONE},
        {"grey is put right", 1, Format::Planar, ColorSpace::HSV, NONE},
        {"other counts pass", 2, Format::None, ColorSpace::None, NONE},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Image image(2, 2, c.channels, c.format, c.colorSpace);
        EXPECT_EQ(thrown<ImageException>([&] { image.checkConsistency(); }), c.error);
        const bool grey = c.channels == 1;
        EXPECT_EQ(image.format(), grey ? Format::None : c.format);
        EXPECT_EQ(image.colorSpace(), grey ? ColorSpace::None : c.colorSpace);
    }
}

TEST(ImageTest, CopiesOwnTheirPixels)
{
    std::array<std::uint8_t, 6> pixels{1, 2, 3, 4, 5, 6};
    const Image view = Image::view(pixels.data(), 2, 1, Format::Planar, ColorSpace::RGB);
    EXPECT_FALSE(view.ownsData());
    const Image copy = view;
    pixels.fill(0);
    EXPECT_TRUE(copy.ownsData());
    EXPECT_THAT(copy.bytes(), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_EQ(copy.colorSpace(), ColorSpace::RGB);
}

TEST(ImageTest, TakesACopyOfAViewOfItself)
{
    Image image(4, 2);
    std::iota(image.bytes().begin(), image.bytes().end(), std::uint8_t{0});
    const Image lowerRow = Image::view(image.data() + 4, 4, 1);
    image = lowerRow;
    EXPECT_THAT(image.bytes(), ElementsAre(4, 5, 6, 7));
}

TEST(ImageTest, KeepsItsBufferWhileItIsLargeEnough)
{
    Image image(8, 8);
    const std::uint8_t* const buffer = image.data();
    image.reshape(4, 16);
    EXPECT_EQ(image.data(), buffer);
    image.reshape(2, 2, 3, Format::Planar, ColorSpace::HSV);
    EXPECT_EQ(image.data(), buffer);
    EXPECT_EQ(image.byteCount(), 12U);

    std::array<std::uint8_t, 4> foreign{7, 7, 7, 7};
    Image view = Image::view(foreign.data(), 2, 2);
    view.reshape(2, 2);
    EXPECT_TRUE(view.ownsData()) << "somebody else's buffer is not written to";
}

TEST(ImageTest, RefusesDescriptionsItCannotHold)
{
    struct Case
    {
        const char* what;
        std::array<std::uint8_t, 7> header; // channels, format, colour space, width, height
    };

    constexpr Case cases[] = {
        {"no channel", {0, 0, 0, 2, 0, 2, 0}},
        {"two channels", {2, 0, 0, 2, 0, 2, 0}},
        {"unknown format", {3, 3, 2, 2, 0, 2, 0}},
        {"unknown colour space", {3, 2, 3, 2, 0, 2, 0}},
        {"more than 12 MB", {3, 2, 2, 0xFF, 0xFF, 0xFF, 0xFF}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        io::stream::MemoryInputStream in(std::as_bytes(std::span(c.header)));
        io::serialization::BinaryDecoder decoder(in);
        Image image(1, 1);
        EXPECT_THROW(Image::serialize(decoder, image), Exception);
        EXPECT_EQ(image.byteCount(), 1U) << "the picture that was there stays";
    }
}

} // namespace

} // namespace tarvik::image
