#pragma once

#include "camera/CameraConfiguration.h"
#include "core/logging/Logging.h"
#include "image/Image.h"

#include <cstdint>

namespace tarvik::image {
class BinaryImage;
}

namespace tarvik::camera {

/// Driver of one camera model; made and destroyed by the CameraFactory.
///
/// Threads: one at a time, which Camera sees to; cancelWait() and resumeWait() are for any thread
/// between a successful open() and close(). Failures are CameraExceptions.
class CameraImpl : protected logging::Logging
{
public:
    CameraImpl() : Logging("Camera") {}

    CameraImpl(const CameraImpl&) = delete;
    CameraImpl& operator=(const CameraImpl&) = delete;
    virtual ~CameraImpl() = default;

    [[nodiscard]] virtual bool isOpen() = 0;

    /// Connects the sensor and applies the configuration. A driver whose open() failed is of no
    /// further use.
    virtual void open() = 0;
    virtual void close() = 0;

    /// Waits for the next picture. `*original` becomes null when only the binary one is made, both
    /// when cancelWait() ended the wait. They are the driver's and valid until releaseImage(),
    /// which follows every successful call that brought a picture.
    virtual void getImages(image::Image** original, image::Image** binary) = 0;
    virtual void releaseImage() = 0;

    /// Shows a copy of this picture in place of what the sensor sees; null: the sensor's again.
    /// The picture must have the sensor's size and kind. A refused one changes nothing.
    virtual void setSource(image::Image* image) = 0;
    [[nodiscard]] virtual bool sourceOverridden() const = 0;

    [[nodiscard]] virtual std::uint16_t imageWidth() const = 0;
    [[nodiscard]] virtual std::uint16_t imageHeight() const = 0;
    [[nodiscard]] virtual bool isColored() const = 0;

    /// Somebody wants the original picture beside the binary one, or nobody does any more.
    virtual void update(bool originalImageNeeded) { _originalImageNeeded = originalImageNeeded; }

    /// Brings what differs to the sensor while it is open; config() is the new one already.
    virtual void onConfigChange(const CameraConfiguration& oldConfig,
                                const CameraConfiguration& newConfig);

    /// Ends the wait of the getImages() in progress, or of the next one, until resumeWait().
    /// Never blocks.
    virtual void cancelWait() {}

    virtual void resumeWait() {}

    [[nodiscard]] const CameraConfiguration& config() const { return _config; }

    void setConfig(const CameraConfiguration& config);

    /// Binarizes a grey picture by the configured thresholds.
    void encodeImage(const image::Image& grey, image::BinaryImage& binary) const;

protected:
    [[nodiscard]] bool originalImageNeeded() const { return _originalImageNeeded; }

private:
    bool _originalImageNeeded = false;
    CameraConfiguration _config;
};

} // namespace tarvik::camera
