#include "Pictures.h"

#include "core/Exception.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <memory>
#include <span>

namespace tarvik::desk {

using image::ColorSpace;
using image::Format;
using image::Image;

namespace {

constexpr int JPEG_QUALITY = 85;

constexpr std::array<const char*, PICTURE_KINDS> NAMES{"original", "binary", "hue", "saturation",
                                                       "value"};

Image whiteForeground(const Image& binary)
{
    Image result(binary.width(), binary.height());
    const auto in = binary.bytes();
    std::transform(in.begin(), in.begin() + static_cast<std::ptrdiff_t>(result.byteCount()),
                   result.data(), [](std::uint8_t b) { return b == 0 ? 0 : 255; });
    return result;
}

bool isHsv(const Image& image)
{
    return image.channels() == 3 && image.format() == Format::Planar;
}

Image plane(const Image& planar, std::size_t index)
{
    Image result(planar.width(), planar.height());
    std::copy_n(planar.data() + index * planar.pixelCount(), planar.pixelCount(), result.data());
    return result;
}

/// Hue counts 256 steps around the circle.
std::array<std::uint8_t, 3> rgb(int hue, int saturation, int value)
{
    const int sector = hue * 6 / 256;
    const int within = hue * 6 - sector * 256; // 0 to 255
    const auto mixed = [&](int part) {
        return static_cast<std::uint8_t>(value * (255 * 256 - saturation * part) / (255 * 256));
    };
    const auto full = static_cast<std::uint8_t>(value);
    const std::uint8_t none = mixed(256);
    const std::uint8_t falling = mixed(within);
    const std::uint8_t rising = mixed(256 - within);
    switch (sector) {
    case 0:
        return {full, rising, none};
    case 1:
        return {falling, full, none};
    case 2:
        return {none, full, rising};
    case 3:
        return {none, falling, full};
    case 4:
        return {rising, none, full};
    default:
        return {full, none, falling};
    }
}

Image colours(const Image& hsv)
{
    Image result(hsv.width(), hsv.height(), 3, Format::Interleaved, ColorSpace::RGB);
    const std::size_t size = hsv.pixelCount();
    for (std::size_t i = 0; i < size; ++i) {
        const auto c = rgb(hsv.data()[i], hsv.data()[size + i], hsv.data()[2 * size + i]);
        std::copy(c.begin(), c.end(), result.data() + 3 * i);
    }
    return result;
}

Histogram histogram(const char* channel, std::span<const std::uint8_t> bytes)
{
    Histogram result{channel, {}};
    for (const std::uint8_t b : bytes) {
        ++result.counts[b];
    }
    return result;
}

struct JpegDeleter
{
    void operator()(void* handle) const { tjDestroy(handle); }
};

} // namespace

const char* pictureName(PictureKind kind)
{
    return NAMES[static_cast<std::size_t>(kind)];
}

std::optional<PictureKind> pictureKind(std::string_view name)
{
    const auto found = std::ranges::find(NAMES, name);
    return found == NAMES.end() ? std::nullopt
                                : std::optional(static_cast<PictureKind>(found - NAMES.begin()));
}

Image shown(const Image& original, const Image& binary, PictureKind kind)
{
    if (kind == PictureKind::Binary) {
        return whiteForeground(binary);
    }
    if (!isHsv(original)) {
        return original;
    }
    switch (kind) {
    case PictureKind::Hue:
        return plane(original, 0);
    case PictureKind::Saturation:
        return plane(original, 1);
    case PictureKind::Value:
        return plane(original, 2);
    default:
        return colours(original);
    }
}

std::string encodeJpeg(const Image& picture)
{
    thread_local const std::unique_ptr<void, JpegDeleter> compressor(tjInitCompress());
    const bool grey = picture.channels() == 1;
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    const int failed = tjCompress2(compressor.get(), picture.data(), picture.width(), 0,
                                   picture.height(), grey ? TJPF_GRAY : TJPF_RGB, &bytes, &size,
                                   grey ? TJSAMP_GRAY : TJSAMP_422, JPEG_QUALITY, TJFLAG_FASTDCT);
    const std::unique_ptr<unsigned char, decltype(&tjFree)> owned(bytes, &tjFree);
    if (failed != 0) {
        throw Exception(std::string("The picture could not be compressed: ") +
                        tjGetErrorStr2(compressor.get()) + ".");
    }
    return {reinterpret_cast<const char*>(bytes), size};
}

std::string encodePng(const Image& picture)
{
    png_image description{};
    description.version = PNG_IMAGE_VERSION;
    description.width = picture.width();
    description.height = picture.height();
    description.format = picture.channels() == 1 ? PNG_FORMAT_GRAY : PNG_FORMAT_RGB;
    description.flags = PNG_IMAGE_FLAG_FAST;
    std::string bytes(PNG_IMAGE_PNG_SIZE_MAX(description), '\0');
    png_alloc_size_t size = bytes.size();
    if (png_image_write_to_memory(&description, bytes.data(), &size, 0, picture.data(), 0,
                                  nullptr) == 0) {
        throw Exception(std::string("The picture could not be compressed: ") + description.message +
                        ".");
    }
    bytes.resize(size);
    return bytes;
}

std::string base64(std::string_view bytes)
{
    static constexpr char DIGITS[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::string_view three = bytes.substr(i, 3);
        unsigned bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (k < three.size() ? static_cast<unsigned char>(three[k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= three.size() ? DIGITS[bits >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::vector<Histogram> histograms(const Image& original)
{
    if (!isHsv(original)) {
        return {histogram("grey", original.bytes().first(original.pixelCount()))};
    }
    const std::size_t size = original.pixelCount();
    return {histogram("hue", original.bytes().subspan(0, size)),
            histogram("saturation", original.bytes().subspan(size, size)),
            histogram("value", original.bytes().subspan(2 * size, size))};
}

} // namespace tarvik::desk
