#pragma once

#include "camera/CameraImpl.h"
#include "ocamera/OCamera.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarvik::camera::sbo {

/// A sensor of the family: what its drivers differ in before they take the first picture.
struct Sensor
{
    std::uint16_t width;
    std::uint16_t height;
    /// Built with the MT9V023 chip, or with the MT9V022.
    bool eitherChip;
    OCamera::eCameraType type; ///< of the only chip, or of the one tried first
};

constexpr Sensor SENSOR_R1{640, 480, false, OCamera::CAMERA_R1};
constexpr Sensor SENSOR_R2{1280, 1024, false, OCamera::CAMERA_R2};
constexpr Sensor SENSOR_R3{752, 480, true, OCamera::CAMERA_R3_MT9V023};

/// Base of the drivers of the SBO family: connects and sets up the sensor, and offers the drivers
/// of grey pictures the library's frames and image memory.
///
/// A failed call of the library throws CameraException "Camera error while executing: '<call>'.
/// Details: <the system's words for its error number>".
class SBO : public CameraImpl
{
public:
    [[nodiscard]] bool isOpen() override { return _camera != nullptr; }

    void open() override;
    void close() override;

    [[nodiscard]] bool sourceOverridden() const override { return _sourceOverridden; }

    [[nodiscard]] std::uint16_t imageWidth() const override { return _sensor.width; }

    [[nodiscard]] std::uint16_t imageHeight() const override { return _sensor.height; }

    /// Brings trigger mode, shutter time and gain to the open sensor.
    void onConfigChange(const CameraConfiguration& oldConfig,
                        const CameraConfiguration& newConfig) override;

    void cancelWait() override;
    void resumeWait() override;

protected:
    /// Bytes of frame memory per pixel of the sensor.
    enum class FrameMemory : std::uint8_t
    {
        TwoBytes = 2,
        FourBytes = 4,
    };

    explicit SBO(const Sensor& sensor, FrameMemory frameMemory = FrameMemory::FourBytes)
        : _sensor(sensor),
          _frameMemory(frameMemory)
    {}

    /// While open.
    [[nodiscard]] OCamera::CameraInterface& camera() { return *_camera; }

    [[nodiscard]] std::uint32_t pixelCount() const
    {
        return std::uint32_t{_sensor.width} * _sensor.height;
    }

    /// Throws when the result of the call is an error number.
    static void check(int result, const char* call);

    /// Waits for a frame and returns a view of it, valid until releaseFrame(); null when
    /// cancelWait() ended the wait.
    [[nodiscard]] image::Image* fetchFrame();
    void releaseFrame();

    /// Starts the sensor again where a change that failed halfway has left it stopped. Before each
    /// image is taken.
    void restartAcquisition();

    /// Writes a grey picture into the image memory, from where it comes out in the sensor's place;
    /// null: the sensor's own pictures again.
    void writeTestImage(const image::Image* image);

    /// Throws CameraException when the sizes differ.
    void checkDimension(const image::Image& image) const;

    /// Says so in the log as well.
    void setSourceOverridden(bool overridden);

private:
    [[nodiscard]] std::size_t frameMemorySize() const;
    [[nodiscard]] const char* openCall() const;
    void connect();
    void connectEitherChip();
    void setUpSensor();
    void stopAcquisition();
    void startAcquisition();
    void selectTrigger();
    void writeImageMemory(const image::Image& image);

    Sensor _sensor;
    FrameMemory _frameMemory;
    std::unique_ptr<OCamera::CameraInterface> _camera;
    bool _acquiring = false;
    bool _sourceOverridden = false;

    OCamera::FrameHandle _frame; ///< holds a frame between fetchFrame() and releaseFrame()
    image::Image _frameImage;    ///< view of that frame
};

} // namespace tarvik::camera::sbo
