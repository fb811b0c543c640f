#include "camera/Camera.h"

#include "camera/CameraException.h"
#include "camera/CameraImpl.h"

#include <exception>
#include <string>
#include <utility>

namespace tarvik::camera {

using concurrent::MutexLock;
using logging::LogLevel;

namespace {

constexpr int NO_IMAGE_PAUSE_MS = 100;
constexpr int FAILURE_PAUSE_MS = 1000;
constexpr int SOURCE_IDS = 64;
/// Images that fail in a row before the sensor is opened anew: with the pauses, 2 s.
constexpr int MAX_FAILED_FETCHES = 3;
/// Rounds in a row that give way to changes instead of delivering an image.
constexpr int MAX_POSTPONED = 3;

} // namespace

Camera::Camera() : Logging("Camera") {}

Camera::~Camera()
{
    close();
}

void Camera::open(const CameraConfiguration* config)
{
    const MutexLock openLock(_openMutex);
    {
        const MutexLock lock(_mutex);
        if (_inUse) {
            throw CameraException("Camera already open.");
        }
        if (config != nullptr) {
            _wantedConfig = *config; // also when it does not open: it is what was asked for
        }
    }
    _driver = openedDriver(config);
    publishReport();
    {
        const MutexLock lock(_mutex);
        _wantedConfig = _driver->config();
        _inUse = true;
        _running = true;
        _wake.clear();
    }
    const std::string model = _driver->config().implementation()->name();
    try {
        start();
    } catch (...) {
        close();
        throw;
    }
    log(LogLevel::Info, "Camera \"" + model + "\" opened.");
}

void Camera::close()
{
    const MutexLock openLock(_openMutex);
    bool wasRunning = false;
    {
        const MutexLock lock(_mutex);
        wasRunning = _running.exchange(false);
        wakeAcquisition();
    }
    join();
    if (!wasRunning) {
        return;
    }
    closeDriver();
    {
        const MutexLock lock(_mutex);
        _report.reset();
        _configChanged = false;
        _sourceChanged = false;
        _inUse = false;
    }
    log(LogLevel::Info, "Camera closed.");
}

bool Camera::isOpen() const
{
    const MutexLock lock(_mutex);
    return _report.has_value();
}

CameraConfiguration Camera::config() const
{
    const MutexLock lock(_mutex);
    return report().config;
}

CameraConfiguration Camera::latestConfig() const
{
    const MutexLock lock(_mutex);
    return _wantedConfig;
}

void Camera::setConfig(const CameraConfiguration& config)
{
    if (queueConfig(config)) {
        return;
    }
    const MutexLock openLock(_openMutex);
    if (!queueConfig(config)) { // nobody else has opened it meanwhile
        open(&config);
    }
}

std::int8_t Camera::setSource(const image::Image* image)
{
    return setSource(image, nullptr);
}

std::int8_t Camera::setSource(const image::Image* image,
                              const std::function<void(std::int8_t)>& noted)
{
    const MutexLock lock(_mutex);
    if (image != nullptr) {
        _pendingImage = *image;
        _pendingSourceId = static_cast<std::int8_t>((_lastSourceId + 1) % SOURCE_IDS);
    } else {
        _pendingSourceId = -1;
    }
    _sourceChanged = true;
    if (noted) {
        noted(_pendingSourceId);
    }
    wakeAcquisition();
    return _pendingSourceId;
}

bool Camera::sourceOverridden() const
{
    const MutexLock lock(_mutex);
    return report().sourceOverridden;
}

std::uint16_t Camera::imageWidth() const
{
    const MutexLock lock(_mutex);
    return report().width;
}

std::uint16_t Camera::imageHeight() const
{
    const MutexLock lock(_mutex);
    return report().height;
}

void Camera::update(bool originalImageNeeded)
{
    const MutexLock lock(_mutex);
    if (_originalImageNeeded != originalImageNeeded) {
        _originalImageNeeded = originalImageNeeded;
        _updatePending = true;
        wakeAcquisition();
    }
    static_cast<void>(report());
}

void Camera::setBeforeSourceChange(std::function<void()> hook)
{
    _beforeSourceChange = std::move(hook);
}

void Camera::run()
{
    while (_running) {
        try {
            acquireAndPublish();
        } catch (const std::exception& e) {
            if (_running) {
                log(LogLevel::Warning, e.what());
                static_cast<void>(_wake.wait(FAILURE_PAUSE_MS));
            }
        }
        yield();
    }
}

// What follows up to report() is for any thread.

bool Camera::queueConfig(const CameraConfiguration& config)
{
    const MutexLock lock(_mutex);
    if (!_inUse) {
        return false;
    }
    _wantedConfig = config;
    _configChanged = true;
    wakeAcquisition();
    return true;
}

void Camera::wakeAcquisition()
{
    _wake.set();
    if (_fetching != nullptr) {
        _waitCancelled = true;
        _fetching->cancelWait();
    }
}

bool Camera::changesPending() const
{
    return _configChanged || _updatePending || _sourceChanged;
}

/// As a rule; but whoever keeps changing things must not keep everybody else from images.
bool Camera::changesFirst()
{
    if (!changesPending() || _postponed >= MAX_POSTPONED) {
        return false;
    }
    ++_postponed;
    return true;
}

const Camera::Report& Camera::report() const
{
    if (!_report) {
        throw CameraException("Camera not open.");
    }
    return *_report;
}

// What follows is for the thread that the driver belongs to.

Camera::Driver Camera::openedDriver(const CameraConfiguration* config)
{
    Driver driver(
        CameraFactory::instance().create(config == nullptr ? nullptr : config->implementation()));
    if (driver == nullptr) {
        throw CameraException("Could not instanciate camera.");
    }
    if (config != nullptr) {
        driver->setConfig(*config);
    }
    bool originalImageNeeded = false;
    {
        const MutexLock lock(_mutex);
        originalImageNeeded = _originalImageNeeded;
        _updatePending = false;
    }
    driver->update(originalImageNeeded);
    driver->open();
    return driver;
}

void Camera::publishReport()
{
    const Report report{.config = _driver->config(),
                        .width = _driver->imageWidth(),
                        .height = _driver->imageHeight(),
                        .sourceOverridden = _driver->sourceOverridden()};
    const MutexLock lock(_mutex);
    _report = report;
}

void Camera::acquireAndPublish()
{
    applyChanges();
    const std::optional<Picture> picture = fetch();
    if (!picture) {
        static_cast<void>(_wake.wait(NO_IMAGE_PAUSE_MS));
        return;
    }
    ImageEvent event{.source = this,
                     .originalImage = picture->original,
                     .binaryImage = picture->binary,
                     .sourceId = picture->sourceId};
    if (event.originalImage == nullptr) {
        event.originalImage = &_noImage;
    }
    try {
        notify(event);
    } catch (...) {
        _driver->releaseImage();
        throw;
    }
    _driver->releaseImage();
}

void Camera::applyChanges()
{
    {
        const MutexLock lock(_mutex);
        if (!changesPending()) {
            return;
        }
        if (_running) {
            _wake.clear();
        }
    }
    applyConfig();
    applyUpdate();
    applySource();
}

void Camera::applyConfig()
{
    CameraConfiguration wanted;
    {
        const MutexLock lock(_mutex);
        if (!_configChanged) {
            return;
        }
        wanted = _wantedConfig;
        _configChanged = false;
    }
    if (_driver != nullptr && wanted.implementation() == _driver->config().implementation()) {
        changeSettings(wanted);
    } else {
        changeModel(wanted);
    }
    publishReport();
    log(LogLevel::Info, "Config changed.");
}

void Camera::changeModel(const CameraConfiguration& wanted)
{
    closeDriver();
    try {
        _driver = openedDriver(&wanted);
    } catch (...) {
        beginAnew();
        throw;
    }
}

void Camera::changeSettings(const CameraConfiguration& wanted)
{
    const CameraConfiguration before = _driver->config();
    try {
        _driver->setConfig(wanted);
    } catch (...) {
        undoSettings(before);
        throw;
    }
}

void Camera::undoSettings(const CameraConfiguration& before)
{
    {
        const MutexLock lock(_mutex);
        if (!_configChanged) { // else a newer one is waiting already
            _wantedConfig = before;
        }
    }
    try {
        _driver->setConfig(before);
    } catch (const std::exception& e) {
        // Nobody knows what the sensor does now.
        log(LogLevel::Warning, e.what());
        beginAnew();
    }
}

/// Lets the sensor go; the next round opens it with what is wanted then.
void Camera::beginAnew()
{
    closeDriver();
    const MutexLock lock(_mutex);
    _report.reset();
    _configChanged = true;
}

void Camera::closeDriver()
{
    if (_driver != nullptr) {
        try {
            _driver->close();
        } catch (const std::exception& e) {
            log(LogLevel::Warning, e.what());
        }
        _driver.reset();
    }
    // A test image goes with the driver that shows it.
    const MutexLock lock(_mutex);
    _sourceId = -1;
    _lastSourceId = -1;
}

void Camera::applyUpdate()
{
    bool originalImageNeeded = false;
    {
        const MutexLock lock(_mutex);
        if (!_updatePending) {
            return;
        }
        _updatePending = false;
        originalImageNeeded = _originalImageNeeded;
    }
    try {
        _driver->update(originalImageNeeded);
    } catch (...) {
        const MutexLock lock(_mutex);
        _updatePending = true; // or images would be taken for what they are not
        throw;
    }
}

void Camera::applySource()
{
    {
        const MutexLock lock(_mutex);
        if (!_sourceChanged) {
            return;
        }
    }
    if (_beforeSourceChange) {
        _beforeSourceChange();
        applyUpdate();
    }
    std::int8_t sourceId = -1;
    {
        const MutexLock lock(_mutex);
        _sourceChanged = false;
        sourceId = _pendingSourceId;
        _lastSourceId = sourceId;
        if (sourceId >= 0) {
            std::swap(_sourceImage, _pendingImage);
        }
    }
    try {
        _driver->setSource(sourceId >= 0 ? &_sourceImage : nullptr);
        const MutexLock lock(_mutex);
        _sourceId = sourceId;
    } catch (const std::exception& e) {
        log(LogLevel::Warning, std::string("Could not override image source: ") + e.what());
        const MutexLock lock(_mutex);
        _lastSourceId = _sourceId;
    }
    publishReport();
}

std::optional<Camera::Picture> Camera::fetch()
{
    if (!beginFetch()) {
        return std::nullopt;
    }
    Picture picture;
    try {
        _driver->getImages(&picture.original, &picture.binary);
    } catch (const CameraTimeout&) {
        static_cast<void>(endFetch());
        throw;
    } catch (...) {
        static_cast<void>(endFetch());
        noteFailedFetch();
        throw;
    }
    const std::optional<std::int8_t> sourceId = endFetch();
    if (picture.binary == nullptr) {
        return std::nullopt;
    }
    _failedFetches = 0;
    if (!sourceId) {
        _driver->releaseImage();
        return std::nullopt;
    }
    picture.sourceId = *sourceId;
    return picture;
}

void Camera::noteFailedFetch()
{
    if (++_failedFetches == MAX_FAILED_FETCHES) {
        _failedFetches = 0;
        log(LogLevel::Warning, "No image: opening the camera anew.");
        beginAnew();
    }
}

/// False when there is something else to do first.
bool Camera::beginFetch()
{
    const MutexLock lock(_mutex);
    if (!_running || changesFirst()) {
        return false;
    }
    if (_waitCancelled) {
        _driver->resumeWait();
        _waitCancelled = false;
    }
    _fetching = _driver.get();
    return true;
}

/// Source id of the image just taken; none when it must not be delivered, because settings that
/// were queued meanwhile act from the next image on.
std::optional<std::int8_t> Camera::endFetch()
{
    const MutexLock lock(_mutex);
    _fetching = nullptr;
    if (!_running || changesFirst()) {
        return std::nullopt;
    }
    _postponed = 0;
    return _sourceId;
}

} // namespace tarvik::camera
