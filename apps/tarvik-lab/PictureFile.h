#pragma once

#include "core/Exception.h"
#include "image/Image.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Pictures in files: PNG, JPEG, PGM and PPM in, PNG out.
namespace tarvik::lab {

/// A file that is no readable picture, or that cannot be written; the text names it.
class PictureException : public Exception
{
public:
    using Exception::Exception;
};

/// The files named, and in place of a folder the pictures in it in the order of their names.
/// Throws PictureException for a name that is neither, and for a folder without pictures.
[[nodiscard]] std::vector<std::filesystem::path>
pictureFiles(const std::vector<std::string>& filesAndFolders);

/// One channel of grey, or red, green and blue interleaved.
[[nodiscard]] image::Image readPicture(const std::filesystem::path& file);

/// Takes pictures of the same two kinds.
void writePng(const std::filesystem::path& file, const image::Image& picture);

[[nodiscard]] image::Image scaled(const image::Image& picture, std::uint16_t width,
                                  std::uint16_t height);

/// Luma of a colour picture; a grey one as it is.
[[nodiscard]] image::Image toGrey(const image::Image& picture);
/// A grey picture with three equal channels; a colour one as it is.
[[nodiscard]] image::Image toRgb(const image::Image& picture);
/// Planes of hue, saturation and value, 256 steps each, as colour cameras want their test images.
[[nodiscard]] image::Image toHsv(const image::Image& picture);

} // namespace tarvik::lab
