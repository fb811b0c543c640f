#include "Pictures.h"

#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include <array>
#include <cstdlib>

namespace tarvik::desk {
namespace {

using image::ColorSpace;
using image::Format;
using image::Image;

TEST(Pictures, Base64HasTheKnownEndings)
{
    EXPECT_EQ(base64(""), "");
    EXPECT_EQ(base64("f"), "Zg==");
    EXPECT_EQ(base64("fo"), "Zm8=");
    EXPECT_EQ(base64("foo"), "Zm9v");
    EXPECT_EQ(base64("\xff\xfe\xfd\xfc"), "//79/A==");
}

struct Colour
{
    const char* what;
    std::array<std::uint8_t, 3> hsv;
    std::array<int, 3> rgb;
};

TEST(Pictures, ColoursComeFromHueSaturationAndValue)
{
    constexpr Colour colours[] = {
        {"black", {77, 200, 0}, {0, 0, 0}},
        {"grey", {200, 0, 90}, {90, 90, 90}},
        {"red", {0, 255, 255}, {255, 0, 0}},
        {"green", {85, 255, 255}, {2, 255, 0}},
        {"blue", {171, 255, 255}, {2, 0, 255}},
        {"yellow", {43, 255, 255}, {252, 255, 0}},
        {"pale red", {0, 128, 200}, {200, 100, 100}},
        {"almost red again", {255, 255, 255}, {255, 0, 6}},
    };
    for (const Colour& c : colours) {
        SCOPED_TRACE(c.what);
        Image planes(1, 1, 3, Format::Planar, ColorSpace::HSV);
        std::copy(c.hsv.begin(), c.hsv.end(), planes.data());
        const Image picture = shown(planes, {}, PictureKind::Original);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(picture.data()[i], c.rgb[i], 2);
        }
        EXPECT_EQ(shown(planes, {}, PictureKind::Saturation).data()[0], c.hsv[1]);
        EXPECT_EQ(histograms(planes)[2].counts[c.hsv[2]], 1U);
    }
}

TEST(Pictures, EveryKindOfForegroundIsWhite)
{
    Image binary(3, 1);
    binary.data()[1] = 1;
    binary.data()[2] = 0x42; // a contour code
    const Image picture = shown({}, binary, PictureKind::Binary);
    EXPECT_THAT(picture.bytes(), testing::ElementsAre(0, 255, 255));
}

} // namespace
} // namespace tarvik::desk
