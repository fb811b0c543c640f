#include "camera/sbo/HSVThreshold.h"

#include "camera/CameraException.h"
#include "image/Binarization.h"

#include <algorithm>
#include <cerrno>

namespace tarvik::camera::sbo {

using image::ByteWindow;
using image::ColorSpace;
using image::Format;
using image::Image;

namespace {

constexpr OCamera::eBayerPattern RGB_FILTER_PATTERN = OCamera::BAYER_PATTERN_GRGR;

/// How one plane is read, and the calls' texts for a failure.
struct PlaneCalls
{
    OCamera::eBayerOutput output;
    const char* select;
    const char* read;
};

enum PlaneIndex : std::size_t
{
    HUE = 0,
    SATURATION = 1,
    VALUE = 2,
};

constexpr std::array<PlaneCalls, 3> PLANES{{
    {OCamera::BAYER_OUTPUT_H, "SetBayer2X(OCamera::BAYER_OUTPUT_H, RGB_FILTER_PATTERN)",
     "ReadImageRAM(hueData, 0, imgSize)"},
    {OCamera::BAYER_OUTPUT_S, "SetBayer2X(OCamera::BAYER_OUTPUT_S, RGB_FILTER_PATTERN)",
     "ReadImageRAM(satData, 0, imgSize)"},
    {OCamera::BAYER_OUTPUT_V, "SetBayer2X(OCamera::BAYER_OUTPUT_V, RGB_FILTER_PATTERN)",
     "ReadImageRAM(valData, 0, imgSize)"},
}};

} // namespace

HSVThreshold::HSVThreshold(const Sensor& sensor)
    : SBO(sensor),
      _hsv(sensor.width, sensor.height, 3, Format::Planar, ColorSpace::HSV),
      _binary(sensor.width, sensor.height)
{}

void HSVThreshold::open()
{
    SBO::open();
    check(camera().InitColor(), "InitColor()");
}

void HSVThreshold::getImages(Image** original, Image** binary)
{
    *original = nullptr;
    *binary = nullptr;
    if (!sourceOverridden() && !capture()) {
        return;
    }
    if (originalImageNeeded() || sourceOverridden()) {
        binarizeInSoftware();
        *original = &_hsv;
    } else {
        binarizeInFpga();
    }
    *binary = &_binary;
}

void HSVThreshold::setSource(Image* image)
{
    if (!isOpen()) {
        throw CameraException("Camera not open.");
    }
    if (image != nullptr) {
        if (image->channels() != 3) {
            throw CameraException("Cannot use grayscale images with a color camera.");
        }
        checkDimension(*image);
        if (image->format() != Format::Planar || image->colorSpace() != ColorSpace::HSV) {
            throw CameraException("Image has wrong format or color space. HSV/Planar required.");
        }
        std::ranges::copy(image->bytes(), _hsv.data());
    }
    setSourceOverridden(image != nullptr);
}

/// Takes a picture into the image memory. False: cancelWait() ended the wait.
bool HSVThreshold::capture()
{
    restartAcquisition();
    check(camera().SetBayer2X(OCamera::BAYER_OUTPUT_RAW, RGB_FILTER_PATTERN),
          "SetBayer2X(OCamera::BAYER_OUTPUT_RAW, RGB_FILTER_PATTERN)");
    const int result = camera().GetImageToImageRAM(0);
    if (result == -EINTR) {
        return false;
    }
    check(result, "GetImageToImageRAM(0)");
    check(camera().SetImageRAMPictureSize(imageWidth(), imageHeight()),
          "SetImageRAMPictureSize(_imageWidth, _imageHeight)");
    return true;
}

void HSVThreshold::binarizeInFpga()
{
    // Hue goes straight into the binary image; the others through their planes.
    const CameraConfiguration& c = config();
    const auto [low, high] = std::minmax(c.lowerValH, c.greaterValH);
    enableFpgaBinarization(low, high, c.greaterValH < c.lowerValH);
    check(camera().SetBayer2X(PLANES[HUE].output, RGB_FILTER_PATTERN), PLANES[HUE].select);
    check(camera().ReadImageRAM(_binary.data(), 0, pixelCount()),
          "ReadImageRAM(_imgBinData, 0, imgSize)");

    enableFpgaBinarization(c.lowerValS, c.greaterValS, false);
    readPlane(SATURATION);
    combine(plane(SATURATION));

    enableFpgaBinarization(c.lowerValV, c.greaterValV, false);
    readPlane(VALUE);
    combine(plane(VALUE));
}

void HSVThreshold::binarizeInSoftware()
{
    if (!sourceOverridden()) {
        for (const std::size_t index : {HUE, SATURATION, VALUE}) {
            disableFpgaBinarization();
            readPlane(index);
        }
    }
    const CameraConfiguration& c = config();
    image::binarize({plane(HUE), plane(SATURATION), plane(VALUE)},
                    {ByteWindow::wrapping(c.lowerValH, c.greaterValH),
                     ByteWindow::interval(c.lowerValS, c.greaterValS),
                     ByteWindow::interval(c.lowerValV, c.greaterValV)},
                    c.invert, _binary.bytes());
}

void HSVThreshold::readPlane(std::size_t index)
{
    const PlaneCalls& calls = PLANES.at(index);
    check(camera().SetBayer2X(calls.output, RGB_FILTER_PATTERN), calls.select);
    check(camera().ReadImageRAM(plane(index).data(), 0, pixelCount()), calls.read);
}

void HSVThreshold::combine(std::span<const std::uint8_t> binaryPlane)
{
    if (config().invert) {
        image::unite(_binary.bytes(), binaryPlane);
    } else {
        image::intersect(_binary.bytes(), binaryPlane);
    }
}

void HSVThreshold::enableFpgaBinarization(std::uint8_t low, std::uint8_t high, bool flip)
{
    const OCamera::BinarizationParameters parameters{
        .invert = static_cast<std::uint8_t>(config().invert != flip ? 1 : 0),
        .mode = OCamera::BINARIZATION_WINDOW,
        .low = low,
        .high = high};
    check(camera().SetFilter(OCamera::FILTER_BINARIZE_ONLY),
          "SetFilter(OCamera::FILTER_BINARIZE_ONLY)");
    check(camera().SetBinarization(true, &parameters), "SetBinarization(true, &binParams)");
}

void HSVThreshold::disableFpgaBinarization()
{
    check(camera().SetBinarization(false), "SetBinarization(false)");
    check(camera().SetFilter(OCamera::FILTER_OFF), "SetFilter(OCamera::FILTER_OFF)");
}

std::span<std::uint8_t> HSVThreshold::plane(std::size_t index)
{
    return _hsv.bytes().subspan(index * pixelCount(), pixelCount());
}

} // namespace tarvik::camera::sbo
