#pragma once

#include "camera/sbo/SBO.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::camera::sbo {

/// A colour model: a pixel is foreground when its hue, saturation and value lie in their windows,
/// or, inverted, when one of them does not.
///
/// Each picture is read three times from the image memory, as hue, saturation and value. The FPGA
/// binarizes each plane as it is read and the program combines them, or, while somebody wants to
/// see the colours or a test image is shown, the program does all of it. When the hues wrap around,
/// the FPGA leaves the two bounds out that the program takes in.
class HSVThreshold : public SBO
{
public:
    void open() override;
    void getImages(image::Image** original, image::Image** binary) override;

    void releaseImage() override {} // the pictures stay the driver's

    /// Takes planar HSV images. They replace the planes that would be read, so nothing reaches the
    /// sensor.
    void setSource(image::Image* image) override;

    [[nodiscard]] bool isColored() const override { return true; }

protected:
    explicit HSVThreshold(const Sensor& sensor);

private:
    [[nodiscard]] bool capture();
    void binarizeInFpga();
    void binarizeInSoftware();
    void readPlane(std::size_t index);
    void combine(std::span<const std::uint8_t> binaryPlane);

    void enableFpgaBinarization(std::uint8_t low, std::uint8_t high, bool flip);
    void disableFpgaBinarization();

    [[nodiscard]] std::span<std::uint8_t> plane(std::size_t index);

    image::Image _hsv; ///< planar; the test image while that is shown
    image::Image _binary;
};

} // namespace tarvik::camera::sbo
