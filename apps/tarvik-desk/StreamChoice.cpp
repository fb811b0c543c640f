#include "StreamChoice.h"

#include <algorithm>

namespace tarvik::desk {

namespace {

/// Images a second above which only samples are looked at.
constexpr double QUICK = 45;
constexpr std::chrono::milliseconds BETWEEN_SAMPLES{31};

/// So many results may still follow an older wish; more, and the wish has got lost.
constexpr int UNDER_WAY = 20;

com::StreamingSettings everything(PictureWish wish)
{
    return {.originalImage = wish.original,
            .binarizedImage = wish.binary,
            .frame = true,
            .matchings = true};
}

constexpr com::StreamingSettings LITTLE{.matchings = true};

} // namespace

com::StreamingSettings StreamChoice::start(PictureWish wish)
{
    *this = {};
    _asked = everything(wish);
    return _asked;
}

std::optional<com::StreamingSettings> StreamChoice::next(const com::StreamingSettings& arrived,
                                                         PictureWish wish, Clock::time_point now)
{
    measure(now);
    const bool quick = imagesPerSecond() > QUICK;
    if (shows(arrived)) {
        _lastShown = now;
    }
    const bool enough = quick && now - _lastShown < BETWEEN_SAMPLES;
    const com::StreamingSettings wanted = enough ? LITTLE : everything(wish);
    _unlike = arrived == _asked ? 0 : _unlike + 1;
    if (wanted == _asked && _unlike < UNDER_WAY) {
        return std::nullopt;
    }
    _asked = wanted;
    _unlike = 0;
    return wanted;
}

void StreamChoice::measure(Clock::time_point now)
{
    if (_lastResult != Clock::time_point()) {
        const double seconds = std::chrono::duration<double>(now - _lastResult).count();
        constexpr int FIRST = 20;
        _intervals = std::min(_intervals + 1, FIRST);
        const double first = _intervals < FIRST ? 1.0 / _intervals : 0;
        const double weight = std::clamp(std::max(seconds, first), 0.0, 1.0);
        _interval += weight * (seconds - _interval);
    }
    _lastResult = now;
}

} // namespace tarvik::desk
