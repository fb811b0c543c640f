#include "camera/sbo/GreyThreshold.h"

namespace tarvik::camera::sbo {

template <class Base>
void GreyThreshold<Base>::open()
{
    Base::open();
    if constexpr (COLOR_SENSOR) {
        this->check(this->camera().InitColor(), "InitColor()");
    }
    setupFilters();
}

template <class Base>
void GreyThreshold<Base>::close()
{
    Base::close();
    _softwareImage.reset();
}

template <class Base>
void GreyThreshold<Base>::getImages(image::Image** original, image::Image** binary)
{
    image::Image* const frame = this->fetchFrame();
    if (frame == nullptr || fpgaEncoding()) {
        *original = nullptr;
        *binary = frame;
    } else {
        this->encodeImage(*frame, *_softwareImage);
        *original = frame;
        *binary = &*_softwareImage;
    }
}

template <class Base>
void GreyThreshold<Base>::update(bool originalImageNeeded)
{
    Base::update(originalImageNeeded);
    setupFilters();
}

template <class Base>
void GreyThreshold<Base>::onConfigChange(const CameraConfiguration& oldConfig,
                                         const CameraConfiguration& newConfig)
{
    Base::onConfigChange(oldConfig, newConfig);
    setupFilters();
}

template <class Base>
void GreyThreshold<Base>::setupFilters()
{
    if (!this->isOpen()) {
        return;
    }
    if (this->originalImageNeeded()) {
        switchFpgaOff();
        if (!_softwareImage) {
            _softwareImage.emplace();
        }
    } else {
        switchFpgaOn();
        _softwareImage.reset();
    }
    this->camera().PurgeImages(); // taken under the old settings
    if constexpr (COLOR_SENSOR) {
        this->check(this->camera().SetBayer2X(OCamera::BAYER_OUTPUT_I, OCamera::BAYER_PATTERN_GRGR),
                    "SetBayer2X(OCamera::BAYER_OUTPUT_I, OCamera::BAYER_PATTERN_GRGR)");
    }
}

template <class Base>
void GreyThreshold<Base>::switchFpgaOff()
{
    checkFilter(this->camera().SetBinarization(false), "SetBinarization(false)");
    checkFilter(this->camera().SetFilter(OCamera::FILTER_OFF), "SetFilter(OCamera::FILTER_OFF)");
}

template <class Base>
void GreyThreshold<Base>::switchFpgaOn()
{
    const CameraConfiguration& config = this->config();
    const OCamera::BinarizationParameters parameters{
        .invert = static_cast<std::uint8_t>(config.invert ? 1 : 0),
        .mode = OCamera::BINARIZATION_WINDOW,
        .low = config.thresholdLow,
        .high = config.thresholdHigh};
    checkFilter(this->camera().SetFilter(OCamera::FILTER_BINARIZE_ONLY),
                "SetFilter(OCamera::FILTER_BINARIZE_ONLY)");
    checkFilter(this->camera().SetBinarization(true, &parameters),
                "SetBinarization(true, &binParams)");
}

template <class Base>
void GreyThreshold<Base>::checkFilter(int result, const char* call)
{
    if constexpr (COLOR_SENSOR) {
        Base::check(result, call);
    }
}

template class GreyThreshold<SBO>;
template class GreyThreshold<SBOMonochrome>;

} // namespace tarvik::camera::sbo
