#include "camera/sbo/SBO.h"

#include "camera/CameraException.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>

namespace tarvik::camera::sbo {

using logging::LogLevel;

namespace {

constexpr std::uint32_t TIME_OUT = 2000000; // microseconds
constexpr std::uintptr_t IMAGE_MEMORY_ALIGNMENT = 32;

std::unique_ptr<OCamera::CameraInterface> createInterface(OCamera::eCameraType type,
                                                          const char* errorText)
{
    std::unique_ptr<OCamera::CameraInterface> camera(OCamera::CreateCameraInterface(type));
    if (camera == nullptr) {
        throw CameraException(errorText);
    }
    return camera;
}

bool isAligned(const std::uint8_t* pixels)
{
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the address is what matters
    return reinterpret_cast<std::uintptr_t>(pixels) % IMAGE_MEMORY_ALIGNMENT == 0;
}

} // namespace

void SBO::open()
{
    connect();
    setUpSensor();
}

void SBO::close()
{
    if (_camera != nullptr) {
        _camera->SetAcquisitionMode(OCamera::ACQ_MODE_STOP);
        _camera->Close();
        _camera.reset();
    }
    _frame = {};
    _frameImage = {};
    _sourceOverridden = false;
}

void SBO::onConfigChange(const CameraConfiguration& oldConfig, const CameraConfiguration& newConfig)
{
    if (!isOpen()) {
        return;
    }
    if (oldConfig.triggerMode != newConfig.triggerMode) {
        stopAcquisition();
        selectTrigger();
        startAcquisition();
    }
    if (oldConfig.shutterTime != newConfig.shutterTime) {
        check(_camera->SetShutterTime(config().shutterTime),
              "SetShutterTime(config().shutterTime())");
    }
    if (oldConfig.gain != newConfig.gain) {
        check(_camera->SetGain(config().gain), "SetGain(config().gain())");
    }
}

void SBO::cancelWait()
{
    _camera->CancelWait();
}

void SBO::resumeWait()
{
    _camera->ResumeWait();
}

void SBO::check(int result, const char* call)
{
    if (result >= 0) {
        return;
    }
    const std::string text = std::string("Camera error while executing: '") + call +
                             "'. Details: " + std::generic_category().message(-result);
    if (result == -ETIME) {
        throw CameraTimeout(text);
    }
    throw CameraException(text);
}

image::Image* SBO::fetchFrame()
{
    if (_frame.pixels != nullptr) {
        releaseFrame(); // could not be returned last time
    }
    restartAcquisition();
    const int result = _camera->GetImage(&_frame);
    switch (result) {
    case 0:
        if (_frame.pixels == nullptr) {
            throw CameraException("GetImage() returned no pixels.");
        }
        _frameImage = image::Image::view(_frame.pixels, imageWidth(), imageHeight());
        _frameImage.checkConsistency();
        return &_frameImage;
    case -EINTR:
        return nullptr;
    case -ETIME:
        throw CameraTimeout(config().triggerMode == CameraConfiguration::EXTERNAL_TRIGGER
                                ? "Timeout on GetImage(). Please check external trigger signal."
                                : "Timeout on GetImage().");
    default:
        throw CameraException("GetImage() returned error code: " + std::to_string(result));
    }
}

void SBO::releaseFrame()
{
    _frameImage = {};
    _camera->ReleaseImage(&_frame);
}

void SBO::restartAcquisition()
{
    if (!_acquiring) {
        startAcquisition();
    }
}

void SBO::writeTestImage(const image::Image* image)
{
    if (!isOpen()) {
        throw CameraException("Camera not open.");
    }
    if (image != nullptr) {
        if (isColored() != (image->channels() == 3)) {
            throw CameraException("Cannot use color images with a monochrome camera.");
        }
        checkDimension(*image);
    }
    stopAcquisition();
    check(_camera->PurgeImages(), "PurgeImages()");
    if (image != nullptr) {
        writeImageMemory(*image);
    } else {
        check(_camera->SetupImageCorrection(false, OCamera::CORRECTION_REPLACE, 0, 0, 1),
              "SetupImageCorrection(false, OCamera::CORRECTION_REPLACE, 0, 0, 1)");
    }
    setSourceOverridden(image != nullptr);
    startAcquisition();
}

void SBO::checkDimension(const image::Image& image) const
{
    if (image.width() != imageWidth() || image.height() != imageHeight()) {
        const auto size = [](int width, int height) {
            return std::to_string(width) + "x" + std::to_string(height);
        };
        throw CameraException("Image has wrong dimension: " + size(image.width(), image.height()) +
                              " (expected: " + size(imageWidth(), imageHeight()) + ").");
    }
}

void SBO::setSourceOverridden(bool overridden)
{
    log(LogLevel::Info, overridden ? "Image source overriden by user-defined image."
                                   : "Image source reset to internal image sensor.");
    _sourceOverridden = overridden;
}

std::size_t SBO::frameMemorySize() const
{
    return std::size_t{pixelCount()} * static_cast<std::size_t>(_frameMemory);
}

const char* SBO::openCall() const
{
    return _frameMemory == FrameMemory::FourBytes ? "Open(_imageWidth * _imageHeight * 4)"
                                                  : "Open(_imageWidth * _imageHeight * 2)";
}

void SBO::connect()
{

    if (_sensor.eitherChip) {
        connectEitherChip();
        return;
    }
    _camera = createInterface(_sensor.type, "Couldn't load camera.");
    check(_camera->Open(frameMemorySize()), openCall());
}

/// Only the chip that is there answers.
void SBO::connectEitherChip()
{
    _camera = createInterface(OCamera::CAMERA_R3_MT9V023, "Couldn't load camera (MT9V023).");
    const int result = _camera->Open(frameMemorySize());
    if (result != -ENODEV) {
        check(result, "Open");
        return;
    }
    _camera.reset(); // before the other one is made: both want the same sensor
    _camera = createInterface(OCamera::CAMERA_R3_MT9V022, "Couldn't load camera (MT9V022).");
    check(_camera->Open(frameMemorySize()), openCall());
}

void SBO::setUpSensor()
{
    check(_camera->InitImageRAM(), "InitImageRAM()");
    check(_camera->SetCameraWindow(0, 0, imageWidth(), imageHeight()),
          "SetCameraWindow(0, 0, imageWidth(), imageHeight())");
    check(_camera->SetFrequency(OCamera::FREQU_60MHz), "SetFrequency(OCamera::FREQU_60MHz)");
    check(_camera->SetShutterTime(config().shutterTime), "SetShutterTime(config().shutterTime())");
    check(_camera->SetGain(config().gain), "SetGain(config().gain())");
    check(_camera->SetIlluminationTiming(0, 0), "SetIlluminationTiming(0,0)");
    check(_camera->SetIlluminationMode(OCamera::ILL_MODE_OFF),
          "SetIlluminationMode(OCamera::ILL_MODE_OFF)");
    check(_camera->SetIlluminationModeExternal(OCamera::ILL_MODE_EXT_OFF),
          "SetIlluminationModeExternal(OCamera::ILL_MODE_EXT_OFF)");
    startAcquisition();
    check(_camera->SetTriggerSource(OCamera::TRIG_SRC_SOFTWARE, 1),
          "SetTriggerSource(OCamera::TRIG_SRC_SOFTWARE)");
    check(_camera->SetTriggerDelay(0), "SetTriggerDelay(0)");
    check(_camera->SetReadTimeout(TIME_OUT), "SetReadTimeout(TIME_OUT)");
    selectTrigger();
}

void SBO::stopAcquisition()
{
    check(_camera->SetAcquisitionMode(OCamera::ACQ_MODE_STOP),
          "SetAcquisitionMode(OCamera::ACQ_MODE_STOP)");
    _acquiring = false;
}

void SBO::startAcquisition()
{
    check(_camera->SetAcquisitionMode(OCamera::ACQ_MODE_SINGLE_SHOT),
          "SetAcquisitionMode(OCamera::ACQ_MODE_SINGLE_SHOT)");
    _acquiring = true;
}

void SBO::selectTrigger()
{
    if (config().triggerMode == CameraConfiguration::INTERNAL_TRIGGER) {
        check(_camera->SetTriggerSource(OCamera::TRIG_SRC_SOFTWARE, 1),
              "SetTriggerSource(OCamera::TRIG_SRC_SOFTWARE)");
        log(LogLevel::Info, "Switched to Internal Trigger mode.");
    } else {
        check(_camera->SetTriggerSource(OCamera::TRIG_SRC_EXTERNAL_E0, 1),
              "SetTriggerSource(OCamera::TRIG_SRC_EXTERNAL_E0)");
        log(LogLevel::Info, "Switched to External Trigger mode (E0).");
    }
}

void SBO::writeImageMemory(const image::Image& image)
{
    const std::uint8_t* pixels = image.data();
    std::unique_ptr<std::uint8_t[]> copy;
    if (!isAligned(pixels)) {
        void* start = nullptr;
        std::size_t space = image.byteCount() + IMAGE_MEMORY_ALIGNMENT;
        copy = std::make_unique<std::uint8_t[]>(space);
        start = copy.get();
        std::align(IMAGE_MEMORY_ALIGNMENT, image.byteCount(), start, space);
        std::memcpy(start, pixels, image.byteCount());
        pixels = static_cast<const std::uint8_t*>(start);
    }
    check(_camera->WriteImageRAM(pixels, 0, static_cast<std::uint32_t>(image.byteCount())),
          "WriteImageRAM((void*)imgBuffer, 0, "
          "image->width() * image->height() * image->bytesPerPixel())");
    check(_camera->SetupImageCorrection(true, OCamera::CORRECTION_REPLACE, 0, pixelCount(),
                                        image.bytesPerPixel()),
          "SetupImageCorrection(true, OCamera::CORRECTION_REPLACE, 0, "
          "image->width() * image->height(), image->bytesPerPixel())");
}

} // namespace tarvik::camera::sbo
