#pragma once

#include "camera/CameraConfiguration.h"
#include "camera/CameraFactory.h"
#include "chain/Events.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "core/concurrent/WakeUp.h"
#include "core/logging/Logging.h"
#include "core/serialization/Fields.h"
#include "core/util/Observable.h"
#include "image/Image.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace tarvik::camera {

class CameraImpl;

/// Takes images on a thread of its own and publishes each as an ImageEvent on that thread.
///
/// The driver belongs to the acquisition thread while that runs, so nobody waits for a wait for an
/// image: settings and test images are queued, end that wait at once, and act on the next image
/// delivered (or, when they come faster than images, one of the next); queries answer from a copy
/// of what the driver last reported.
///
/// Threads: any, with two exceptions. close() waits for the acquisition thread, so its caller must
/// not hold a lock that a listener or the hook below takes, nor be a listener. open(), and
/// setConfig() while closed, talk to the sensor and may take a second. Everything else returns at
/// once and may be called under any lock.
///
/// A round that fails is logged and followed by a pause of 1 s; acquisition goes on after it. When
/// image after image fails, other than by a trigger that does not come, the sensor is opened anew:
/// it may have lost its settings.
class Camera : public util::Observable<ImageEvent>,
               public concurrent::Thread,
               private logging::Logging
{
public:
    Camera();
    ~Camera() override;

    /// Opens the configured model, or the default model with its defaults for null, and starts
    /// acquisition. Throws CameraException; the camera then stays closed and may be opened again.
    void open(const CameraConfiguration* config);

    /// Ends acquisition, within milliseconds unless a listener takes longer, and lets the sensor
    /// go. Does nothing when the camera is not open.
    void close();

    /// False also while a model that could not be opened after a change is tried again.
    [[nodiscard]] bool isOpen() const;

    /// What the driver works with, not what is still queued.
    /// Throws CameraException "Camera not open.".
    [[nodiscard]] CameraConfiguration config() const;

    /// What was asked for last, be it in use, queued or refused by a sensor that does not open:
    /// what to store. The defaults at first.
    [[nodiscard]] CameraConfiguration latestConfig() const;

    /// Queues the configuration, or opens a closed camera with it. Another model is opened between
    /// two images and tried again every second when that fails. A change that the sensor refuses
    /// is logged and undone as a whole.
    /// Throws CameraException when a closed camera cannot be opened.
    void setConfig(const CameraConfiguration& config);

    /// Queues a copy of a test image, to take the sensor's place, or null for the sensor again.
    /// Returns the source id that its ImageEvents will have: 0 to 63, -1 for the sensor.
    /// An image that does not fit is refused when its turn comes, with a warning in the log.
    std::int8_t setSource(const image::Image* image);

    /// Calls `noted` with the id before any image can be delivered under it. It runs under the
    /// camera's lock, so it may take only locks under which nobody calls the camera.
    std::int8_t setSource(const image::Image* image, const std::function<void(std::int8_t)>& noted);

    /// Whether a test image is in place of the sensor, not counting a queued one.
    /// Throws CameraException "Camera not open.".
    [[nodiscard]] bool sourceOverridden() const;

    /// Sensor size in pixels. Throw CameraException "Camera not open.".
    [[nodiscard]] std::uint16_t imageWidth() const;
    [[nodiscard]] std::uint16_t imageHeight() const;

    /// Queues the wish for original images beside the binary ones. It outlives the driver, so it is
    /// noted also when this throws CameraException "Camera not open.".
    void update(bool originalImageNeeded);

    /// Called on the acquisition thread, under no lock, before a queued test image takes its turn;
    /// an update() made in it acts together with that image. Set it while the camera is closed.
    void setBeforeSourceChange(std::function<void()> hook);

    /// The acquisition loop.
    void run() override;

    /// Decoding applies the configuration once it is complete.
    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    using Driver = std::unique_ptr<CameraImpl, DriverDeleter>;

    /// What the driver last said about itself.
    struct Report
    {
        CameraConfiguration config;
        std::uint16_t width = 0;
        std::uint16_t height = 0;
        bool sourceOverridden = false;
    };

    struct Picture
    {
        image::Image* original = nullptr;
        image::Image* binary = nullptr;
        std::int8_t sourceId = -1;
    };

    [[nodiscard]] bool queueConfig(const CameraConfiguration& config);
    void wakeAcquisition() TARVIK_REQUIRES(_mutex);
    [[nodiscard]] bool changesPending() const TARVIK_REQUIRES(_mutex);
    [[nodiscard]] bool changesFirst() TARVIK_REQUIRES(_mutex);
    [[nodiscard]] const Report& report() const TARVIK_REQUIRES(_mutex);

    [[nodiscard]] Driver openedDriver(const CameraConfiguration* config);
    void publishReport();

    void acquireAndPublish();
    void applyChanges();
    void applyConfig();
    void changeModel(const CameraConfiguration& wanted);
    void changeSettings(const CameraConfiguration& wanted);
    void undoSettings(const CameraConfiguration& before);
    void closeDriver();
    void applyUpdate();
    void applySource();
    [[nodiscard]] std::optional<Picture> fetch();
    void noteFailedFetch();
    void beginAnew();
    [[nodiscard]] bool beginFetch();
    [[nodiscard]] std::optional<std::int8_t> endFetch();

    /// Held by whoever opens or closes the camera, so that a second one waits; the acquisition
    /// thread and callers of a camera in use never take it. Lock order: this, then _mutex.
    concurrent::Mutex _openMutex;

    /// Belongs to the acquisition thread while that runs, else to open() and close(). Null in a
    /// running camera whose new model does not open.
    Driver _driver;
    int _failedFetches = 0;                    ///< in a row; acquisition thread
    std::function<void()> _beforeSourceChange; ///< constant while the camera is open
    image::Image _sourceImage;                 ///< of the change in progress; acquisition thread
    image::Image _noImage;                     ///< what listeners get for an absent original

    /// Ends the pauses of the acquisition thread. Set under _mutex by each request, cleared when
    /// it is taken up, and left set by close().
    concurrent::WakeUp _wake;
    std::atomic<bool> _running{false}; ///< written under _mutex

    /// Guards what follows and is held for a few instructions, or the copying of a test image;
    /// after it only the leaf lock of a `noted`.
    mutable concurrent::Mutex _mutex;
    bool _inUse TARVIK_GUARDED_BY(_mutex) = false; ///< from open() to the end of close()
    std::optional<Report> _report TARVIK_GUARDED_BY(_mutex);
    /// The driver while it may wait for an image.
    CameraImpl* _fetching TARVIK_GUARDED_BY(_mutex) = nullptr;
    bool _waitCancelled TARVIK_GUARDED_BY(_mutex) = false;
    int _postponed TARVIK_GUARDED_BY(_mutex) = 0; ///< rounds in a row that gave way to changes

    CameraConfiguration _wantedConfig TARVIK_GUARDED_BY(_mutex);
    bool _configChanged TARVIK_GUARDED_BY(_mutex) = false;

    bool _originalImageNeeded TARVIK_GUARDED_BY(_mutex) = false;
    bool _updatePending TARVIK_GUARDED_BY(_mutex) = false;

    image::Image _pendingImage TARVIK_GUARDED_BY(_mutex); ///< unused when the id is -1
    bool _sourceChanged TARVIK_GUARDED_BY(_mutex) = false;
    std::int8_t _pendingSourceId TARVIK_GUARDED_BY(_mutex) = -1;
    std::int8_t _sourceId TARVIK_GUARDED_BY(_mutex) = -1; ///< of the images being taken
    /// The next test image gets the one after this: _sourceId, or that of the change in progress.
    std::int8_t _lastSourceId TARVIK_GUARDED_BY(_mutex) = -1;
};

template <class S, class Self>
void Camera::serialize(S& s, Self& self)
{
    using io::serialization::field;
    if constexpr (S::isEncoder()) {
        const CameraConfiguration config = self.latestConfig();
        s& field("Configuration", config);
    } else {
        CameraConfiguration config;
        s& field("Configuration", config);
        self.setConfig(config);
    }
}

} // namespace tarvik::camera
