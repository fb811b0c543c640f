#pragma once

#include "image/Image.h"

#include <string>
#include <vector>

namespace tarvik::bench {

/// A grey picture that both sides are given; a threshold of 128 separates parts and belt.
struct Picture
{
    std::string name;
    image::Image grey;
};

/// Parts, parts in noise, and the pictures that cost most: the same bytes on every machine.
enum class Content
{
    Parts8,
    Parts25,
    NoisyParts, ///< 10 parts, one pixel in 50 inverted
    Blank,
    Random,       ///< half of the pixels bright
    Checkerboard, ///< fields of one pixel
};

[[nodiscard]] Picture makePicture(Content content, int width, int height);

/// Pictures of 25 parts each, turned otherwise than in makePicture(), to take templates from.
[[nodiscard]] std::vector<Picture> teachingPictures();

} // namespace tarvik::bench
