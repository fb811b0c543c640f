#pragma once

#include "image/Image.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace tarvik::test {

/// How a drawn part lies: the pixel of its reference point, and degrees from +x towards +y.
struct Pose
{
    double x = 320;
    double y = 240;
    double degrees = 0;
};

/// Bright on dark, for the default thresholds.
inline image::Image emptyPicture(std::uint16_t width = 640, std::uint16_t height = 480)
{
    image::Image picture(width, height);
    std::fill_n(picture.data(), picture.byteCount(), std::uint8_t{40});
    return picture;
}

/// Draws every pixel for which inside(u, v) holds in the part's own axes, in pixels.
template <class Inside>
void draw(image::Image& picture, const Pose& pose, Inside inside)
{
    const double a = pose.degrees * std::numbers::pi / 180;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const double dx = x - pose.x;
            const double dy = y - pose.y;
            if (inside(dx * std::cos(a) + dy * std::sin(a), dy * std::cos(a) - dx * std::sin(a))) {
                picture.data()[y * picture.width() + x] = 220;
            }
        }
    }
}

/// A flag: a long foot, a block at one end of it, and a hole in the block.
inline void drawFlag(image::Image& picture, const Pose& pose)
{
    draw(picture, pose, [](double u, double v) {
        const bool foot = std::abs(v) < 12 && u > -70 && u < 70;
        const bool block = u > 20 && u < 70 && v > -60 && v < 12;
        const bool hole = std::hypot(u - 45, v + 30) < 12;
        return (foot || block) && !hole;
    });
}

inline void drawDisc(image::Image& picture, const Pose& pose)
{
    draw(picture, pose, [](double u, double v) { return std::hypot(u, v) < 40; });
}

inline image::Image flagPicture(const Pose& pose = {}, std::uint16_t width = 640)
{
    image::Image picture = emptyPicture(width);
    drawFlag(picture, pose);
    return picture;
}

inline image::Image discPicture()
{
    image::Image picture = emptyPicture();
    drawDisc(picture, {});
    return picture;
}

} // namespace tarvik::test
