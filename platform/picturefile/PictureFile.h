#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Pictures in files, by libraries that are trusted with whatever a file holds.
namespace picturefile {

/// One byte per pixel, or red, green, blue of each.
struct DecodedPicture
{
    int width = 0;
    int height = 0;
    int channels = 1; ///< 1 or 3
    std::vector<std::uint8_t> pixels;
};

/// The most pixels that fit what a file may ask for, 48 MB.
inline constexpr std::int64_t MOST_PIXELS = std::int64_t{16} << 20U;

/// Reads a PNG, JPEG, PGM or PPM file of at most so many pixels. `why` says what is wrong when
/// nothing is returned.
[[nodiscard]] std::optional<DecodedPicture> decode(const std::filesystem::path& file,
                                                   std::int64_t maxPixels, std::string& why);

/// Brings interleaved pixels to another size, smoothly.
void resize(const std::uint8_t* from, int width, int height, std::uint8_t* to, int newWidth,
            int newHeight, int channels);

[[nodiscard]] DecodedPicture scaled(const DecodedPicture& picture, int width, int height);

} // namespace picturefile
