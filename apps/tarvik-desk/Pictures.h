#pragma once

#include "image/Image.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What browsers get to see of an image.
namespace tarvik::desk {

enum class PictureKind : std::uint8_t
{
    Original, ///< grey, or colours
    Binary,   ///< foreground white
    Hue,
    Saturation,
    Value,
};

inline constexpr std::size_t PICTURE_KINDS = 5;

[[nodiscard]] const char* pictureName(PictureKind kind);
/// "original", "binary", "hue", "saturation", "value"; nothing for another word.
[[nodiscard]] std::optional<PictureKind> pictureKind(std::string_view name);

/// A picture of one or three interleaved channels as browsers show it. The single channels of a
/// grey picture are that picture.
[[nodiscard]] image::Image shown(const image::Image& original, const image::Image& binary,
                                 PictureKind kind);

/// Throws Exception when the library refuses.
[[nodiscard]] std::string encodeJpeg(const image::Image& picture);
[[nodiscard]] std::string encodePng(const image::Image& picture);

[[nodiscard]] std::string base64(std::string_view bytes);

/// How many pixels have each of the 256 values.
struct Histogram
{
    std::string channel; ///< "grey", "hue", "saturation", "value"
    std::array<std::uint32_t, 256> counts{};
};

/// One for a grey picture, three for planes of hue, saturation and value.
[[nodiscard]] std::vector<Histogram> histograms(const image::Image& original);

} // namespace tarvik::desk
