#pragma once

#include "camera/sbo/SBO.h"
#include "camera/sbo/SBOMonochrome.h"
#include "image/BinaryImage.h"

#include <optional>
#include <type_traits>

namespace tarvik::camera::sbo {

/// A model whose grey pictures are binarized by two thresholds: in the FPGA, or, while somebody
/// wants to see the grey picture as well, by the program.
///
/// Base is SBOMonochrome for a grey sensor, or SBO for a colour sensor, whose Bayer converter then
/// delivers the intensity; calls that set up the FPGA are checked on the latter only.
template <class Base>
class GreyThreshold : public Base
{
public:
    void open() override;
    void close() override;
    void getImages(image::Image** original, image::Image** binary) override;

    void releaseImage() override { this->releaseFrame(); }

    void setSource(image::Image* image) override { this->writeTestImage(image); }

    [[nodiscard]] bool isColored() const override { return false; }

    void update(bool originalImageNeeded) override;
    void onConfigChange(const CameraConfiguration& oldConfig,
                        const CameraConfiguration& newConfig) override;

    /// The frames are binary pictures already.
    [[nodiscard]] bool fpgaEncoding() const { return !_softwareImage.has_value(); }

protected:
    using Base::Base;

private:
    static constexpr bool COLOR_SENSOR = !std::is_base_of_v<SBOMonochrome, Base>;

    void setupFilters();
    void switchFpgaOff();
    void switchFpgaOn();
    static void checkFilter(int result, const char* call);

    /// Present while the program binarizes.
    std::optional<image::BinaryImage> _softwareImage;
};

extern template class GreyThreshold<SBO>;
extern template class GreyThreshold<SBOMonochrome>;

} // namespace tarvik::camera::sbo
