#pragma once

#include "image/ByteWindow.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::image {

/// Thresholds pixels and packs them to one bit each, the first into the lowest bit of the first
/// word. The bits behind the last pixel become 0. words holds one word for each 32 pixels begun.
void pack(std::span<const std::uint8_t> pixels, ByteWindow window, std::uint32_t* words);

} // namespace tarvik::image
