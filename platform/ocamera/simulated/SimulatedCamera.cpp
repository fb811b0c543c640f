#include "ocamera/simulated/SimulatedCamera.h"

#include "ocamera/simulated/Calls.h"
#include "ocamera/simulated/Fpga.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <system_error>

namespace OCamera {

CameraInterface* CreateCameraInterface(eCameraType type)
{
    using namespace simulated;
    if (enterCall(Operation::CreateCameraInterface, type)) {
        return nullptr;
    }
    switch (type) {
    case CAMERA_R1:
    case CAMERA_R2:
    case CAMERA_R3_MT9V022:
    case CAMERA_R3_MT9V023:
        break;
    default:
        return nullptr;
    }
    try {
        return std::make_unique<SimulatedCamera>(type).release();
    } catch (const std::system_error& e) {
        complain(std::string("cannot be made: ") + e.what());
        return nullptr;
    }
}

} // namespace OCamera

/// Head of an operation: records it, lets it fail if a fault says so, refuses it while closed.
#define OPERATION(name, ...)                                                                       \
    if (const auto injected = enterCall(Operation::name __VA_OPT__(, ) __VA_ARGS__)) {             \
        return *injected;                                                                          \
    }                                                                                              \
    if (!isOpen()) {                                                                               \
        return -EBADF;                                                                             \
    }

