#pragma once

#include "ocamera/OCamera.h"
#include "ocamera/simulated/FpgaStage.h"
#include "ocamera/simulated/Pictures.h"
#include "ocamera/simulated/Shutter.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace OCamera::simulated {

/// A camera without a camera: the sensor's pictures come from files or are drawn.
///
/// An image goes this way: scene, or the image memory's content in its place; mosaic and Bayer
/// converter of a colour sensor, which the image memory's content does not pass; FPGA filter; frame
/// memory. Exposure, gain, clock and illumination are checked and have no effect on the pictures.
///
/// Pulses on the external trigger count while that source is selected and acquisition runs. Those
/// that nobody has fetched an image for yet wait, until PurgeImages() discards them.
class SimulatedCamera final : public CameraInterface
{
public:
    explicit SimulatedCamera(eCameraType type);
    ~SimulatedCamera() override = default;

    int Open(std::size_t frameMemory) override;
    int Close() override;
    int InitImageRAM() override;
    int SetCameraWindow(int x, int y, int width, int height) override;
    int SetFrequency(eFrequency frequency) override;
    int SetShutterTime(std::uint32_t microseconds) override;
    int SetGain(std::uint8_t gain) override;
    int SetIlluminationTiming(std::uint32_t delay, std::uint32_t duration) override;
    int SetIlluminationMode(eIlluminationMode mode) override;
    int SetIlluminationModeExternal(eIlluminationModeExternal mode) override;
    int SetAcquisitionMode(eAcquisitionMode mode) override;
    int SetTriggerSource(eTriggerSource source, int imagesPerTrigger) override;
    int SetTriggerDelay(std::uint32_t microseconds) override;
    int SetReadTimeout(std::uint32_t microseconds) override;
    int GetImage(FrameHandle* frame) override;
    int ReleaseImage(FrameHandle* frame) override;
    int PurgeImages() override;
    int WriteImageRAM(const void* buffer, std::uint32_t offset, std::uint32_t size) override;
    int SetupImageCorrection(bool on, eCorrection correction, std::uint32_t offset,
                             std::uint32_t pixels, std::uint32_t bytesPerPixel) override;
    int SetFilter(eFilter filter, const void* parameters) override;
    int SetBinarization(bool on, const BinarizationParameters* parameters) override;
    int InitColor() override;
    int SetBayer2X(eBayerOutput output, eBayerPattern pattern) override;
    int GetImageToImageRAM(std::uint32_t offset) override;
    int SetImageRAMPictureSize(std::uint32_t width, std::uint32_t height) override;
    int ReadImageRAM(void* buffer, std::uint32_t offset, std::uint32_t size) override;
    int CancelWait() override;
    int ResumeWait() override;

private:
    struct Size
    {
        int width = 0;
        int height = 0;

        [[nodiscard]] std::size_t pixels() const
        {
            return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
        }
    };

    struct Window
    {
        int x = 0;
        int y = 0;
        Size size;
    };

    struct Correction
    {
        bool on = false;
        std::uint32_t offset = 0;
    };

    /// Everything that Close() resets.
    struct Setup
    {
        Window window;
        eAcquisitionMode acquisition = ACQ_MODE_STOP;
        eTriggerSource trigger = TRIG_SRC_SOFTWARE;
        std::chrono::microseconds readTimeout{2'000'000};
        Correction correction;
        FpgaStage fpga;
        Size imageRamPicture;
        std::uint32_t imagesTaken = 0;
    };

    /// One cache line; vectors of them are aligned for every processor's widest loads.
    struct alignas(64) Line
    {
        std::array<std::uint8_t, 64> bytes;
    };

    struct Frame
    {
        std::vector<Line> memory;
        bool held = false;

        [[nodiscard]] std::uint8_t* pixels() { return memory.data()->bytes.data(); }
    };

    [[nodiscard]] bool isOpen() const { return _pictures != nullptr; }

    [[nodiscard]] bool framesHeld() const;
    [[nodiscard]] Frame* freeFrame();
    [[nodiscard]] bool fitsImageRam(std::uint64_t offset, std::uint64_t size) const;

    /// Waits for the trigger. 0, -ENXIO, -ETIME or -EINTR.
    [[nodiscard]] int takeImage();
    /// The window of what the sensor sees: grey, or a mosaic.
    [[nodiscard]] bool exposeSensor(std::span<std::uint8_t> picture);
    [[nodiscard]] bool exposeFullSensor(std::span<std::uint8_t> picture);

    eCameraType _type;
    Size _sensor;
    Shutter _shutter;
    std::unique_ptr<Pictures> _pictures; ///< while open
    Setup _setup;
    std::vector<Frame> _frames;
    std::vector<std::uint8_t> _imageRam; ///< empty before InitImageRAM()
    std::vector<std::uint8_t> _rgb;      ///< what lies before a colour sensor
    std::vector<std::uint8_t> _full;     ///< the sensor's picture, when the window is a part of it
};

} // namespace OCamera::simulated
