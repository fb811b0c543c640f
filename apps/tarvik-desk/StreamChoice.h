#pragma once

#include "protocol/StreamingSettings.h"

#include <chrono>
#include <optional>

namespace tarvik::desk {

/// What somebody wants to look at.
struct PictureWish
{
    bool original = false;
    bool binary = false;

    friend bool operator==(const PictureWish&, const PictureWish&) = default;
};

/// Decides what the camera's results should carry: of a camera as quick as people look, everything
/// wished for; of a quicker one everything some thirty times a second and matchings alone in
/// between, so that looking costs the camera next to nothing.
///
/// Threads: one at a time.
class StreamChoice
{
public:
    using Clock = std::chrono::steady_clock;

    /// What to begin a connection with.
    [[nodiscard]] com::StreamingSettings start(PictureWish wish);

    /// After each result: whether it is one to show.
    [[nodiscard]] bool shows(const com::StreamingSettings& arrived) const { return arrived.frame; }

    /// After each result: what to ask for from now on, if that is something else than before.
    [[nodiscard]] std::optional<com::StreamingSettings>
    next(const com::StreamingSettings& arrived, PictureWish wish, Clock::time_point now);

    [[nodiscard]] double imagesPerSecond() const { return _interval > 0 ? 1 / _interval : 0; }

private:
    void measure(Clock::time_point now);

    com::StreamingSettings _asked;
    int _unlike = 0; ///< results in a row that are not as asked for
    Clock::time_point _lastResult;
    Clock::time_point _lastShown;
    double _interval = 0; ///< seconds, smoothed over about one
    int _intervals = 0;   ///< so far; the first ones are averaged
};

} // namespace tarvik::desk
