#pragma once

#include <cstddef>
#include <cstdint>

/// The camera library as the drivers use it: one sensor behind one interface object.
///
/// Every operation returns 0 or a positive value on success and a negative error number (see
/// errno.h) on failure. Errors that every operation may return are -EBADF while the interface is
/// not open and -EINVAL for an argument outside its documented range; a failed operation leaves
/// the camera as it was.
///
/// Threads: one thread at a time uses an interface, except for CancelWait() and ResumeWait(),
/// which any thread may call while the object lives.
namespace OCamera {

/// The camera models by their sensor.
enum eCameraType : std::int32_t
{
    CAMERA_R1 = 3,         ///< 640 x 480
    CAMERA_R2 = 5,         ///< 1280 x 1024
    CAMERA_R3_MT9V022 = 6, ///< 752 x 480, sensor chip MT9V022
    CAMERA_R3_MT9V023 = 7, ///< 752 x 480, sensor chip MT9V023
};

/// Clock of the sensor's pixel output.
enum eFrequency : std::int32_t
{
    FREQU_60MHz = 3,
};

enum eIlluminationMode : std::int32_t
{
    ILL_MODE_OFF = 1,
};

enum eIlluminationModeExternal : std::int32_t
{
    ILL_MODE_EXT_OFF = 1,
};

enum eAcquisitionMode : std::int32_t
{
    ACQ_MODE_STOP = 1,        ///< no image is taken; pulses on the trigger input are ignored
    ACQ_MODE_SINGLE_SHOT = 2, ///< one image per trigger
};

enum eTriggerSource : std::int32_t
{
    TRIG_SRC_SOFTWARE = 1,    ///< each fetch triggers its own image
    TRIG_SRC_EXTERNAL_E0 = 2, ///< each pulse on input E0 takes an image
};

/// Filters of the camera's FPGA. They act on what GetImage() and ReadImageRAM() deliver.
enum eFilter : std::uint32_t
{
    FILTER_OFF = 0,
    FILTER_BINARIZE_ONLY = 1, ///< threshold, once SetBinarization() has switched it on
    FILTER_NEIGHBOURHOOD = 8, ///< contour code; part of an FPGA design that must have been loaded
};

/// What the image memory's content does to the pictures that are fetched.
enum eCorrection : std::int32_t
{
    CORRECTION_REPLACE = 1, ///< the content comes out in place of the sensor's picture
};

/// What the Bayer converter of a colour camera makes of the sensor's mosaic, one byte per pixel.
enum eBayerOutput : std::int32_t
{
    BAYER_OUTPUT_RAW = 0, ///< the mosaic itself
    BAYER_OUTPUT_H =
        1, ///< hue: 0 to 255 for the full circle, red 0, green 85, blue 171; grey has 0
    BAYER_OUTPUT_S = 2, ///< saturation: 255 * (max - min) / max, rounded; black has 0
    BAYER_OUTPUT_V = 3, ///< value: max(R, G, B)
    BAYER_OUTPUT_I = 4, ///< intensity: (R + 2 G + B) / 4, rounded
};

/// Colours of a mosaic's first row from its left edge; the second row has the other two.
enum eBayerPattern : std::int32_t
{
    BAYER_PATTERN_GRGR = 0, ///< the pattern of the sensors of this family
    BAYER_PATTERN_RGRG = 1,
    BAYER_PATTERN_BGBG = 2,
    BAYER_PATTERN_GBGB = 3,
};

/// A fetched frame. The library fills it in; its pixels are the program's until ReleaseImage().
struct FrameHandle
{
    std::uint8_t* pixels =
        nullptr;              ///< window width x height bytes, row by row; null: holds no frame
    std::uint32_t number = 0; ///< counts the images that the sensor took since Open()
};

/// Threshold of the FPGA: pixels with low <= grey <= high become 255 and the others 0, the other
/// way round with invert = 1.
struct BinarizationParameters
{
    std::uint8_t invert;
    std::uint8_t mode; ///< BINARIZATION_WINDOW
    std::uint8_t low;
    std::uint8_t high;
};

constexpr std::uint8_t BINARIZATION_WINDOW = 2;

/// Parameter record of FILTER_NEIGHBOURHOOD. Its output is 0 for every pixel of the background,
/// of the picture's border and of the inside of an object, and otherwise the set of neighbours
/// that are foreground, bit 0 the upper left one, then clockwise.
struct NeighbourhoodParameters
{
    std::uint32_t mode;       ///< 2
    std::uint32_t thresholds; ///< low + 256 * high, and bit 31 when not inverted
    std::uint32_t reserved;   ///< 0
};

/// A camera. Made by CreateCameraInterface() and destroyed with `delete`, which closes it.
class CameraInterface
{
public:
    CameraInterface() = default;
    CameraInterface(const CameraInterface&) = delete;
    CameraInterface& operator=(const CameraInterface&) = delete;
    CameraInterface(CameraInterface&&) = delete;
    CameraInterface& operator=(CameraInterface&&) = delete;
    virtual ~CameraInterface() = default;

