#pragma once

#include "ocamera/simulated/Settings.h"

#include <cstdint>
#include <memory>
#include <span>

namespace OCamera::simulated {

/// What lies before the lens: a picture for every image that the sensor takes.
///
/// Threads: one at a time per object.
class Pictures
{
public:
    Pictures() = default;
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;
    Pictures(Pictures&&) = delete;
    Pictures& operator=(Pictures&&) = delete;
    virtual ~Pictures() = default;

    /// Draws the picture with this number as a grey sensor sees it. False: it could not be read;
    /// why has been said on standard error.
    [[nodiscard]] virtual bool grey(std::uint32_t number, std::span<std::uint8_t> picture) = 0;

    /// As a colour sensor sees it: red, green, blue of each pixel in turn.
    [[nodiscard]] virtual bool rgb(std::uint32_t number, std::span<std::uint8_t> picture) = 0;
};

/// The pictures that the settings name, at the sensor's size. Null: they cannot be read; why, and
/// what to do, has been said on standard error.
[[nodiscard]] std::unique_ptr<Pictures> openPictures(const Settings& settings, int width,
                                                     int height);

} // namespace OCamera::simulated
