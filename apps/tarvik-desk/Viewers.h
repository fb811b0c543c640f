#pragma once

#include "Bulletin.h"
#include "CameraLink.h"
#include "Pictures.h"
#include "core/concurrent/Mutex.h"

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvik::desk {

class Desk;

/// What one browser wants to be told.
struct ViewerWish
{
    std::vector<PictureKind> pictures;
    bool results = false;   ///< objects of every image shown
    bool histogram = false; ///< of every image shown
    double rate = 30;       ///< images per second at most
};

/// The browsers that are being told of events; at most so many, since each keeps a thread busy.
/// The pictures that at least one of them looks at are asked of the camera, no others.
///
/// Threads: any.
class Viewers
{
public:
    static constexpr std::size_t MOST = 8;

    explicit Viewers(CameraLink& link) : _link(link) {}

    /// A place, given back when the last copy goes; null when all are taken.
    [[nodiscard]] std::shared_ptr<void> enter(const ViewerWish& wish);

    [[nodiscard]] std::size_t count() const;

private:
    void leave(std::list<PictureWish>::iterator place);
    void passOn() TARVIK_REQUIRES(_mutex);

    CameraLink& _link;
    /// Lock order: this, then the link's leaf.
    mutable concurrent::Mutex _mutex;
    std::list<PictureWish> _wishes TARVIK_GUARDED_BY(_mutex);
};

/// Writes one browser's events: "state", "image", "log", "settings", "templates". Between two
/// writes it may fall behind as far as it likes; it then goes on with the latest image.
///
/// Threads: the browser's own.
class EventWriter
{
public:
    EventWriter(Desk& desk, Viewers& viewers, ViewerWish wish);

    /// Waits for something new and returns the text of its events; the state at least once a
    /// second, so that a browser that has gone is noticed. Empty: the desk closes.
    [[nodiscard]] std::string next();

private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] News await();
    [[nodiscard]] std::string newsSince(const News& news);
    [[nodiscard]] bool wantsImages() const;
    [[nodiscard]] bool imageIsDue(const News& news) const;
    [[nodiscard]] std::string imageEvent();
    [[nodiscard]] std::string stateEvent();
    [[nodiscard]] std::string logEvent();

    Desk& _desk;
    Viewers& _viewers;
    const ViewerWish _wish;

    struct Seen
    {
        std::uint64_t image = 0;
        std::uint64_t state = 0;
        std::uint64_t log = 0;
        std::optional<std::uint64_t> settings;
        std::optional<std::uint64_t> templates;
        std::uint64_t logNumber = 0;
    } _seen;

    bool _first = true;
    Clock::time_point _imageDue;
    Clock::time_point _stateDue;
};

} // namespace tarvik::desk
