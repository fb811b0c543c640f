#include "PictureFile.h"

#include "picturefile/PictureFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>
#include <system_error>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#pragma GCC diagnostic ignored "-Wextra"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace tarvik::lab {

using image::ColorSpace;
using image::Format;
using image::Image;

namespace fs = std::filesystem;

namespace {

constexpr int MAX_SIDE = 65535; // of the Image format

bool looksLikePicture(const fs::path& file)
{
    static constexpr std::array<const char*, 5> ENDINGS{".png", ".jpg", ".jpeg", ".pgm", ".ppm"};
    std::string ending = file.extension().string();
    std::ranges::transform(ending, ending.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::ranges::find(ENDINGS, ending) != ENDINGS.end();
}

void appendFolder(const fs::path& folder, std::vector<fs::path>& files)
{
    const auto first = static_cast<std::ptrdiff_t>(files.size());
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file() && looksLikePicture(entry.path())) {
            files.push_back(entry.path());
        }
    }
    if (first == static_cast<std::ptrdiff_t>(files.size())) {
        throw PictureException("Folder '" + folder.string() +
                               "' holds no pictures (.png, .jpg, .jpeg, .pgm, .ppm).");
    }
    std::sort(files.begin() + first, files.end());
}

Image make(int width, int height, int channels)
{
    const auto w = static_cast<std::uint16_t>(width);
    const auto h = static_cast<std::uint16_t>(height);
    return channels == 1 ? Image(w, h) : Image(w, h, 3, Format::Interleaved, ColorSpace::RGB);
}

struct Rgb
{
    int red;
    int green;
    int blue;
};

/// Hue counts 256 steps from red over green and blue back to red.
std::array<std::uint8_t, 3> hsv(const Rgb& c)
{
    const int max = std::max({c.red, c.green, c.blue});
    const int range = max - std::min({c.red, c.green, c.blue});
    if (range == 0) {
        return {0, 0, static_cast<std::uint8_t>(max)};
    }
    int sixths = c.green - c.blue;
    if (max != c.red) {
        sixths = max == c.green ? 2 * range + c.blue - c.red : 4 * range + c.red - c.green;
    }
    const int circle = 6 * range;
    const int hue = ((sixths + circle) * 256 + circle / 2) / circle % 256;
    const int saturation = (255 * range + max / 2) / max;
    return {static_cast<std::uint8_t>(hue), static_cast<std::uint8_t>(saturation),
            static_cast<std::uint8_t>(max)};
}

Rgb pixel(const Image& rgb, std::size_t index)
{
    const auto bytes = rgb.bytes().subspan(3 * index, 3);
    return {bytes[0], bytes[1], bytes[2]};
}

} // namespace

std::vector<fs::path> pictureFiles(const std::vector<std::string>& filesAndFolders)
{
    std::vector<fs::path> files;
    for (const std::string& name : filesAndFolders) {
        std::error_code error;
        if (fs::is_directory(name, error)) {
            appendFolder(name, files);
        } else if (fs::exists(name, error)) {
            files.emplace_back(name);
        } else {
            throw PictureException("There is no picture or folder '" + name + "'.");
        }
    }
    return files;
}

Image readPicture(const fs::path& file)
{
    std::string why;
    const auto picture = picturefile::decode(file, picturefile::MOST_PIXELS, why);
    if (!picture || picture->width > MAX_SIDE || picture->height > MAX_SIDE) {
        throw PictureException("Cannot read picture '" + file.string() +
                               "': " + (picture ? "it is too large" : why) +
                               ". PNG, JPEG, PGM and PPM can be read.");
    }
    Image result = make(picture->width, picture->height, picture->channels);
    std::ranges::copy(picture->pixels, result.data());
    return result;
}

void writePng(const fs::path& file, const Image& picture)
{
    const int channels = picture.channels();
    if (stbi_write_png(file.c_str(), picture.width(), picture.height(), channels, picture.data(),
                       picture.width() * channels) == 0) {
        throw PictureException("Cannot write picture '" + file.string() +
                               "'. Is there such a folder, and room on the disk?");
    }
}

Image scaled(const Image& picture, std::uint16_t width, std::uint16_t height)
{
    Image result = make(width, height, picture.channels());
    picturefile::resize(picture.data(), picture.width(), picture.height(), result.data(), width,
                        height, picture.channels());
    return result;
}

Image toGrey(const Image& picture)
{
    if (picture.channels() == 1) {
        return picture;
    }
    Image grey(picture.width(), picture.height());
    for (std::size_t i = 0; i < grey.byteCount(); ++i) {
        const Rgb c = pixel(picture, i);
        grey.data()[i] =
            static_cast<std::uint8_t>((77 * c.red + 150 * c.green + 29 * c.blue + 128) >> 8);
    }
    return grey;
}

Image toRgb(const Image& picture)
{
    if (picture.channels() == 3) {
        return picture;
    }
    Image rgb = make(picture.width(), picture.height(), 3);
    for (std::size_t i = 0; i < picture.byteCount(); ++i) {
        std::fill_n(rgb.data() + 3 * i, 3, picture.data()[i]);
    }
    return rgb;
}

Image toHsv(const Image& picture)
{
    const Image rgb = toRgb(picture);
    Image planes(picture.width(), picture.height(), 3, Format::Planar, ColorSpace::HSV);
    const std::size_t size = planes.pixelCount();
    for (std::size_t i = 0; i < size; ++i) {
        const auto values = hsv(pixel(rgb, i));
        for (std::size_t plane = 0; plane < values.size(); ++plane) {
            planes.data()[plane * size + i] = values[plane];
        }
    }
    return planes;
}

} // namespace tarvik::lab