namespace OCamera::simulated {

namespace {

constexpr std::size_t MAX_FRAME_MEMORY = std::size_t{64} << 20;
constexpr std::size_t IMAGE_RAM = std::size_t{4} << 20;
constexpr std::uint32_t MAX_MICROSECONDS = 10'000'000;
constexpr std::uintptr_t RAM_ALIGNMENT = 32;

std::string braced(const BinarizationParameters& p)
{
    return "{" + list(p.invert, p.mode, p.low, p.high) + "}";
}

std::string braced(const NeighbourhoodParameters& p)
{
    return "{" + list(p.mode, p.thresholds, p.reserved) + "}";
}

} // namespace

SimulatedCamera::SimulatedCamera(eCameraType type) : _type(type)
{
    switch (type) {
    case CAMERA_R1:
        _sensor = {640, 480};
        break;
    case CAMERA_R2:
        _sensor = {1280, 1024};
        break;
    case CAMERA_R3_MT9V022:
    case CAMERA_R3_MT9V023:
        _sensor = {752, 480};
        break;
    }
}

int SimulatedCamera::Open(std::size_t frameMemory)
{
    if (const auto injected = enterCall(Operation::Open, frameMemory)) {
        return *injected;
    }
    if (isOpen()) {
        return -EBUSY;
    }
    if (frameMemory < _sensor.pixels()) {
        return -EINVAL;
    }
    if (frameMemory > MAX_FRAME_MEMORY) {
        return -ENOMEM;
    }
    const Settings settings = Settings::fromEnvironment();
    const bool wide = _type == CAMERA_R3_MT9V022 || _type == CAMERA_R3_MT9V023;
    if (wide && settings.wideSensor != _type) {
        return -ENODEV;
    }
    std::unique_ptr<Pictures> pictures = openPictures(settings, _sensor.width, _sensor.height);
    if (pictures == nullptr) {
        return -ENODEV;
    }
    _setup = {};
    _setup.window.size = _sensor;
    _frames.resize(frameMemory / _sensor.pixels());
    for (Frame& frame : _frames) {
        frame.memory.resize((_sensor.pixels() + sizeof(Line) - 1) / sizeof(Line));
    }
    _shutter.setRate(settings.framesPerSecond);
    _shutter.connectTrigger(settings.trigger);
    _pictures = std::move(pictures);
    return 0;
}

int SimulatedCamera::Close()
{
    OPERATION(Close)
    _shutter.connectTrigger({});
    _pictures.reset();
    _frames.clear();
    _imageRam.clear();
    return 0;
}

int SimulatedCamera::InitImageRAM()
{
    OPERATION(InitImageRAM)
    _imageRam.assign(IMAGE_RAM, 0);
    _setup.correction = {};
    _setup.imageRamPicture = {};
    return 0;
}

int SimulatedCamera::SetCameraWindow(int x, int y, int width, int height)
{
    OPERATION(SetCameraWindow, x, y, width, height)
    if (x < 0 || y < 0 || width < 2 || height < 2 || width > _sensor.width - x ||
        height > _sensor.height - y) {
        return -EINVAL;
    }
    if (framesHeld()) {
        return -EBUSY;
    }
    _setup.window = {x, y, {width, height}};
    _setup.correction = {}; // its pixel count was that of the old window
    return 0;
}

int SimulatedCamera::SetFrequency(eFrequency frequency)
{
    OPERATION(SetFrequency, frequency)
    return frequency == FREQU_60MHz ? 0 : -EINVAL;
}

int SimulatedCamera::SetShutterTime(std::uint32_t microseconds)
{
    OPERATION(SetShutterTime, microseconds)
    return 0;
}

int SimulatedCamera::SetGain(std::uint8_t gain)
{
    OPERATION(SetGain, gain)
    return 0;
}

int SimulatedCamera::SetIlluminationTiming(std::uint32_t delay, std::uint32_t duration)
{
    OPERATION(SetIlluminationTiming, delay, duration)
    return delay <= MAX_MICROSECONDS && duration <= MAX_MICROSECONDS ? 0 : -EINVAL;
}

int SimulatedCamera::SetIlluminationMode(eIlluminationMode mode)
{
    OPERATION(SetIlluminationMode, mode)
    return mode == ILL_MODE_OFF ? 0 : -EINVAL;
}

int SimulatedCamera::SetIlluminationModeExternal(eIlluminationModeExternal mode)
{
    OPERATION(SetIlluminationModeExternal, mode)
    return mode == ILL_MODE_EXT_OFF ? 0 : -EINVAL;
}

int SimulatedCamera::SetAcquisitionMode(eAcquisitionMode mode)
{
    OPERATION(SetAcquisitionMode, mode)
    if (mode != ACQ_MODE_STOP && mode != ACQ_MODE_SINGLE_SHOT) {
        return -EINVAL;
    }
    if (mode != _setup.acquisition) {
        _shutter.dropPulses(); // came while the sensor was deaf, or lie unfetched when it stops
    }
    _setup.acquisition = mode;
    return 0;
}

int SimulatedCamera::SetTriggerSource(eTriggerSource source, int imagesPerTrigger)
{
    OPERATION(SetTriggerSource, source, imagesPerTrigger)
    if ((source != TRIG_SRC_SOFTWARE && source != TRIG_SRC_EXTERNAL_E0) || imagesPerTrigger != 1) {
        return -EINVAL;
    }
    if (source != _setup.trigger) {
        _shutter.dropPulses();
    }
    _setup.trigger = source;
    return 0;
}

int SimulatedCamera::SetTriggerDelay(std::uint32_t microseconds)
{
    OPERATION(SetTriggerDelay, microseconds)
    return microseconds <= MAX_MICROSECONDS ? 0 : -EINVAL;
}

int SimulatedCamera::SetReadTimeout(std::uint32_t microseconds)
{
    OPERATION(SetReadTimeout, microseconds)
    _setup.readTimeout = std::chrono::microseconds(microseconds);
    return 0;
}

int SimulatedCamera::GetImage(FrameHandle* frame)
{
    OPERATION(GetImage)
    if (frame == nullptr) {
        return -EINVAL;
    }
    if (frame->pixels != nullptr) {
        return -EBUSY;
    }
    Frame* free = freeFrame();
    if (free == nullptr) {
        return -ENOMEM;
    }
    if (const int result = takeImage(); result < 0) {
        return result;
    }
    const Size size = _setup.window.size;
    const std::span<std::uint8_t> picture(free->pixels(), size.pixels());
    if (_setup.correction.on) {
        std::copy_n(_imageRam.data() + _setup.correction.offset, picture.size(), picture.data());
    } else {
        if (!exposeSensor(picture)) {
            return -EIO;
        }
        _setup.fpga.convert(picture, size.width, size.height);
    }
    _setup.fpga.filter(picture, size.width, size.height);
    free->held = true;
    frame->pixels = free->pixels();
    frame->number = _setup.imagesTaken;
    return 0;
}

int SimulatedCamera::ReleaseImage(FrameHandle* frame)
{
    OPERATION(ReleaseImage)
    if (frame == nullptr) {
        return -EINVAL;
    }
    for (Frame& own : _frames) {
        if (own.held && own.pixels() == frame->pixels) {
            own.held = false;
            *frame = {};
            return 0;
        }
    }
    return -EINVAL;
}

int SimulatedCamera::PurgeImages()
{
    OPERATION(PurgeImages)
    _shutter.dropPulses(); // the images of pulses are made when they are fetched
    return 0;
}

int SimulatedCamera::WriteImageRAM(const void* buffer, std::uint32_t offset, std::uint32_t size)
{
    OPERATION(WriteImageRAM, offset, size)
    if (_imageRam.empty()) {
        return -ENXIO;
    }
    if (buffer == nullptr || !fitsImageRam(offset, size)) {
        return -EINVAL;
    }
    if (reinterpret_cast<std::uintptr_t>(buffer) % RAM_ALIGNMENT != 0) {
        return -EFAULT;
    }
    std::memcpy(_imageRam.data() + offset, buffer, size);
    return 0;
}

int SimulatedCamera::SetupImageCorrection(bool on, eCorrection correction, std::uint32_t offset,
                                          std::uint32_t pixels, std::uint32_t bytesPerPixel)
{
    OPERATION(SetupImageCorrection, on, correction, offset, pixels, bytesPerPixel)
    if (correction != CORRECTION_REPLACE || bytesPerPixel != 1) {
        return -EINVAL;
    }
    if (!on) {
        _setup.correction = {};
        return 0;
    }
    if (_imageRam.empty()) {
        return -ENXIO;
    }
    if (pixels != _setup.window.size.pixels() || !fitsImageRam(offset, pixels)) {
        return -EINVAL;
    }
    _setup.correction = {true, offset};
    return 0;
}

int SimulatedCamera::SetFilter(eFilter filter, const void* parameters)
{
    // Only one filter has a record; for the others any address is one too many.
    std::optional<NeighbourhoodParameters> record;
    if (parameters != nullptr) {
        record.emplace();
        if (filter == FILTER_NEIGHBOURHOOD) {
            std::memcpy(&*record, parameters, sizeof *record);
        }
    }
    OPERATION(SetFilter, filter, record ? braced(*record) : text(0))
    return _setup.fpga.setFilter(filter, record ? &*record : nullptr);
}

int SimulatedCamera::SetBinarization(bool on, const BinarizationParameters* parameters)
{
    OPERATION(SetBinarization, on, parameters != nullptr ? braced(*parameters) : text(0))
    return _setup.fpga.setBinarization(on, parameters);
}

int SimulatedCamera::InitColor()
{
    OPERATION(InitColor)
    return _setup.fpga.initColor();
}

int SimulatedCamera::SetBayer2X(eBayerOutput output, eBayerPattern pattern)
{
    OPERATION(SetBayer2X, output, pattern)
    return _setup.fpga.setBayer(output, pattern);
}

int SimulatedCamera::GetImageToImageRAM(std::uint32_t offset)
{
    OPERATION(GetImageToImageRAM, offset)
    if (_imageRam.empty()) {
        return -ENXIO;
    }
    const std::size_t pixels = _setup.window.size.pixels();
    if (!fitsImageRam(offset, pixels)) {
        return -EINVAL;
    }
    if (const int result = takeImage(); result < 0) {
        return result;
    }
    return exposeSensor(std::span(_imageRam).subspan(offset, pixels)) ? 0 : -EIO;
}

int SimulatedCamera::SetImageRAMPictureSize(std::uint32_t width, std::uint32_t height)
{
    OPERATION(SetImageRAMPictureSize, width, height)
    if (width < 2 || height < 2 || width > static_cast<std::uint32_t>(_sensor.width) ||
        height > static_cast<std::uint32_t>(_sensor.height)) {
        return -EINVAL;
    }
    _setup.imageRamPicture = {static_cast<int>(width), static_cast<int>(height)};
    return 0;
}

int SimulatedCamera::ReadImageRAM(void* buffer, std::uint32_t offset, std::uint32_t size)
{
    OPERATION(ReadImageRAM, offset, size)
    const Size picture = _setup.imageRamPicture;
    if (_imageRam.empty() || picture.pixels() == 0) {
        return -ENXIO;
    }
    if (buffer == nullptr || size != picture.pixels() || !fitsImageRam(offset, size)) {
        return -EINVAL;
    }
    const std::span<std::uint8_t> out(static_cast<std::uint8_t*>(buffer), size);
    std::copy_n(_imageRam.data() + offset, size, out.data());
    _setup.fpga.convert(out, picture.width, picture.height);
    _setup.fpga.filter(out, picture.width, picture.height);
    return 0;
}

int SimulatedCamera::CancelWait()
{
    _shutter.cancel();
    return 0;
}

int SimulatedCamera::ResumeWait()
{
    _shutter.resume();
    return 0;
}

bool SimulatedCamera::framesHeld() const
{
    return std::any_of(_frames.begin(), _frames.end(),
                       [](const Frame& frame) { return frame.held; });
}

SimulatedCamera::Frame* SimulatedCamera::freeFrame()
{
    const auto found = std::find_if(_frames.begin(), _frames.end(),
                                    [](const Frame& frame) { return !frame.held; });
    return found == _frames.end() ? nullptr : &*found;
}

bool SimulatedCamera::fitsImageRam(std::uint64_t offset, std::uint64_t size) const
{
    return offset + size <= _imageRam.size();
}

int SimulatedCamera::takeImage()
{
    if (_setup.acquisition != ACQ_MODE_SINGLE_SHOT) {
        return -ENXIO;
    }
    const bool external = _setup.trigger == TRIG_SRC_EXTERNAL_E0;
    const int result = external ? _shutter.waitForPulse(_setup.readTimeout)
                                : _shutter.waitForRate(_setup.readTimeout);
    if (result == 0) {
        ++_setup.imagesTaken;
    }
    return result;
}

bool SimulatedCamera::exposeSensor(std::span<std::uint8_t> picture)
{
    const Window& window = _setup.window;
    if (window.size.pixels() == _sensor.pixels()) {
        return exposeFullSensor(picture);
    }
    _full.resize(_sensor.pixels());
    if (!exposeFullSensor(_full)) {
        return false;
    }
    for (int row = 0; row < window.size.height; ++row) {
        const std::uint8_t* from =
            _full.data() + std::ptrdiff_t{window.y + row} * _sensor.width + window.x;
        std::copy_n(from, window.size.width,
                    picture.data() + std::ptrdiff_t{row} * window.size.width);
    }
    return true;
}

bool SimulatedCamera::exposeFullSensor(std::span<std::uint8_t> picture)
{
    const std::uint32_t number = _setup.imagesTaken - 1;
    if (!_setup.fpga.colourSensor()) {
        return _pictures->grey(number, picture);
    }
    _rgb.resize(3 * _sensor.pixels());
    if (!_pictures->rgb(number, _rgb)) {
        return false;
    }
    mosaic(_rgb, _sensor.width, _sensor.height, picture);
    return true;
}

} // namespace OCamera::simulated
