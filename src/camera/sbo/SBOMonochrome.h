#pragma once

#include "camera/sbo/SBO.h"

namespace tarvik::camera::sbo {

/// Base of the models with a grey sensor: delivers the library's frames as original images, without
/// copying, and takes grey test images.
class SBOMonochrome : public SBO
{
public:
    /// The binary image stays null: models fill it in.
    void getImages(image::Image** original, image::Image** binary) override;

    void releaseImage() override { releaseFrame(); }

    void setSource(image::Image* image) override { writeTestImage(image); }

    [[nodiscard]] bool isColored() const override { return false; }

protected:
    using SBO::SBO;
};

} // namespace tarvik::camera::sbo
