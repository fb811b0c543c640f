#include "camera/CameraImpl.h"

#include "image/Binarization.h"

namespace tarvik::camera {

void CameraImpl::onConfigChange(const CameraConfiguration& /*oldConfig*/,
                                const CameraConfiguration& /*newConfig*/)
{}

void CameraImpl::setConfig(const CameraConfiguration& config)
{
    const CameraConfiguration oldConfig = _config;
    const CameraConfiguration newConfig = config; // the argument may be our own
    _config = newConfig;
    onConfigChange(oldConfig, newConfig);
}

void CameraImpl::encodeImage(const image::Image& grey, image::Image& binary) const
{
    binary.reshape(grey.width(), grey.height());
    image::binarize(grey.bytes(), _config.greyWindow(), binary.bytes());
}

} // namespace tarvik::camera
