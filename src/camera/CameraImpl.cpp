#include "camera/CameraImpl.h"

#include "image/BinaryImage.h"

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

void CameraImpl::encodeImage(const image::Image& grey, image::BinaryImage& binary) const
{
    binary.binarize(grey, _config.greyWindow());
}

} // namespace tarvik::camera
