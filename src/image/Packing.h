#pragma once

#include "image/ByteWindow.h"
#include "image/Words.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::image {

/// Thresholds pixels and packs them to one bit each, the first into the lowest bit of the first
/// word. The bits behind the last pixel become 0. words holds one word for each 32 pixels begun.
void pack(std::span<const std::uint8_t> pixels, ByteWindow window, std::uint32_t* words);

/// The same a word at a time.
class WordPacker
{
public:
    explicit WordPacker(ByteWindow window) : _window(window), _test(window) {}

    /// Of 32 pixels.
    [[nodiscard]] std::uint32_t pack(const std::uint8_t* pixels) const;
    /// Of the last, fewer than 32 pixels.
    [[nodiscard]] std::uint32_t packTail(const std::uint8_t* pixels, std::size_t count) const;

private:
    ByteWindow _window;
    words::WindowTest _test; ///< for processors without byte vectors
};

} // namespace tarvik::image