    /// Connects the sensor and reserves frame memory (bytes; at least one frame of the sensor).
    /// -ENODEV: no sensor of this type answers. -ENOMEM: not that much memory. -EBUSY: is open.
    virtual int Open(std::size_t frameMemory) = 0;

    /// Stops the sensor and gives the frame memory back, frames still held included.
    virtual int Close() = 0;

    /// Clears the image memory. The operations on it need this first, or return -ENXIO.
    virtual int InitImageRAM() = 0;

    /// Part of the sensor that is read out, in pixels. -EBUSY while the program holds frames.
    virtual int SetCameraWindow(int x, int y, int width, int height) = 0;
    virtual int SetFrequency(eFrequency frequency) = 0;

    /// Exposure in microseconds; the sensor takes the nearest that it can.
    virtual int SetShutterTime(std::uint32_t microseconds) = 0;
    virtual int SetGain(std::uint8_t gain) = 0;
    virtual int SetIlluminationTiming(std::uint32_t delay, std::uint32_t duration) = 0;
    virtual int SetIlluminationMode(eIlluminationMode mode) = 0;
    virtual int SetIlluminationModeExternal(eIlluminationModeExternal mode) = 0;
    virtual int SetAcquisitionMode(eAcquisitionMode mode) = 0;

    /// The images per trigger can only be 1.
    virtual int SetTriggerSource(eTriggerSource source, int imagesPerTrigger = 1) = 0;

    /// Microseconds between the trigger and the exposure, at most 10 s.
    virtual int SetTriggerDelay(std::uint32_t microseconds) = 0;

    /// Microseconds that GetImage() and GetImageToImageRAM() wait for an image. Default 2 s.
    virtual int SetReadTimeout(std::uint32_t microseconds) = 0;

    /// Waits for the next image and hands it out; returns 0. It is the program's, and counts
    /// against the frame memory, until ReleaseImage() of the same handle.
    /// -ETIME (-62): no image within the read time-out. -EINTR: CancelWait(). -ENXIO: acquisition
    /// stopped. -EBUSY: the handle holds a frame already. -ENOMEM: all frame memory is held.
    virtual int GetImage(FrameHandle* frame) = 0;

    /// Returns a frame to the library and empties the handle.
    virtual int ReleaseImage(FrameHandle* frame) = 0;

    /// Discards the images taken but not yet fetched.
    virtual int PurgeImages() = 0;

    /// Copies bytes into the image memory. The buffer must be aligned to 32 bytes (-EFAULT).
    virtual int WriteImageRAM(const void* buffer, std::uint32_t offset, std::uint32_t size) = 0;

    /// With `on`, every image taken afterwards shows the image memory's content from the offset
    /// on in place of the sensor's picture (and of the Bayer converter's), filtered by the FPGA
    /// like those. The pixels must be as many as the window has and of one byte each.
    virtual int SetupImageCorrection(bool on, eCorrection correction, std::uint32_t offset,
                                     std::uint32_t pixels, std::uint32_t bytesPerPixel) = 0;

    /// Selects a filter. FILTER_NEIGHBOURHOOD takes the address of its NeighbourhoodParameters,
    /// the others a null pointer. -ENXIO: the design with that filter is not loaded.
    virtual int SetFilter(eFilter filter, const void* parameters = nullptr) = 0;

    /// Switches the threshold of FILTER_BINARIZE_ONLY on, with parameters, or off.
    virtual int SetBinarization(bool on, const BinarizationParameters* parameters = nullptr) = 0;

    /// Prepares the Bayer converter of a colour sensor, whose pictures are mosaics from now on.
    /// The converter's output is BAYER_OUTPUT_RAW at first.
    virtual int InitColor() = 0;

    /// Sets the converter, which acts on what GetImage() and ReadImageRAM() deliver. It computes
    /// each pixel from the square of four whose upper left corner the pixel is. -ENXIO before
    /// InitColor().
    virtual int SetBayer2X(eBayerOutput output, eBayerPattern pattern) = 0;

    /// Takes one image, as GetImage() does, as it comes from the sensor into the image memory.
    virtual int GetImageToImageRAM(std::uint32_t offset) = 0;

    /// Size in pixels of the picture in the image memory, for the converter and the filters.
    virtual int SetImageRAMPictureSize(std::uint32_t width, std::uint32_t height) = 0;

    /// Reads the picture at the offset through converter and filter; `size` is that of the
    /// picture. -ENXIO before SetImageRAMPictureSize().
    virtual int ReadImageRAM(void* buffer, std::uint32_t offset, std::uint32_t size) = 0;

    /// Ends the wait of a GetImage() or GetImageToImageRAM() in progress, or of the next one, with
    /// -EINTR, and keeps doing so until ResumeWait(). Any thread; never blocks. A library that
    /// knows no such operation ends its waits here by its own means, or at the latest by the
    /// read time-out.
    virtual int CancelWait() = 0;

    /// Lets waits be waits again. Any thread.
    virtual int ResumeWait() = 0;
};

/// Makes the interface to a camera, closed. Null: there is none for this type.
/// The caller owns it.
CameraInterface* CreateCameraInterface(eCameraType type);

} // namespace OCamera
