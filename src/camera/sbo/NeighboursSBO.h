#pragma once

#include "camera/sbo/SBOMonochrome.h"
#include "image/Binarization.h"

#include <optional>

namespace tarvik::camera::sbo {

/// Grey camera, 640 x 480, whose binary picture is a contour code (see image::NeighbourEncoder). It
/// comes from an FPGA design that the driver loads, or, where that is not to be had or while
/// somebody wants to see the grey picture as well, from the program.
class NeighboursSBO : public SBOMonochrome
{
public:
    NeighboursSBO() : SBOMonochrome(SENSOR_R1, FrameMemory::TwoBytes) {}

    void open() override;
    void close() override;
    void getImages(image::Image** original, image::Image** binary) override;
    void update(bool originalImageNeeded) override;
    void onConfigChange(const CameraConfiguration& oldConfig,
                        const CameraConfiguration& newConfig) override;

    /// Computes the contour code of a grey picture by the configured thresholds.
    void encodeImage(const image::Image& grey, image::Image& codes);

    /// The frames are contour codes already.
    [[nodiscard]] bool fpgaEncoding() const { return !_softwareImage.has_value(); }

private:
    void setupFilters();
    void selectFilter();

    /// Present while the program encodes.
    std::optional<image::Image> _softwareImage;
    image::NeighbourEncoder _encoder;
};

} // namespace tarvik::camera::sbo
