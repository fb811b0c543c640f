#include "compare/Pictures.h"

#include "ocamera/simulated/Scene.h"

#include <cstdint>
#include <random>

namespace tarvik::bench {

namespace {

void drawParts(int parts, std::uint32_t frame, image::Image& image)
{
    OCamera::simulated::Scene scene({.seed = 1, .parts = parts, .standing = true});
    scene.grey(frame, image.width(), image.height(), image.bytes());
}

void invertSome(image::Image& image)
{
    std::minstd_rand random(5); // NOLINT(cert-msc51-cpp): the same on every machine
    for (std::uint8_t& pixel : image.bytes()) {
        if (random() % 50 == 0) {
            pixel = static_cast<std::uint8_t>(255 - pixel);
        }
    }
}

void drawRandom(image::Image& image)
{
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same on every machine
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

const char* nameOf(Content content)
{
    switch (content) {
    case Content::Parts8:
        return "8 parts";
    case Content::Parts25:
        return "25 parts with holes";
    case Content::NoisyParts:
        return "noise and 10 parts";
    case Content::Blank:
        return "blank";
    case Content::Random:
        return "50 % random noise";
    case Content::Checkerboard:
        return "one-pixel checkerboard";
    }
    return "";
}

} // namespace

Picture makePicture(Content content, int width, int height)
{
    constexpr std::uint32_t FRAME = 10;
    Picture picture{nameOf(content), image::Image(static_cast<std::uint16_t>(width),
                                                  static_cast<std::uint16_t>(height))};
    switch (content) {
    case Content::Parts8:
        drawParts(8, FRAME, picture.grey);
        break;
    case Content::Parts25:
        drawParts(25, FRAME, picture.grey);
        break;
    case Content::NoisyParts:
        drawParts(10, FRAME, picture.grey);
        invertSome(picture.grey);
        break;
    case Content::Blank:
        break;
    case Content::Random:
        drawRandom(picture.grey);
        break;
    case Content::Checkerboard:
        drawCheckerboard(picture.grey);
        break;
    }
    return picture;
}

std::vector<Picture> teachingPictures()
{
    std::vector<Picture> pictures;
    for (const std::uint32_t frame : {0U, 37U}) {
        Picture& picture = pictures.emplace_back(Picture{"teaching", image::Image(640, 480)});
        drawParts(25, frame, picture.grey);
    }
    return pictures;
}

} // namespace tarvik::bench
